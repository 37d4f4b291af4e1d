#include "demo/phantom/SoftTissue.h"

#include "demo/phantom/Anatomy.h"

namespace zorbel::demo {

namespace {

using Table2 = std::array<float, 2>;

/// The profile in the midline, without the nose: height, front.
constexpr std::array<Table2, 17> profile{{
    {-62, 12},
    {-54, 4},
    {-48, -22},
    {-43, -50},
    {-38, -61},
    {-31, -65},
    {-22, -61},
    {-16, -59.5F},
    {-10, -64},
    {-4, -67},
    {0, -62},
    {4, -68},
    {12, -66},
    {20, -64},
    {45, -62},
    {75, -63},
    {120, -58},
}};
constexpr std::array<Table2, 8> halfWidth{
    {{-70, 56}, {-48, 54}, {-30, 60}, {-5, 65}, {25, 69}, {60, 74}, {95, 77}, {120, 76}}};
/// The same without lips and chin fold, which are features of the midline only.
constexpr std::array<Table2, 7> cheekProfile{
    {{-62, 12}, {-52, -8}, {-44, -46}, {-36, -60}, {0, -64}, {45, -62}, {120, -58}}};
constexpr std::array<Table2, 5> back{{{-110, 92}, {-40, 92}, {10, 104}, {60, 122}, {90, 124}}};
/// How quickly the face recedes to the sides.
constexpr std::array<Table2, 4> roundness{{{-50, 0.0175F}, {0, 0.0165F}, {40, 0.012F}, {90, 0.009F}}};

} // namespace

SoftTissue::SoftTissue() : Structure({{-90, -100, -140}, {90, 140, 175}}) {}

float SoftTissue::skinDistance(Point p) {
    const float k = lookUp(roundness, p.z);
    const float slope = 2 * k * p.x;
    const float middle = std::exp(-p.x * p.x / 500);
    const float front = (mix(lookUp(cheekProfile, p.z), lookUp(profile, p.z), middle) + k * p.x * p.x - p.y) /
                        std::sqrt(1 + slope * slope);
    float d = smoothMax(front, std::abs(p.x) - lookUp(halfWidth, p.z), 14);
    d = smoothMax(d, p.y - lookUp(back, p.z), 70);
    if (p.z > 40) {
        // The vault closes the head, gradually from below so that no step shows.
        d = smoothMax(d, ellipsoid(p, {0, 27, 82}, {80, 99, 77}) - 60 * smoothStep(85, 40, p.z), 10);
    }
    if (p.y < -40 && std::abs(p.x) < 24 && p.z > 10 && p.z < 75) {
        const Point side{std::abs(p.x), p.y, p.z};
        float nose = capsule(p, {0, -60, 68}, {0, -79, 35}, 6, 8.5F);
        nose = smoothMin(nose, ellipsoid(side, {9, -70, 31}, {6.5F, 9, 6.5F}), 5);
        d = smoothMin(d, nose, 5);
        const float nostril = capsule(side, {5.5F, -82, 24}, {6, -52, 27}, 2.8F, 3.2F);
        d = std::max(d, -nostril);
    }
    return d;
}

void SoftTissue::paint(Point p, float voxel, float& value) const {
    const float d = skinDistance(p);
    if (d > voxel) {
        return;
    }
    cover(value, grey::skin, coverage(d, voxel));
    if (d > -2 - voxel) {
        return;
    }
    const Point side{std::abs(p.x), p.y, p.z};
    // Fat lies under the skin and, as a pad, inside the cheek; the lips have none.
    const float lips = smoothStep(26, 16, std::abs(p.x)) * smoothStep(-20, -12, p.z) * smoothStep(14, 8, p.z);
    const float depth = mix(6.5F + 1.5F * valueNoise(p * 0.08F), 2.2F, lips);
    cover(value, grey::fat, coverage(d + 2, voxel * 2));
    cover(value, grey::muscle, coverage(d + depth, voxel * 3));
    cover(value, grey::fat, coverage(ellipsoid(side, {43, -10, 4}, {7, 15, 15}), voxel * 3));
    cover(value, grey::muscle, coverage(ellipsoid(side, {57, 12, -4}, {6, 15, 26}), voxel * 2));
    cover(value, grey::fat, coverage(ellipsoid(side, {34, 46, -20}, {9, 10, 40}), voxel * 4));
}

Mouth::Mouth() : Structure({{-32, -54, -32}, {32, 30, 20}}) {}

void Mouth::paint(Point p, float voxel, float& value) const {
    const ArchFoot foot = archFoot(p.x, p.y, anatomy::upperArchApex, anatomy::archCurvature);
    const float inside = foot.distance + 5.2F;
    // The space left over between tongue and palate.
    float air = smoothMax(inside, p.z - anatomy::palateHeight(foot.distance) + 0.8F, 2);
    air = smoothMax(air, ellipsoid(p, {0, -12, 4}, {34, 42, 16}), 4);
    cover(value, grey::air, coverage(air, voxel));
    float tongue = superEllipsoid(p, anatomy::tongue, {27, 36, 22.5F}, 2.8F);
    tongue = smoothMax(tongue, foot.distance + 4.6F, 2);
    if (tongue < voxel) {
        cover(value, grey::muscle, coverage(tongue, voxel));
    }
}

Pharynx::Pharynx() : Structure({{-20, 10, -140}, {20, 44, 40}}) {}

void Pharynx::paint(Point p, float voxel, float& value) const {
    const float narrow = 1 - 0.45F * std::exp(-(p.z + 12) * (p.z + 12) / 200);
    const float d = std::max(
        ellipsoid({p.x, p.y, 0}, {0.8F, 28, 0}, {12 * narrow, 5.5F * narrow, 1}), p.z - mix(24, 34, narrow));
    cover(value, grey::air, coverage(d, voxel));
}

} // namespace zorbel::demo
