#include "cache/archive/InstanceDigest.h"

#include "cache/volume/Sha256.h"
#include "platform/RegularFile.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

namespace zorbel {

InstanceDigest digestOfInstance(
    const std::filesystem::path& file, std::uint64_t expectedLength, const std::atomic<bool>* cancel) {
    using Step = InstanceDigest::Step;
    std::optional<RegularFile> opened;
    try {
        opened.emplace(file);
    } catch (const std::system_error&) {
        return {Step::Open, {}};
    }
    if (opened->size() != expectedLength)
        return {Step::Length, {}};
    Sha256 hash;
    if (!hash.isReady())
        return {Step::Initialise, {}};
    std::vector<std::byte> block(std::size_t{64} << 10);
    std::uint64_t done = 0;
    try {
        while (const std::size_t count = opened->read(block)) {
            if (cancel && *cancel)
                return {Step::Cancelled, {}};
            if (!hash.update(std::span(block).first(count)))
                return {Step::Hash, {}};
            done += count;
        }
    } catch (const std::system_error&) {
        return {Step::Read, {}};
    }
    if (done != expectedLength)
        return {Step::Length, {}};
    std::string text = hash.finish();
    return {text.empty() ? Step::Finish : Step::Done, std::move(text)};
}

void forEachOnAllCores(std::size_t count, const std::function<void(std::size_t)>& work) {
    std::atomic<std::size_t> next = 0;
    std::atomic<bool> failed = false;
    std::mutex mutex;
    std::size_t firstFailed = count;
    std::exception_ptr failure;

    const auto run = [&] {
        for (std::size_t i = next++; i < count && !failed; i = next++) {
            try {
                work(i);
            } catch (...) {
                const std::lock_guard lock(mutex);
                failed = true;
                if (i < firstFailed) {
                    firstFailed = i;
                    failure = std::current_exception();
                }
            }
        }
    };
    {
        const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
        std::vector<std::jthread> helpers;
        try {
            while (helpers.size() + 1 < std::min(cores, count))
                helpers.emplace_back(run);
        } catch (const std::system_error&) {
            // No more threads to be had: those that run, and this one, do it all.
        }
        run();
    }
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace zorbel
