#include "imaging/ParallelFor.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace zorbel::imaging {

void parallelFor(
    std::size_t count, std::size_t grain, const std::function<void(std::size_t, std::size_t)>& body) {
    if (count == 0)
        return;
    grain = std::max<std::size_t>(grain, 1);
    const std::size_t steps = (count + grain - 1) / grain;
    const std::size_t workers =
        std::min<std::size_t>(steps, std::max(1U, std::thread::hardware_concurrency()));

    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t step = next++; step < steps; step = next++)
            body(step * grain, std::min(count, (step + 1) * grain));
    };
    std::vector<std::jthread> threads;
    try {
        while (threads.size() + 1 < workers)
            threads.emplace_back(work);
    } catch (const std::system_error&) {
        // No further thread to be had: those that run, and this one, do it all.
    }
    work();
}

} // namespace zorbel::imaging
