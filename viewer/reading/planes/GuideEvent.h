#pragma once

#include "imaging/geometry/ViewDirection.h"
#include "viewer/reading/base/Point2.h"

#include <variant>

namespace zorbel {

/// Turn the two other planes by this step, radians, clockwise on the screen.
struct RotateStep {
    int axisId = 1; ///< of the line whose handle is dragged
    double radians = 0.0;
};

/// Move the crosshair to this point of the widget: the centre, or a line with the crosshair on it, is
/// dragged.
struct CrosshairMove {
    Point2 point;
};

/// Make the slab of a plane this thick on either side.
struct SlabChange {
    imaging::ViewDirection plane = imaging::ViewDirection::Axial; ///< the one that the dragged line shows
    double halfThickness = 0.0;                                   ///< pixels of the widget
};

/// What a mouse gesture on the guide of a plane asks for.
using GuideEvent = std::variant<RotateStep, CrosshairMove, SlabChange>;

} // namespace zorbel
