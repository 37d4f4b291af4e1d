#pragma once

#include "viewer/reading/measurements/MeasurementPlane.h"

#include <cstddef>

namespace zorbel {

/// A measurement being placed: the points placed so far and one that follows the pointer. All of them lie on
/// the plane of the first, also when the view was scrolled since. Value type.
class MeasurementDraft {
public:
    MeasurementDraft(const MeasurementPlane& plane, MeasurementKind kind, const imaging::Vector3& pointer);

    /// With the point at the pointer as its last: what to show while placing.
    const Measurement& preview() const { return measurement_; }
    /// 0 until the first is placed.
    std::size_t placedPoints() const { return measurement_.points.size() - 1; }
    const imaging::Vector3& lastPlaced() const { return measurement_.points[placedPoints() - 1]; }

    void moveTo(const imaging::Vector3& pointer);
    /// Places the point at the pointer. True where it was the last one: preview() is the measurement.
    bool place();

private:
    Measurement measurement_;
};

} // namespace zorbel
