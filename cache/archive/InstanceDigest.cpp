#include "cache/archive/InstanceDigest.h"

#include "base/WorkCancelled.h"
#include "base/digest/Sha256.h"
#include "platform/RegularFile.h"

#include <optional>
#include <system_error>
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
            throwIfCancelled(cancel);
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

} // namespace zorbel
