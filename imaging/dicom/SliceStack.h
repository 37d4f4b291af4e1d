#pragma once

#include "imaging/geometry/Vector3.h"

#include <cstddef>
#include <vector>

namespace zorbel::imaging {

/// Consecutive slices of a stack that form one regular grid.
struct SliceRun {
    std::size_t first = 0;
    std::size_t count = 0;
    Vector3 step{};                ///< from one slice to the next; meaningless for a single slice
    std::size_t missingBeside = 0; ///< slices missing in the gaps before and behind the run
    bool irregularBeside = false;  ///< the distance before or behind is no multiple of the run's
};

/// Cuts a stack into regular runs. positions: at least one, ascending along `normal`, no two at one distance.
/// The usual distance is the most common one; distances count as equal within 1 % or 0.02 mm, whichever is
/// more, so that positions written with two decimals stay regular.
std::vector<SliceRun> splitStack(const std::vector<Vector3>& positions, const Vector3& normal);

} // namespace zorbel::imaging
