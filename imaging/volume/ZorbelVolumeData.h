#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace zorbel {

/// A decoded volume as a volume cache holds it.
struct ZorbelVolumeData {
    std::string studyInstanceUID;
    std::string dtype;                               ///< "int16" has 2 bytes a voxel, everything else 4
    std::array<std::int32_t, 3> dimensions{0, 0, 0}; ///< columns, rows, slices
    std::array<double, 3> spacing{0.0, 0.0, 0.0};    ///< millimetres
    std::array<double, 3> origin{0.0, 0.0, 0.0};     ///< centre of the first voxel, LPS millimetres
    /// 3 × 3, row-major; its columns are the directions of increasing column, row and slice index.
    std::array<double, 9> direction{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
    /// Column fastest, then row, then slice; little-endian.
    std::shared_ptr<std::byte[]> voxels;
    std::size_t byteLength = 0;
};

} // namespace zorbel
