#pragma once

#include "imaging/geometry/Vector3.h"

#include <array>

namespace zorbel::imaging {

/// A plane in the patient and how it lies on the screen: LPS millimetres; axis 0 points to the right of the
/// screen, axis 1 downwards, the normal axis 0 × axis 1 away from the reader. Value type; any thread.
class PlaneGeometry {
public:
    /// The axial plane through the origin.
    PlaneGeometry() = default;
    /// Axes of any length; axis 1 loses its part along axis 0. Throws std::invalid_argument where an axis
    /// vanishes (length at most 1e-8).
    PlaneGeometry(const Vector3& center, const Vector3& axis0, const Vector3& axis1);

    const Vector3& center() const { return center_; }
    /// Unit vector; axis is 0 or 1.
    const Vector3& axisVector(int axis) const { return axes_[axis == 0 ? 0 : 1]; }
    Vector3 normal() const { return cross(axes_[0], axes_[1]); }

    /// The same plane orientation through another point.
    PlaneGeometry movedTo(const Vector3& center) const;

    /// Millimetres along the normal, positive beyond the plane as seen by the reader.
    double signedDistance(const Vector3& point) const { return dot(point - center_, normal()); }
    /// Nearest point of the plane.
    Vector3 project(const Vector3& point) const { return point - normal() * signedDistance(point); }
    /// Millimetres from the centre along axis 0 and axis 1.
    std::array<double, 2> toPlane(const Vector3& point) const;
    Vector3 fromPlane(double along0, double along1) const;

    friend bool operator==(const PlaneGeometry&, const PlaneGeometry&) = default;

private:
    Vector3 center_{0.0, 0.0, 0.0};
    std::array<Vector3, 2> axes_{Vector3{1.0, 0.0, 0.0}, Vector3{0.0, 1.0, 0.0}};
};

} // namespace zorbel::imaging
