#include "imaging/planes/PlaneKernel.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace zorbel::imaging::kernel {

namespace {

/// Where one axis of an index falls between two voxels.
struct Between {
    std::ptrdiff_t offset = 0;
    std::ptrdiff_t step = 0; ///< to the second voxel
    double part = 0.0;       ///< its weight
};

/// False outside the outer voxels' borders.
bool locate(const VoxelGrid& grid, std::size_t axis, double index, Between& between) {
    const int size = grid.size[axis];
    // Written so that an index that is no number lies outside.
    if (!(index >= -0.5 && index <= size - 0.5))
        return false;
    const double inside = std::clamp(index, 0.0, size - 1.0);
    const int base = std::min(static_cast<int>(inside), std::max(size - 2, 0));
    between = {base * grid.stride[axis], size > 1 ? grid.stride[axis] : 0, inside - base};
    return true;
}

template <class T>
bool sample(const VoxelGrid& grid, const Vector3& index, float& value) {
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
    value = static_cast<float>(near + at[2].part * (across(corner + at[2].step) - near));
    return true;
}

/// The values along one pixel's way through the slab.
template <class T>
float fold(const VoxelGrid& grid, const Tile& tile, const Vector3& index) {
    float result = 0.0F;
    int samples = 0;
    for (int plane = 0; plane < tile.planes; ++plane) {
        float value = 0.0F;
        if (!sample<T>(grid, index + tile.deep * plane, value))
            continue;
        if (samples++ == 0)
            result = value;
        else if (tile.mode == SlabMode::Mip)
            result = std::max(result, value);
        else if (tile.mode == SlabMode::MinIp)
            result = std::min(result, value);
        else
            result += value;
    }
    if (samples == 0)
        return std::numeric_limits<float>::quiet_NaN();
    return tile.mode == SlabMode::Average ? result / static_cast<float>(samples) : result;
}

template <class T>
void draw(const VoxelGrid& grid, const Tile& tile) {
    for (int y = 0; y < tile.height; ++y) {
        const Vector3 row = tile.first + tile.down * y;
        float* out = tile.out + y * tile.outStride;
        for (int x = 0; x < tile.width; ++x)
            out[x] = fold<T>(grid, tile, row + tile.right * x);
    }
}

} // namespace

DrawTile portable(VoxelType type) {
    switch (type) {
    case VoxelType::UInt8:
        return draw<std::uint8_t>;
    case VoxelType::Int8:
        return draw<std::int8_t>;
    case VoxelType::UInt16:
        return draw<std::uint16_t>;
    case VoxelType::Int16:
        return draw<std::int16_t>;
    case VoxelType::UInt32:
        return draw<std::uint32_t>;
    case VoxelType::Int32:
        return draw<std::int32_t>;
    case VoxelType::Float32:
        break;
    }
    return draw<float>;
}

} // namespace zorbel::imaging::kernel
