#pragma once

#include "viewer/reading/measurements/MeasurementView.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace zorbel {

/// How a measurement looks in a view: logical pixels of the widget. Value type.
struct MeasurementShape {
    struct Polyline {
        std::vector<Point2> points;
        bool closed = false;
    };
    struct Rect {
        Point2 corner; ///< upper left
        Point2 size;
        bool overlaps(const Rect& other) const;
        bool contains(const Rect& other) const;
    };

    /// The lines that can be taken hold of: none of a probe.
    std::vector<Polyline> body;
    /// A length's ends, an angle's arc, a probe's cross.
    std::vector<Polyline> marks;
    /// In the order of measurementHandles().
    std::vector<Point2> handles;
    /// What the label stands beside.
    Point2 labelAnchor;

    /// Also of a measurement that still lacks points.
    static MeasurementShape of(const Measurement& measurement, const MeasurementView& view);

    /// The nearest handle at most `radius` away; of equally near ones the later.
    std::optional<std::size_t> handleAt(const Point2& pointer, double radius) const;
    /// From the nearest line of the body; infinite without one.
    double distanceToBody(const Point2& pointer) const;
    /// Around body, marks and handles.
    Rect bounds() const;
};

} // namespace zorbel
