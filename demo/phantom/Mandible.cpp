#include "demo/phantom/Mandible.h"

#include "demo/phantom/Anatomy.h"

namespace zorbel::demo {

namespace {

/// Outline of a ramus seen from the side: (y, z), from the front of its foot over gonion, condyle and
/// coronoid.
constexpr std::array<std::array<float, 2>, 17> ramusOutline{{
    {2, -29},
    {14, -28},
    {24, -25},
    {30.5F, -19},
    {33.5F, -10},
    {34.5F, 4},
    {36.5F, 16},
    {39.5F, 25},
    {36, 29},
    {33.5F, 24},
    {31, 16.5F},
    {26, 12.5F},
    {20.5F, 16},
    {14.5F, 24.5F},
    {11.5F, 17},
    {9.5F, 3},
    {3, -12},
}};

float outlineDistance(float y, float z) {
    float nearest = 1e9F;
    bool inside = false;
    for (std::size_t i = 0, j = ramusOutline.size() - 1; i < ramusOutline.size(); j = i++) {
        const auto [ay, az] = ramusOutline[i];
        const auto [by, bz] = ramusOutline[j];
        const float ey = by - ay;
        const float ez = bz - az;
        const float t = std::clamp(((y - ay) * ey + (z - az) * ez) / (ey * ey + ez * ez), 0.0F, 1.0F);
        const float dy = y - ay - ey * t;
        const float dz = z - az - ez * t;
        nearest = std::min(nearest, dy * dy + dz * dz);
        if ((az > z) != (bz > z) && y < ay + (z - az) / ez * ey) {
            inside = !inside;
        }
    }
    return inside ? -std::sqrt(nearest) : std::sqrt(nearest);
}

constexpr float bodyEnd = 45.0F;

} // namespace

float cancellousGrey(Point p) {
    const float net = 0.6F * valueNoise(p * 0.75F) + 0.4F * valueNoise(p * 1.7F + Point{31, 7, 3});
    return grey::cancellous + 420 * net;
}

Mandible::Mandible() : Structure({{-63, -60, -44}, {63, 48, 38}}) {}

float Mandible::bodyDistance(Point p) {
    // From the tooth arch above to the wider base below.
    const float base = smoothStep(-11, -29, p.z);
    const float apex = mix(anatomy::lowerArchApex + 0.6F, -49.5F, base);
    const float k = mix(anatomy::archCurvature - 0.002F, 0.0335F, base);
    const ArchFoot foot = archFoot(p.x, p.y, apex, k);
    const float back = std::min(foot.x / bodyEnd, 1.0F);
    const float half = mix(mix(4.2F, 6.0F, back), mix(5.6F, 6.2F, back), base);
    const float bottom = -37 + 9 * back * back;
    const float top = anatomy::lowerCrest - 2.5F * smoothStep(30, 40, foot.x);
    constexpr float round = 3.6F;
    const float qx = std::abs(foot.distance) - half + round;
    const float qz = std::abs(p.z - 0.5F * (bottom + top)) - 0.5F * (top - bottom) + round;
    float d = std::hypot(std::max(qx, 0.0F), std::max(qz, 0.0F)) + std::min(std::max(qx, qz), 0.0F) - round;
    d = smoothMax(d, p.y - mix(12, 23, base), 8);
    return smoothMin(d, ellipsoid(p, {0, -54, -32}, {13, 4.5F, 5}), 5);
}

float Mandible::ramusDistance(Point p) {
    const float x = std::abs(p.x);
    const float centre =
        43.5F + 6.5F * smoothStep(-30, 30, p.z) - 1.5F * smoothStep(20, 10, p.y) * smoothStep(0, 20, p.z);
    const float thick = std::abs(x - centre) - mix(4.3F, 3.0F, smoothStep(-10, 18, p.z));
    if (thick > 8) {
        return thick;
    }
    // The neck flows into the condyle, whose upper half keeps its measures.
    const float fillet = mix(3.5F, 0.3F, smoothStep(25, 30, p.z));
    const float d = smoothMax(outlineDistance(p.y, p.z) - 0.8F, thick, 3);
    return smoothMin(d, ellipsoid({x, p.y, p.z}, anatomy::leftCondyle, {9.5F, 4.8F, 5.5F}), fillet);
}

float Mandible::distance(Point p) {
    const float body = p.z < 2 ? bodyDistance(p) : 1e3F;
    const float ramus = p.y > -12 ? ramusDistance(p) : 1e3F;
    return smoothMin(body, ramus, 5);
}

void Mandible::paint(Point p, float voxel, float& value) const {
    const float d = distance(p);
    if (d > voxel) {
        return;
    }
    const float basal = smoothStep(-14, -24, p.z) * smoothStep(16, 2, p.y);
    const float thickness = mix(1.5F, 2.7F, basal);
    cover(value, grey::cortical, coverage(d, voxel));
    if (d < -thickness + voxel) {
        cover(value, cancellousGrey(p), coverage(d + thickness, voxel * 2));
    }
}

std::vector<Point> MandibularCanal::path(int side) {
    const std::array<Point, 8> knots{
        {{43.8F, 19, 1},
         {43, 18, -8},
         {41.5F, 12.5F, -17.5F},
         {38, 3, -22.5F},
         {33.5F, -9, -25.5F},
         {28.5F, -20, -26},
         {25.5F, -26, -24},
         {27.5F, -31.5F, -21}}};
    std::vector<Point> points;
    for (std::size_t i = 0; i + 1 < knots.size(); ++i) {
        const Point before = knots[i == 0 ? 0 : i - 1];
        const Point after = knots[std::min(i + 2, knots.size() - 1)];
        for (int step = 0; step < 4; ++step) {
            const float t = static_cast<float>(step) / 4;
            Point p = (knots[i] * 2 + (knots[i + 1] - before) * t +
                       (before * 2 - knots[i] * 5 + knots[i + 1] * 4 - after) * (t * t) +
                       (knots[i] * 3 - before - knots[i + 1] * 3 + after) * (t * t * t)) *
                      0.5F;
            p.x *= static_cast<float>(side);
            points.push_back(p);
        }
    }
    points.push_back(knots.back());
    points.back().x *= static_cast<float>(side);
    return points;
}

MandibularCanal::MandibularCanal(int side)
    : Structure(side > 0 ? Bounds{{20, -36, -32}, {48, 26, 6}} : Bounds{{-48, -36, -32}, {-20, 26, 6}}),
      path_(path(side)) {}

void MandibularCanal::paint(Point p, float voxel, float& value) const {
    float d = 1e9F;
    for (std::size_t i = 0; i + 1 < path_.size(); ++i) {
        d = std::min(d, capsule(p, path_[i], path_[i + 1], 1.4F, 1.4F));
    }
    if (d > 0.7F + voxel) {
        return;
    }
    // A thin wall where the canal runs in bone, none where it opens.
    const float inBone = smoothStep(-0.5F, -1.5F, Mandible::distance(p));
    cover(value, 1000, coverage(d - 0.6F, voxel) * inBone);
    cover(value, grey::nerve, coverage(d, voxel));
}

} // namespace zorbel::demo
