#pragma once

#include <array>
#include <cmath>

namespace zorbel::imaging {

/// A point or direction in LPS patient coordinates (millimetres for points), or a voxel index (column, row,
/// slice).
using Vector3 = std::array<double, 3>;

constexpr Vector3 operator+(const Vector3& a, const Vector3& b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}
constexpr Vector3 operator-(const Vector3& a, const Vector3& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
constexpr Vector3 operator*(const Vector3& a, double factor) {
    return {a[0] * factor, a[1] * factor, a[2] * factor};
}
constexpr double dot(const Vector3& a, const Vector3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
constexpr Vector3 cross(const Vector3& a, const Vector3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline double length(const Vector3& a) {
    return std::sqrt(dot(a, a));
}
/// The zero vector for an input of length at most 1e-8.
inline Vector3 normalized(const Vector3& a) {
    const double magnitude = length(a);
    return magnitude > 1e-8 ? a * (1.0 / magnitude) : Vector3{0.0, 0.0, 0.0};
}

} // namespace zorbel::imaging
