#pragma once

#include <cmath>

namespace zorbel {

/// A position or an offset in a widget: logical pixels, x to the right, y downwards.
struct Point2 {
    double x = 0.0;
    double y = 0.0;

    friend constexpr bool operator==(const Point2&, const Point2&) = default;
    friend constexpr Point2 operator+(const Point2& a, const Point2& b) { return {a.x + b.x, a.y + b.y}; }
    friend constexpr Point2 operator-(const Point2& a, const Point2& b) { return {a.x - b.x, a.y - b.y}; }
    friend constexpr Point2 operator*(const Point2& a, double factor) { return {a.x * factor, a.y * factor}; }
};

constexpr double dot(const Point2& a, const Point2& b) {
    return a.x * b.x + a.y * b.y;
}
inline double length(const Point2& a) {
    return std::hypot(a.x, a.y);
}
/// A quarter turn from x towards y.
constexpr Point2 perpendicular(const Point2& a) {
    return {-a.y, a.x};
}

} // namespace zorbel
