#include "imaging/geometry/ImageGeometry.h"

#include <algorithm>
#include <limits>
#include <numbers>

namespace zorbel::imaging {

ImageGeometry::ImageGeometry(
    std::array<int, 3> dimensions, Vector3 origin, Vector3 row, Vector3 column, Vector3 spacing,
    Vector3 sliceStep)
    : dimensions_(dimensions), origin_(origin), row_(row), column_(column), spacing_(spacing),
      sliceStep_(sliceStep) {}

ImageGeometry::ImageGeometry(
    std::array<int, 3> dimensions, Vector3 origin, Vector3 row, Vector3 column, Vector3 spacing)
    : ImageGeometry(dimensions, origin, row, column, spacing, cross(row, column) * spacing[2]) {}

std::array<double, 9> ImageGeometry::direction() const {
    const Vector3 n = normal();
    return {row_[0], column_[0], n[0], row_[1], column_[1], n[1], row_[2], column_[2], n[2]};
}

Vector3 ImageGeometry::indexToWorld(const Vector3& index) const {
    return origin_ + row_ * (index[0] * spacing_[0]) + column_ * (index[1] * spacing_[1]) +
           sliceStep_ * index[2];
}

Vector3 ImageGeometry::worldToIndex(const Vector3& point) const {
    const Vector3 a = row_ * spacing_[0];
    const Vector3 b = column_ * spacing_[1];
    const Vector3& c = sliceStep_;
    const Vector3 offset = point - origin_;
    const Vector3 bc = cross(b, c);
    const double determinant = dot(a, bc);
    return {
        dot(offset, bc) / determinant, dot(offset, cross(c, a)) / determinant,
        dot(offset, cross(a, b)) / determinant};
}

std::array<double, 16> ImageGeometry::indexToWorldMatrix() const {
    const Vector3 a = row_ * spacing_[0];
    const Vector3 b = column_ * spacing_[1];
    const Vector3& c = sliceStep_;
    return {a[0], b[0], c[0], origin_[0], a[1], b[1], c[1], origin_[1],
            a[2], b[2], c[2], origin_[2], 0.0,  0.0,  0.0,  1.0};
}

Vector3 ImageGeometry::center() const {
    return indexToWorld({(dimensions_[0] - 1) * 0.5, (dimensions_[1] - 1) * 0.5, (dimensions_[2] - 1) * 0.5});
}

std::array<double, 6> ImageGeometry::bounds() const {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::array<double, 6> result{infinity, -infinity, infinity, -infinity, infinity, -infinity};
    for (int corner = 0; corner < 8; ++corner) {
        Vector3 index{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            index[axis] = (corner >> axis) & 1 ? dimensions_[axis] - 0.5 : -0.5;
        const Vector3 point = indexToWorld(index);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            result[2 * axis] = std::min(result[2 * axis], point[axis]);
            result[2 * axis + 1] = std::max(result[2 * axis + 1], point[axis]);
        }
    }
    return result;
}

double ImageGeometry::tiltDegrees() const {
    const Vector3 n = normal();
    const double along = dot(sliceStep_, n);
    const double across = length(sliceStep_ - n * along);
    return std::atan2(across, std::abs(along)) * 180.0 / std::numbers::pi;
}

} // namespace zorbel::imaging
