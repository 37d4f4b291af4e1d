#pragma once

#include "imaging/geometry/ImageGeometry.h"
#include "imaging/geometry/PlaneGeometry.h"

#include <optional>

namespace zorbel {

/// The point that all three planes pass through: LPS millimetres, always within the shown volume, that is
/// between its outermost voxel centres. Only what follows moves it: no layout, size or zoom of a view does.
/// One thread.
class CrosshairModel {
public:
    /// A volume is shown; the crosshair starts in its centre.
    void setGeometry(const imaging::ImageGeometry& geometry);
    void clear();
    bool hasVolume() const { return geometry_.has_value(); }

    /// The origin without a volume.
    const imaging::Vector3& point() const { return point_; }
    /// To a point, or the one that the volume's own axes clamp it to. Returns whether the crosshair moved;
    /// coordinates that are not finite move nothing.
    bool moveTo(const imaging::Vector3& point);
    /// A plane was moved alone: takes the crosshair along to it, straight along the plane's normal where that
    /// stays within the volume, else to a point that the plane and the volume share (as at the corner that an
    /// oblique plane is moved into). Returns whether it went sideways, so that the other planes must follow.
    bool moveOnto(const imaging::PlaneGeometry& plane);
    /// To the voxel in the middle (of two the later), so that the planes through it show acquired values.
    /// Returns whether the crosshair moved.
    bool centre();

private:
    /// The nearest point of the volume along its own axes.
    imaging::Vector3 clamped(const imaging::Vector3& point) const;

    std::optional<imaging::ImageGeometry> geometry_;
    imaging::Vector3 point_{0.0, 0.0, 0.0};
};

} // namespace zorbel
