#pragma once

#include <atomic>
#include <cstddef>
#include <functional>

namespace zorbel {

/// Calls task(i, worker) for every i below count, on all cores; worker is below workerCount(count). Waits for
/// all. Tasks start in rising order; after the first exception no further task starts, and the exception of
/// the lowest i is rethrown. Throws WorkCancelled once the flag is set. progress: (done, count), one
/// call at a time, rising.
void runOnAllCores(
    std::size_t count, const std::function<void(std::size_t i, std::size_t worker)>& task,
    const std::atomic<bool>* cancel, const std::function<void(std::size_t, std::size_t)>& progress);

std::size_t workerCount(std::size_t count);

/// The same for work that cannot fail on disjoint ranges that together cover 0 to count, handed out in steps
/// of `grain`.
void parallelFor(
    std::size_t count, std::size_t grain,
    const std::function<void(std::size_t begin, std::size_t end)>& body);

} // namespace zorbel
