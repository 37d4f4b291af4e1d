#pragma once

#include <cstddef>
#include <functional>

namespace zorbel::imaging {

/// Calls body(begin, end) on all cores with disjoint ranges that together cover 0 to count; returns when all
/// are done. Ranges are handed out in steps of `grain`. body must not throw.
void parallelFor(
    std::size_t count, std::size_t grain,
    const std::function<void(std::size_t begin, std::size_t end)>& body);

} // namespace zorbel::imaging
