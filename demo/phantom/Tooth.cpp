#include "demo/phantom/Tooth.h"

#include "demo/phantom/Anatomy.h"

namespace zorbel::demo {

namespace {

struct Measures {
    float mesioDistal;
    float buccoLingual;
    float crownHeight;
    float rootLength;
    float tilt;
};

/// Averages of permanent teeth, central incisor to third molar.
constexpr std::array<Measures, 8> upperTeeth{
    {{8.5F, 7.0F, 10.5F, 13.0F, 0.38F},
     {6.6F, 6.2F, 9.5F, 13.0F, 0.34F},
     {7.6F, 8.0F, 10.5F, 16.5F, 0.22F},
     {7.0F, 9.0F, 8.6F, 14.0F, 0.10F},
     {6.8F, 9.0F, 8.2F, 14.0F, 0.08F},
     {10.4F, 11.0F, 7.6F, 12.5F, 0.08F},
     {9.8F, 11.0F, 7.2F, 12.0F, 0.12F},
     {8.6F, 10.0F, 6.6F, 10.5F, 0.18F}}};
constexpr std::array<Measures, 8> lowerTeeth{
    {{5.2F, 6.0F, 9.2F, 12.5F, 0.24F},
     {5.7F, 6.4F, 9.6F, 13.5F, 0.22F},
     {7.0F, 7.6F, 11.0F, 15.5F, 0.12F},
     {7.0F, 7.6F, 8.8F, 13.5F, 0.04F},
     {7.1F, 8.1F, 8.2F, 14.0F, -0.02F},
     {11.2F, 10.5F, 7.6F, 13.0F, -0.08F},
     {10.6F, 10.2F, 7.2F, 12.5F, -0.14F},
     {10.0F, 9.5F, 7.0F, 10.5F, -0.18F}}};

/// Along the arch, from the midline to the middle of a tooth.
float arcPosition(bool upper, int position) {
    const auto& teeth = upper ? upperTeeth : lowerTeeth;
    float s = 0;
    for (int i = 1; i < position; ++i) {
        s += teeth[static_cast<std::size_t>(i - 1)].mesioDistal;
    }
    return s + 0.5F * teeth[static_cast<std::size_t>(position - 1)].mesioDistal;
}

/// The |x| at which the arch has a given length.
float xOfArc(float arc) {
    const float c = 2 * anatomy::archCurvature;
    float x = arc;
    for (int i = 0; i < 20; ++i) {
        const float q = c * x;
        const float s = 0.5F * (x * std::sqrt(1 + q * q) + std::asinh(q) / c);
        x -= (s - arc) / std::sqrt(1 + q * q);
    }
    return x;
}

std::vector<ToothRoot> rootsOf(bool upper, int position, float a, float b) {
    if (position <= 3 || position == 5 || (!upper && position == 4)) {
        return {{0, 0, 0.6F, -0.3F, a * 0.74F, b * 0.88F}};
    }
    if (upper && position == 4) {
        return {
            {0, 0.5F * b, 0.5F, 0.62F * b, a * 0.66F, b * 0.46F},
            {0, -0.5F * b, 0.5F, -0.6F * b, a * 0.66F, b * 0.46F}};
    }
    const float spread = position == 8 ? 0.45F : 1.0F;
    if (upper) {
        return {
            {-0.45F * a, 0.42F * b, (-0.45F - 0.3F * spread) * a + 1.2F, (0.4F + 0.2F * spread) * b,
             a * 0.36F, b * 0.44F},
            {0.45F * a, 0.42F * b, (0.35F + 0.3F * spread) * a, (0.38F + 0.15F * spread) * b, a * 0.34F,
             b * 0.4F},
            {0, -0.42F * b, 0, (-0.45F - 0.38F * spread) * b, a * 0.46F, b * 0.42F}};
    }
    return {
        {-0.48F * a, 0, (-0.35F - 0.28F * spread) * a + 1.6F, 0, a * 0.38F, b * 0.72F},
        {0.48F * a, 0, (0.4F + 0.25F * spread) * a + 1.4F, 0, a * 0.36F, b * 0.66F}};
}

/// Radial distance to an ellipse, or to a rounder square for higher powers.
float radialDistance(float u, float v, float a, float b, float power) {
    const float r = std::hypot(u, v);
    const float f =
        power == 2 ? std::hypot(u / a, v / b)
                   : std::pow(std::pow(std::abs(u) / a, power) + std::pow(std::abs(v) / b, power), 1 / power);
    return f < 1e-3F ? -std::min(a, b) : r * (1 - 1 / f);
}

} // namespace

ToothShape toothShape(bool upper, int position) {
    const Measures& m = (upper ? upperTeeth : lowerTeeth)[static_cast<std::size_t>(position - 1)];
    const ToothKind kind = position <= 2   ? ToothKind::Incisor
                           : position == 3 ? ToothKind::Canine
                           : position <= 5 ? ToothKind::Premolar
                                           : ToothKind::Molar;
    return {
        kind,
        m.mesioDistal,
        m.buccoLingual,
        m.crownHeight,
        m.rootLength,
        m.tilt,
        rootsOf(upper, position, 0.5F * m.mesioDistal, 0.5F * m.buccoLingual)};
}

Tooth::Place Tooth::placeOf(int fdi, const ToothShape& shape) {
    const bool upper = isUpper(fdi);
    const int position = fdi % 10;
    const float side = isLeft(fdi) ? 1.0F : -1.0F;
    const float x = xOfArc(arcPosition(upper, position));
    const float slope = 2 * anatomy::archCurvature * x;
    const Point outward = normalized({side * slope, -1, 0});
    const Point along = normalized({side, slope, 0});
    const float crownward = upper ? -1.0F : 1.0F;
    const Point w =
        normalized(Point{0, 0, crownward * std::cos(shape.tilt)} + outward * std::sin(shape.tilt));
    const Point v = normalized(outward - w * dot(outward, w));
    // Edge to edge nothing closes: upper front teeth overlap the lower ones.
    const float overlap = position <= 2 ? 2.2F : position == 3 ? 1.8F : 0.2F;
    const float top = upper ? -overlap : position <= 3 ? 0.6F : -0.4F;
    const float apex = upper ? anatomy::upperArchApex : anatomy::lowerArchApex;
    // The neck stands on the arch; tilting moves the crown, not the neck.
    const float neck = top - crownward * shape.crownHeight * std::cos(shape.tilt);
    const Point origin{side * x, apex + anatomy::archCurvature * x * x, neck};
    return {
        origin + outward * (-0.35F * shape.crownHeight * std::sin(std::max(shape.tilt, 0.0F))), along, v, w};
}

Bounds Tooth::boundsOf(const Place& place, const ToothShape& shape) {
    const float wide = 0.85F * std::max(shape.mesioDistal, shape.buccoLingual) + 1.5F;
    Bounds bounds{place.origin, place.origin};
    for (int corner = 0; corner < 8; ++corner) {
        const Point p = place.origin + place.u * ((corner & 1) != 0 ? wide : -wide) +
                        place.v * ((corner & 2) != 0 ? wide : -wide) +
                        place.w * ((corner & 4) != 0 ? shape.crownHeight + 1 : -shape.rootLength - 1.5F);
        bounds.low = {std::min(bounds.low.x, p.x), std::min(bounds.low.y, p.y), std::min(bounds.low.z, p.z)};
        bounds.high = {
            std::max(bounds.high.x, p.x), std::max(bounds.high.y, p.y), std::max(bounds.high.z, p.z)};
    }
    return bounds;
}

Tooth::Tooth(int fdi)
    : Structure(
          boundsOf(placeOf(fdi, toothShape(isUpper(fdi), fdi % 10)), toothShape(isUpper(fdi), fdi % 10))),
      shape_(toothShape(isUpper(fdi), fdi % 10)), place_(placeOf(fdi, shape_)) {}

Point Tooth::toWorld(Point tooth) const {
    return place_.origin + place_.u * tooth.x + place_.v * tooth.y + place_.w * tooth.z;
}

float Tooth::crownRadius(Point local, float& a, float& b) const {
    const float t = std::clamp(local.z / shape_.crownHeight, 0.0F, 1.0F);
    a = 0.5F * shape_.mesioDistal;
    b = 0.5F * shape_.buccoLingual;
    if (shape_.kind == ToothKind::Incisor) {
        a *= 0.74F + 0.26F * smoothStep(0, 0.75F, t);
        b *= 0.14F + 0.80F * std::pow(1 - t, 0.85F) + 0.12F * smoothStep(0, 0.2F, t) * (1 - t);
        return 2.4F;
    }
    if (shape_.kind == ToothKind::Canine) {
        a *= 0.74F + 0.26F * smoothStep(0, 0.55F, t) - 0.25F * smoothStep(0.6F, 1, t);
        b *= 0.16F + 0.80F * std::pow(1 - t, 0.75F) + 0.14F * smoothStep(0, 0.25F, t) * (1 - t);
        return 2.3F;
    }
    a *= 0.80F + 0.20F * smoothStep(0, 0.55F, t) - 0.10F * smoothStep(0.65F, 1, t);
    b *= 0.86F + 0.14F * smoothStep(0, 0.35F, t) - 0.26F * smoothStep(0.4F, 1, t);
    return shape_.kind == ToothKind::Molar ? 2.9F : 2.4F;
}

float Tooth::crownTopHeight(Point local) const {
    constexpr float pi = 3.14159265F;
    const float pu = std::min(std::abs(local.x) / (0.5F * shape_.mesioDistal), 1.0F);
    const float pv = std::min(std::abs(local.y) / (0.5F * shape_.buccoLingual), 1.0F);
    const float h = shape_.crownHeight;
    switch (shape_.kind) {
    case ToothKind::Incisor:
        return h - 0.5F * pu * pu;
    case ToothKind::Canine:
        return h - 2.2F * std::pow(pu, 1.3F);
    case ToothKind::Premolar:
        return h - 2.0F * (1 - std::sin(pi * pv)) - 0.9F * pu * pu;
    default:
        return h - 1.1F * (2 - std::sin(pi * pu) - std::sin(pi * pv));
    }
}

void Tooth::paintCrown(Point local, float radial, float top, float voxel, float& value) const {
    const float d = std::max(smoothMax(radial, top, 1.2F), -local.z);
    if (d > voxel) {
        return;
    }
    const float t = std::clamp(local.z / shape_.crownHeight, 0.0F, 1.0F);
    const bool front = shape_.kind == ToothKind::Incisor || shape_.kind == ToothKind::Canine;
    const float thickness = (front ? 0.75F : 1.5F) * smoothStep(0, 0.5F, t) + 0.12F;
    cover(value, grey::enamel, coverage(d, voxel));
    const float dentin = smoothMax(radial + thickness, top + (front ? 1.6F : 2.1F), 0.8F);
    cover(value, grey::dentin, coverage(std::max(dentin, -local.z), voxel));
}

void Tooth::paintRoots(Point local, float voxel, float& value) const {
    const float depth = -local.z / shape_.rootLength;
    if (local.z > 0.35F * shape_.crownHeight || depth > 1.1F) {
        return;
    }
    const bool molar = shape_.roots.size() > 1;
    const float t = std::clamp(depth, 0.0F, 1.0F);
    float outer = 1e3F;
    float canal = 1e3F;
    for (const ToothRoot& root : shape_.roots) {
        const float bend = std::pow(t, 1.35F);
        const float u = local.x - mix(root.startU, root.endU, bend);
        const float v = local.y - mix(root.startV, root.endV, bend);
        const float narrow =
            std::max((1 - 0.62F * std::pow(t, 1.2F)) * std::sqrt(1 - std::pow(t, 8.0F)), 0.05F);
        const float one = std::max(
            radialDistance(u, v, root.halfU * narrow, root.halfV * narrow, 2),
            (depth - 1) * shape_.rootLength);
        outer = std::min(outer, one);
        canal = std::min(canal, std::hypot(u, v) - mix(0.62F, 0.28F, t));
    }
    // The trunk between the neck and the place where the roots part.
    if (molar) {
        const float trunk =
            radialDistance(local.x, local.y, 0.40F * shape_.mesioDistal, 0.43F * shape_.buccoLingual, 2.6F);
        const float below = std::max(-local.z - 3.2F, 0.0F);
        outer = smoothMin(outer, std::max(trunk + 0.3F * below, below - 0.8F), 1.4F);
        const float chamber =
            ellipsoid(local, {0, 0, -0.6F}, {0.24F * shape_.mesioDistal, 0.22F * shape_.buccoLingual, 2.4F});
        canal = smoothMin(canal, chamber, 0.8F);
    } else {
        canal = std::min(
            canal,
            ellipsoid(local, {0, 0, 0.5F}, {0.15F * shape_.mesioDistal, 0.13F * shape_.buccoLingual, 5}));
    }
    if (local.z < 0) {
        // The gap of the ligament and the dense line about it, where there is bone.
        if (local.z < -2 && outer < 0.8F + voxel && value > 150) {
            cover(value, 1150, coverage(outer - 0.75F, voxel) * 0.75F);
            cover(value, 100, coverage(outer - 0.3F, voxel));
        }
        cover(value, grey::dentin, coverage(outer, voxel));
    }
    if (outer < 0 || local.z > 0) {
        cover(value, grey::pulp, coverage(canal, voxel));
    }
}

void Tooth::paint(Point p, float voxel, float& value) const {
    const Point d = p - place_.origin;
    const Point local{dot(d, place_.u), dot(d, place_.v), dot(d, place_.w)};
    if (local.z > -voxel) {
        float a = 0;
        float b = 0;
        const float power = crownRadius(local, a, b);
        const float radial = radialDistance(local.x, local.y, a, b, power);
        if (radial < voxel) {
            paintCrown(local, radial, local.z - crownTopHeight(local), voxel, value);
        }
    }
    paintRoots(local, voxel, value);
}

Filling::Filling(const Tooth& tooth)
    : Structure(
          {tooth.toWorld({0, 0, tooth.shape().crownHeight - 2}) - Point{4, 4, 4},
           tooth.toWorld({0, 0, tooth.shape().crownHeight - 2}) + Point{4, 4, 4}}),
      centre_(tooth.toWorld({0, 0, tooth.shape().crownHeight - 2.6F})) {}

void Filling::paint(Point p, float voxel, float& value) const {
    cover(value, grey::amalgam, coverage(length(p - centre_) - radius, voxel));
}

Implant::Implant(const Tooth& tooth)
    : Structure(tooth.bounds()), top_(tooth.toWorld({0, 0, -1.5F})),
      apex_(tooth.toWorld({0, 0, -1.5F - length})), crown_(tooth.toWorld({0, 0, 3.6F})) {}

void Implant::paint(Point p, float voxel, float& value) const {
    const Point axis = normalized(apex_ - top_);
    const float along = dot(p - top_, axis);
    const float across = zorbel::demo::length(p - top_ - axis * along);
    constexpr float pitch = 1.2F;
    const float thread = 0.22F * std::abs(std::fmod(std::abs(along), pitch) / pitch - 0.5F);
    const float screw = std::max(across - radius + thread, std::max(-along, along - length));
    const float abutment = std::max(across - 1.5F, std::max(along - 0.5F, -along - 5));
    const float crown = superEllipsoid(p, crown_, {5, 4.6F, 4}, 3);
    if (crown < voxel) {
        cover(value, grey::ceramic, coverage(crown, voxel));
    }
    cover(value, grey::titanium, coverage(std::min(screw, abutment), voxel));
}

} // namespace zorbel::demo
