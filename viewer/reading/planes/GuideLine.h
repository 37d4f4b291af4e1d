#pragma once

#include "imaging/geometry/ViewDirection.h"
#include "viewer/reading/base/PlaneBases.h"
#include "viewer/reading/base/Point2.h"

#include <array>
#include <cstdint>

namespace zorbel {

/// 0xRRGGBB of a plane's lines, frame and letters: axial blue, coronal green, sagittal red.
constexpr std::uint32_t planeColour(imaging::ViewDirection plane) {
    constexpr std::array<std::uint32_t, 3> colours{0x2D7FF9, 0x2ECC71, 0xFF4D4F};
    return colours[static_cast<std::size_t>(plane)];
}

/// 0xRRGGBB of the guide's centre and handles.
struct GuideColours {
    static constexpr std::uint32_t idle = 0xFFFFFF;
    static constexpr std::uint32_t hovered = 0xDFFAFF;
    static constexpr std::uint32_t outline = 0x0B1F3A;
    static constexpr std::uint32_t grabbed = 0xFFD93D;
};

/// The line in which another plane cuts a view's own, as drawn over that view.
struct GuideLine {
    int axisId = 1;                                               ///< 1 or 2
    imaging::ViewDirection plane = imaging::ViewDirection::Axial; ///< the other plane
    Point2 direction;         ///< unit vector in the widget; zero where the planes do not cut each other
    std::uint32_t colour = 0; ///< 0xRRGGBB, the other plane's
    double slabHalfThickness = 0.0; ///< pixels, 0 without a slab

    bool exists() const { return length(direction) > 1e-8; }
};

/// The planes of a view's line 1 and line 2: sagittal and coronal in the axial view, sagittal and axial in
/// the coronal one, coronal and axial in the sagittal one.
std::array<imaging::ViewDirection, 2> guidePlanes(imaging::ViewDirection view);

/// Unit vector, in the widget of a view, of the line in which another plane cuts the view's; zero where they
/// are parallel or a basis is missing. Turns steadily with the planes, without jumping to its opposite.
Point2 guideDirection(const PlaneBases& bases, imaging::ViewDirection view, imaging::ViewDirection other);

/// The two lines of a view. slabThickness: of each plane, millimetres, 0 without a slab. millimetresPerPixel:
/// of the view.
std::array<GuideLine, 2> guideLines(
    const PlaneBases& bases, imaging::ViewDirection view, const std::array<double, 3>& slabThickness,
    double millimetresPerPixel);

} // namespace zorbel
