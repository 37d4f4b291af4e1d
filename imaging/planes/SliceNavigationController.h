#pragma once

#include "imaging/geometry/ImageGeometry.h"
#include "imaging/geometry/PlaneGeometry.h"
#include "imaging/geometry/ViewDirection.h"

#include <functional>
#include <optional>
#include <string>

namespace zorbel::imaging {

/// Which plane through an image one view shows, and its way from slice to slice.
///
/// Slices are counted from 1 along the plane's normal, which for the standard planes means from the feet to
/// the head, from front to back, and from the patient's left to the right. The distance of two slices is one
/// voxel of the image measured along the normal; the first and the last slice pass through the outermost
/// voxel centres. The plane may lie between two slices. Its centre is the point nearest to the image's
/// centre. One thread.
class SliceNavigationController {
public:
    explicit SliceNavigationController(ViewDirection direction) : direction_(direction) {}

    ViewDirection viewDirection() const { return direction_; }
    /// Starts over with the standard plane in the middle slice.
    void setGeometry(const ImageGeometry& geometry);
    /// Forgets the image.
    void clear();
    bool hasGeometry() const { return geometry_.has_value(); }

    const PlaneGeometry& plane() const { return plane_; }
    /// 1 without an image.
    int sliceCount() const;
    /// The nearest slice, 1 to sliceCount().
    int currentSlice() const;
    /// Slices from the first one, fractional: 0 to sliceCount() − 1 (somewhat more where an oblique extent is
    /// no whole number of slices).
    double slicePosition() const { return position_; }
    /// Millimetres between two slices.
    double sliceSpacing() const { return spacing_; }
    /// "Axial 12/240".
    std::string sliceLabel() const;

    /// Moves by slices, fractional ones too; ends at the first and the last.
    void step(double slices);
    /// slice: 1 to sliceCount(), clamped.
    void selectSlice(int slice);
    /// The slice through a point, or the outermost one towards it.
    void selectSliceByPoint(const Vector3& point);
    /// Turns the plane to these axes, through a point. Throws std::invalid_argument for axes that span no
    /// plane.
    void reorientSlices(const Vector3& point, const Vector3& axis0, const Vector3& axis1);
    /// Back to the standard plane, through a point.
    void resetOrientation(const Vector3& point);

    /// Called after each change of the plane or of the geometry.
    void setChangeCallback(std::function<void()> callback) { changed_ = std::move(callback); }

private:
    void measure();
    void moveTo(double position, bool force = false);

    ViewDirection direction_;
    std::optional<ImageGeometry> geometry_;
    PlaneGeometry plane_;
    double first_ = 0.0;   ///< of the first slice: millimetres along the normal from the world's origin
    double spacing_ = 1.0; ///< of two slices
    double last_ = 0.0;    ///< slice position of the outermost voxel centre
    double position_ = 0.0;
    std::function<void()> changed_;
};

} // namespace zorbel::imaging
