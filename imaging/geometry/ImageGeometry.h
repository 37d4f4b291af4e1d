#pragma once

#include "imaging/geometry/Vector3.h"

#include <array>

namespace zorbel::imaging {

/// Where an image's voxels lie in the patient: LPS millimetres. A voxel index is (column, row, slice) and
/// names the voxel's centre.
///
/// The step from one slice to the next is kept as a vector of its own, because with a tilted gantry it is not
/// parallel to the slices' normal: the voxels then form a sheared grid, which is shown as it is and never
/// resampled. Immutable; any thread.
class ImageGeometry {
public:
    ImageGeometry() = default;

    /// row and column: unit direction of increasing column index and of increasing row index. spacing:
    /// distance of neighbouring columns, of neighbouring rows, and of neighbouring slices along the normal.
    /// sliceStep: from a voxel to the same voxel of the next slice.
    ImageGeometry(
        std::array<int, 3> dimensions, Vector3 origin, Vector3 row, Vector3 column, Vector3 spacing,
        Vector3 sliceStep);

    /// The usual case: slices stacked along their normal row × column.
    ImageGeometry(
        std::array<int, 3> dimensions, Vector3 origin, Vector3 row, Vector3 column, Vector3 spacing);

    const std::array<int, 3>& dimensions() const { return dimensions_; }
    /// Columns, rows, and slices along the normal; millimetres.
    const Vector3& spacing() const { return spacing_; }
    /// Centre of voxel (0, 0, 0).
    const Vector3& origin() const { return origin_; }
    const Vector3& row() const { return row_; }
    const Vector3& column() const { return column_; }
    /// row × column. Slices are counted along it, save in a left-handed grid: its sliceStep() points against
    /// it.
    Vector3 normal() const { return cross(row_, column_); }
    const Vector3& sliceStep() const { return sliceStep_; }
    /// 3 × 3, row-major; its columns are row(), column() and normal().
    std::array<double, 9> direction() const;

    Vector3 indexToWorld(const Vector3& index) const;
    /// Fractional voxel index of a point. The grid must not be degenerate (spacings greater than 0).
    Vector3 worldToIndex(const Vector3& point) const;
    /// 4 × 4, row-major, from (column, row, slice, 1) to LPS.
    std::array<double, 16> indexToWorldMatrix() const;

    /// Centre of the voxel grid.
    Vector3 center() const;
    /// Smallest and largest coordinate along each world axis of the grid's outer voxel borders:
    /// {xmin, xmax, ymin, ymax, zmin, zmax}.
    std::array<double, 6> bounds() const;
    /// Angle between sliceStep() and normal(), degrees; 0 without a gantry tilt.
    double tiltDegrees() const;

private:
    std::array<int, 3> dimensions_{0, 0, 0};
    Vector3 origin_{0.0, 0.0, 0.0};
    Vector3 row_{1.0, 0.0, 0.0};
    Vector3 column_{0.0, 1.0, 0.0};
    Vector3 spacing_{1.0, 1.0, 1.0};
    Vector3 sliceStep_{0.0, 0.0, 1.0};
};

} // namespace zorbel::imaging
