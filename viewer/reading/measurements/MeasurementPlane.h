#pragma once

#include "imaging/Image.h"
#include "imaging/geometry/PlaneGeometry.h"
#include "viewer/reading/records/Measurement.h"

#include <string>

namespace zorbel {

/// What a view shows, as far as measurements are drawn on it: a plane or slab through a volume, or a frame of
/// a 2D image. Value type.
class MeasurementPlane {
public:
    /// The axial plane through the origin, as thin as can be.
    MeasurementPlane() = default;
    /// thickness: of the slab, or of the single slice; millimetres.
    static MeasurementPlane
    ofVolume(const imaging::PlaneGeometry& plane, double thickness, const std::string& seriesInstanceUid);
    static MeasurementPlane ofImage(const imaging::Image& image, int slice);

    /// A measurement without points, to be drawn here.
    Measurement newMeasurement(MeasurementKind kind) const;
    /// It lies here: on this frame of this image; or parallel to this plane (within 0.5°) with all its points
    /// in the slab, that is at most half the thickness from the plane.
    bool shows(const Measurement& measurement) const;
    /// It could lie here after scrolling alone: of this image and frame, or parallel to this plane.
    bool isParallelTo(const Measurement& measurement) const;

private:
    Measurement pattern_; ///< what every measurement drawn here has in common
    imaging::PlaneGeometry plane_;
    double halfThickness_ = 0.0;
};

} // namespace zorbel
