#pragma once

#include "viewer/reading/base/Point2.h"
#include "viewer/reading/measurements/MeasurementPlane.h"

#include <functional>

namespace zorbel {

/// A view in which measurements are drawn and edited, at the moment of a mouse event or a paint. Widget
/// points are logical pixels; points of the other kind are coordinates of measurements drawn on the plane:
/// LPS millimetres, or those of a 2D image's grid.
struct MeasurementView {
    MeasurementPlane plane;
    /// Of a point off the plane: of its projection.
    std::function<Point2(const imaging::Vector3&)> toWidget;
    std::function<imaging::Vector3(const Point2&)> fromWidget;
    double width = 0.0;
    double height = 0.0;
};

} // namespace zorbel
