#include "base/WorkerPool.h"

#include "base/WorkCancelled.h"
#include "platform/threads/StackGuard.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace zorbel {

std::size_t workerCount(std::size_t count) {
    return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, std::max<std::size_t>(count, 1));
}

void runOnAllCores(
    std::size_t count, const std::function<void(std::size_t, std::size_t)>& task,
    const std::atomic<bool>* cancel, const std::function<void(std::size_t, std::size_t)>& progress) {
    std::atomic<std::size_t> next = 0;
    std::atomic<bool> stopped = false;
    std::mutex mutex;
    std::size_t done = 0;
    std::size_t failedAt = count;
    std::exception_ptr failure;

    const auto work = [&](std::size_t worker) {
        while (!stopped) {
            const std::size_t i = next++;
            if (i >= count)
                return;
            try {
                throwIfCancelled(cancel);
                task(i, worker);
                const std::lock_guard lock(mutex);
                ++done;
                if (progress && !stopped)
                    progress(done, count);
            } catch (...) {
                stopped = true;
                const std::lock_guard lock(mutex);
                if (i < failedAt) {
                    failedAt = i;
                    failure = std::current_exception();
                }
            }
        }
    };

    std::vector<std::jthread> threads;
    try {
        for (std::size_t worker = 1; worker < workerCount(count); ++worker)
            threads.emplace_back([&work, worker] {
                guardThreadStack();
                work(worker);
            });
    } catch (const std::system_error&) {
        // No further thread to be had: those that run, and this one, do it all.
    }
    work(0);
    threads.clear();
    if (failure)
        std::rethrow_exception(failure);
    throwIfCancelled(cancel);
}

void parallelFor(
    std::size_t count, std::size_t grain, const std::function<void(std::size_t, std::size_t)>& body) {
    const std::size_t step = std::max<std::size_t>(grain, 1);
    runOnAllCores(
        (count + step - 1) / step,
        [&](std::size_t i, std::size_t) { body(i * step, std::min(count, (i + 1) * step)); }, nullptr, {});
}

} // namespace zorbel
