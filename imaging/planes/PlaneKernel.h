#pragma once

#include "imaging/VoxelType.h"
#include "imaging/geometry/Vector3.h"
#include "imaging/planes/Slab.h"

#include <array>
#include <cstddef>

/// The inner loops of PlaneSampler, once for any processor and once for those with AVX2.
namespace zorbel::imaging::kernel {

struct VoxelGrid {
    const std::byte* voxels = nullptr;
    std::size_t byteLength = 0;
    std::array<int, 3> size{};
    std::array<std::ptrdiff_t, 3> stride{}; ///< in components
};

/// A rectangle of pixels. Steps are in voxel indices.
struct Tile {
    Vector3 first{}; ///< index of the first pixel on the slab's first plane
    Vector3 right{}; ///< to the next pixel of a row
    Vector3 down{};  ///< to the next row
    Vector3 deep{};  ///< to the next plane of the slab
    int width = 0;
    int height = 0;
    SlabMode mode = SlabMode::Mip;
    int planes = 1;
    /// No sample, nor that of up to seven pixels right of the tile, comes near the outer voxels' centres.
    bool interior = false;
    float* out = nullptr;
    std::ptrdiff_t outStride = 0;
};

/// Writes the tile's values; not a number where no sample lies inside the volume.
using DrawTile = void (*)(const VoxelGrid&, const Tile&);

DrawTile portable(VoxelType type);

/// Null where the processor or the grid does not allow it.
DrawTile vectorised(VoxelType type, const VoxelGrid& grid);

} // namespace zorbel::imaging::kernel
