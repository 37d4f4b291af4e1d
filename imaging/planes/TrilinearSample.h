#pragma once

#include "imaging/planes/PlaneKernel.h"

#include <algorithm>
#include <array>
#include <cstddef>

/// The rule by which a value between the voxels is read, one for the shown planes and for what is measured on
/// them.
namespace zorbel::imaging::kernel {

/// Where one axis of an index falls between two voxels.
struct Between {
    std::ptrdiff_t offset = 0;
    std::ptrdiff_t step = 0; ///< to the second voxel
    double part = 0.0;       ///< its weight
};

/// False outside the outer voxels' borders.
inline bool locate(const VoxelGrid& grid, std::size_t axis, double index, Between& between) {
    const int size = grid.size[axis];
    // Written so that an index that is no number lies outside.
    if (!(index >= -0.5 && index <= size - 0.5))
        return false;
    const double inside = std::clamp(index, 0.0, size - 1.0);
    const int base = std::min(static_cast<int>(inside), std::max(size - 2, 0));
    between = {base * grid.stride[axis], size > 1 ? grid.stride[axis] : 0, inside - base};
    return true;
}

/// Trilinear between the voxel centres; the outer half of the border voxels has their value. False outside
/// the voxels' borders. T is the type of the grid's components.
template <class T>
bool trilinear(const VoxelGrid& grid, const Vector3& index, double& value) {
    std::array<Between, 3> at;
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (!locate(grid, axis, index[axis], at[axis]))
            return false;
    const T* corner = reinterpret_cast<const T*>(grid.voxels) + at[0].offset + at[1].offset + at[2].offset;
    const auto along = [&](const T* voxel) {
        const double first = static_cast<double>(*voxel);
        return first + at[0].part * (static_cast<double>(voxel[at[0].step]) - first);
    };
    const auto across = [&](const T* voxel) {
        const double first = along(voxel);
        return first + at[1].part * (along(voxel + at[1].step) - first);
    };
    const double near = across(corner);
    value = near + at[2].part * (across(corner + at[2].step) - near);
    return true;
}

} // namespace zorbel::imaging::kernel
