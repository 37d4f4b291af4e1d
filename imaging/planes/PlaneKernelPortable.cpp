#include "imaging/planes/PlaneKernel.h"
#include "imaging/planes/TrilinearSample.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace zorbel::imaging::kernel {

namespace {

/// The values along one pixel's way through the slab.
template <class T>
float fold(const VoxelGrid& grid, const Tile& tile, const Vector3& index) {
    float result = 0.0F;
    int samples = 0;
    for (int plane = 0; plane < tile.planes; ++plane) {
        double exact = 0.0;
        if (!trilinear<T>(grid, index + tile.deep * plane, exact))
            continue;
        const auto value = static_cast<float>(exact);
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
