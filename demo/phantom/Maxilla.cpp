#include "demo/phantom/Maxilla.h"

#include "demo/phantom/Anatomy.h"
#include "demo/phantom/Mandible.h"

namespace zorbel::demo {

namespace {

Point mirrored(Point p) {
    return {std::abs(p.x), p.y, p.z};
}

void paintBone(Point p, float d, float thickness, float voxel, float& value) {
    if (d > voxel) {
        return;
    }
    cover(value, grey::cortical, coverage(d, voxel));
    if (d < -thickness + voxel) {
        cover(value, cancellousGrey(p), coverage(d + thickness, voxel * 2));
    }
}

} // namespace

Maxilla::Maxilla() : Structure({{-64, -62, 4}, {64, 42, 64}}) {}

float Maxilla::sinusDistance(Point p) {
    // The floor dips between the roots of the molars.
    const Point side = mirrored(p);
    const float dip = 2.5F * std::exp(-(side.y + 14) * (side.y + 14) / 60);
    return superEllipsoid({side.x, side.y, side.z + dip}, anatomy::leftSinus, {12.8F, 25, 16}, 2.6F);
}

float Maxilla::noseDistance(Point p) {
    const float ends = smoothStep(-56, -38, p.y) * smoothStep(46, 26, p.y);
    const float width = mix(12.5F, 8, smoothStep(32, 52, p.z)) * mix(0.62F, 1, ends);
    float d = smoothMax(std::abs(p.x) - width, 22 - p.z, 4);
    d = smoothMax(d, p.z - 54, 4);
    return smoothMax(d, std::max(-54 - p.y, p.y - 38), 3);
}

float Maxilla::boneDistance(Point p, float archDistance) {
    const float low = anatomy::palateHeight(archDistance) - p.z;
    const float crest = std::max(anatomy::upperCrest - p.z, 0.0F);
    const float half = mix(4.4F, 6.2F, smoothStep(9, 20, p.z)) - crest;
    float process = smoothMax(archDistance - half, low, 3);
    process = smoothMax(process, std::max(p.z - 25, p.y - 16), 3);
    // Above the palate the jaw is a shell about its cavities.
    float body = ellipsoid(p, {0, -6, 36}, {43, 42.5F, 27});
    body = smoothMax(body, std::max(20 - p.z, p.y - 21), 4);
    float d = smoothMin(process, body, 4);
    const Point side = mirrored(p);
    d = smoothMin(d, ellipsoid(side, {47, -16, 33}, {8, 9, 8}), 5);
    d = std::min(d, capsule(side, {51, -10, 34}, {61, 22, 37}, 2.6F, 2.2F));
    const float plate =
        std::max(std::abs(side.x - 17 - 0.2F * (side.y - 20)) - 1.1F, std::abs(side.y - 25) - 7);
    return std::min(d, std::max(plate, std::abs(side.z - 26) - 15));
}

void Maxilla::paintNose(Point p, float voxel, float& value) {
    const Point side = mirrored(p);
    const float bend = 1.4F * std::sin((p.z - 22) * 0.11F) * smoothStep(-45, -10, p.y);
    cover(value, 260, coverage(std::max(std::abs(p.x - bend) - 0.9F, p.y - 22), voxel));
    const float lower = ellipsoid(side, {7.2F, -16, 29}, {3.4F, 25, 4.6F});
    cover(value, grey::muscle, coverage(lower, voxel));
    cover(value, 500, coverage(ellipsoid(side, {7.6F, -16, 30}, {0.9F, 21, 2.8F}), voxel));
    cover(value, grey::muscle, coverage(ellipsoid(side, {6, -8, 42}, {2.4F, 20, 3.6F}), voxel));
}

void Maxilla::paint(Point p, float voxel, float& value) const {
    const ArchFoot foot = archFoot(p.x, p.y, anatomy::upperArchApex + 0.4F, anatomy::archCurvature);
    const float bone = boneDistance(p, foot.distance);
    const float sinus = sinusDistance(p);
    const float nose = noseDistance(p);
    // Bone is dense next to every surface, the cavities' included.
    const float shell = std::max(bone, -std::min(sinus, nose));
    paintBone(p, shell, 1.2F, voxel, value);
    const float mucosa = std::min(sinus, nose);
    if (mucosa < voxel) {
        cover(value, grey::muscle, coverage(mucosa, voxel));
        cover(value, grey::air, coverage(mucosa + 0.8F, voxel));
        if (nose < 0) {
            paintNose(p, voxel, value);
        }
    }
}

Spine::Spine() : Structure({{-32, 28, -110}, {32, 100, 34}}) {}

void Spine::paint(Point p, float voxel, float& value) const {
    const Point side = mirrored(p);
    float d = capsule(p, {0, 45, 4}, {0, 44, 22}, 5.6F, 5);
    d = std::min(d, ellipsoid(p, {0, 36.5F, 19}, {9, 3, 5}));
    d = smoothMin(d, ellipsoid(side, {17, 46, 18}, {8, 8, 7}), 3);
    d = std::min(d, ellipsoid(p, {0, 88, 16}, {8, 5, 5}));
    for (int i = 0; i < 6; ++i) {
        const auto n = static_cast<float>(i);
        const float z = 1 - 17.5F * n;
        if (std::abs(p.z - z) > 14) {
            continue;
        }
        const float y = 46.5F + 0.5F * n;
        d = std::min(d, superEllipsoid(p, {0, y, z}, {10.5F, 8.2F, 7}, 4));
        d = smoothMin(d, ellipsoid(side, {17, y + 6, z}, {7, 7, 6.5F}), 3);
        d = std::min(d, capsule(side, {16, y + 12, z}, {0, y + 26, z - 4}, 3, 3.2F));
        d = std::min(d, capsule(p, {0, y + 26, z - 4}, {0, y + 42, z - 9}, 3.4F, 4));
    }
    paintBone(p, d, 1.1F, voxel, value);
}

Skull::Skull() : Structure({{-80, -75, 14}, {80, 125, 160}}) {}

float Skull::distance(Point p) {
    const Point side = mirrored(p);
    const float base = 64 - 0.24F * (p.y + 60);
    const float vault = ellipsoid(p, {0, 27, 84}, {74, 92.5F, 70});
    float d = std::max(std::abs(vault + 3.2F) - 3.2F, base - 4 - p.z);
    float floor = std::max(std::abs(p.z - base - 5 * std::exp(-(p.y + 42) * (p.y + 42) / 250)) - 1.4F, vault);
    // The saddle that holds the pituitary gland.
    floor = std::max(floor, -ellipsoid(p, {0, 1, base + 3}, {9, 6, 6}));
    d = std::min(d, floor);
    d = std::min(
        d, std::abs(ellipsoid(p, {0, 1, base + 2}, {10, 7, 8})) + std::max(p.z - base - 5, 0.0F) - 1);
    d = std::min(d, std::max(ellipsoid(p, {0, 8, base - 7}, {14, 14, 9}), p.z - base));
    d = std::min(d, ellipsoid(side, {42, 34, base + 6}, {22, 10, 9}));
    d = std::min(d, ellipsoid(side, {54, 54, 34}, {9, 11, 15}));
    const float ring =
        std::hypot(std::hypot(side.x - 33, (side.z - 66) * 1.1F) - 18, side.y + 47 - 0.25F * side.x) - 2.6F;
    d = std::min(d, ring);
    d = std::min(d, capsule(p, {0, -59, 72}, {0, -71, 53}, 3.4F, 1.6F));
    // The frontal sinus is hollow.
    return std::max(d, -ellipsoid(side, {8, -56.5F, 84}, {9, 4, 9}));
}

void Skull::paint(Point p, float voxel, float& value) const {
    paintBone(p, distance(p), 1.6F, voxel, value);
}

} // namespace zorbel::demo
