#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace zorbel::demo {

/// LPS, millimetres: +x the patient's left, +y the back, +z the head.
struct Point {
    float x = 0;
    float y = 0;
    float z = 0;
};

inline Point operator+(Point a, Point b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Point operator-(Point a, Point b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Point operator*(Point a, float s) {
    return {a.x * s, a.y * s, a.z * s};
}
inline float dot(Point a, Point b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline float length(Point a) {
    return std::sqrt(dot(a, a));
}
inline Point normalized(Point a) {
    return a * (1.0F / length(a));
}

struct Bounds {
    Point low;
    Point high;
};

inline float mix(float a, float b, float t) {
    return a + (b - a) * t;
}

inline float smoothStep(float from, float to, float value) {
    const float t = std::clamp((value - from) / (to - from), 0.0F, 1.0F);
    return t * t * (3 - 2 * t);
}

/// How much of a voxel of the given size lies inside a surface at a signed distance (negative inside).
inline float coverage(float distance, float voxel) {
    return std::clamp(0.5F - distance / voxel, 0.0F, 1.0F);
}

/// Lays a material over a grey value.
inline void cover(float& grey, float material, float part) {
    grey += (material - grey) * part;
}

/// Union of two distances with a fillet of about k millimetres.
inline float smoothMin(float a, float b, float k) {
    const float h = std::max(k - std::abs(a - b), 0.0F) / k;
    return std::min(a, b) - h * h * k * 0.25F;
}

inline float smoothMax(float a, float b, float k) {
    return -smoothMin(-a, -b, k);
}

/// Distance along the ray from the centre to an ellipsoid; close to the distance for mild ellipsoids.
inline float ellipsoid(Point p, Point centre, Point radii) {
    const Point d = p - centre;
    const float f = std::sqrt(
        d.x * d.x / (radii.x * radii.x) + d.y * d.y / (radii.y * radii.y) + d.z * d.z / (radii.z * radii.z));
    return f < 1e-3F ? -std::min({radii.x, radii.y, radii.z}) : length(d) * (1 - 1 / f);
}

/// The same for a box-like ellipsoid of the given power.
inline float superEllipsoid(Point p, Point centre, Point radii, float power) {
    const Point d = p - centre;
    const float f = std::pow(
        std::pow(std::abs(d.x) / radii.x, power) + std::pow(std::abs(d.y) / radii.y, power) +
            std::pow(std::abs(d.z) / radii.z, power),
        1 / power);
    return f < 1e-3F ? -std::min({radii.x, radii.y, radii.z}) : length(d) * (1 - 1 / f);
}

/// A rod with round ends whose radius goes from r0 to r1.
inline float capsule(Point p, Point a, Point b, float r0, float r1) {
    const Point ab = b - a;
    const float t = std::clamp(dot(p - a, ab) / dot(ab, ab), 0.0F, 1.0F);
    return length(p - (a + ab * t)) - mix(r0, r1, t);
}

/// Where a point lies relative to a parabola y = apex + k x²: the foot's |x| and the distance, positive
/// outside (in front).
struct ArchFoot {
    float x = 0;
    float distance = 0;
};

inline ArchFoot archFoot(float px, float py, float apex, float k) {
    const float x = std::abs(px);
    const float dy = py - apex;
    // From the right of the foot the cubic is convex, so Newton's steps approach it without overshooting.
    float foot = std::max(x, std::sqrt(std::max(dy, 0.0F) / k));
    for (int i = 0; i < 5; ++i) {
        const float g = foot - x + 2 * k * foot * (k * foot * foot - dy);
        const float slope = 1 + 6 * k * k * foot * foot - 2 * k * dy;
        if (slope <= 1e-4F) {
            break;
        }
        foot = std::max(foot - g / slope, 0.0F);
    }
    const float distance = std::hypot(foot - x, k * foot * foot - dy);
    return {foot, dy < k * x * x ? distance : -distance};
}

inline std::uint32_t hashOf(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
    std::uint32_t h = x * 0x8DA6B343U ^ y * 0xD8163841U ^ z * 0xCB1AB31FU;
    h ^= h >> 15;
    h *= 0x2C1B3C6DU;
    h ^= h >> 12;
    h *= 0x297A2D39U;
    return h ^ h >> 15;
}

/// Smooth noise from -1 to 1 with features of about one unit.
inline float valueNoise(Point p) {
    const float fx = std::floor(p.x);
    const float fy = std::floor(p.y);
    const float fz = std::floor(p.z);
    const auto corner = [&](int dx, int dy, int dz) {
        const std::uint32_t h = hashOf(
            static_cast<std::uint32_t>(static_cast<int>(fx) + dx + 512),
            static_cast<std::uint32_t>(static_cast<int>(fy) + dy + 512),
            static_cast<std::uint32_t>(static_cast<int>(fz) + dz + 512));
        return static_cast<float>(h & 0xFFFF) / 32767.5F - 1;
    };
    const float tx = p.x - fx;
    const float ty = p.y - fy;
    const float tz = p.z - fz;
    const float low =
        mix(mix(corner(0, 0, 0), corner(1, 0, 0), tx), mix(corner(0, 1, 0), corner(1, 1, 0), tx), ty);
    const float high =
        mix(mix(corner(0, 0, 1), corner(1, 0, 1), tx), mix(corner(0, 1, 1), corner(1, 1, 1), tx), ty);
    return mix(low, high, tz);
}

/// A table of (position, value), interpolated by a cubic through its points and constant beyond its ends.
template <std::size_t N>
float lookUp(const std::array<std::array<float, 2>, N>& table, float at) {
    if (at <= table.front()[0]) {
        return table.front()[1];
    }
    const auto slope = [&table](std::size_t i) {
        const auto& before = table[i == 0 ? 0 : i - 1];
        const auto& after = table[std::min(i + 1, N - 1)];
        return (after[1] - before[1]) / (after[0] - before[0]);
    };
    for (std::size_t i = 1; i < N; ++i) {
        if (at > table[i][0]) {
            continue;
        }
        const float width = table[i][0] - table[i - 1][0];
        const float t = (at - table[i - 1][0]) / width;
        const float s = 1 - t;
        return s * s * (1 + 2 * t) * table[i - 1][1] + t * t * (3 - 2 * t) * table[i][1] +
               width * t * s * (s * slope(i - 1) - t * slope(i));
    }
    return table.back()[1];
}

} // namespace zorbel::demo
