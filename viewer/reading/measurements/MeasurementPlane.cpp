#include "viewer/reading/measurements/MeasurementPlane.h"

#include "viewer/reading/measurements/ImageGrid2D.h"

#include <algorithm>
#include <cmath>

namespace zorbel {

namespace {

constexpr double cosineOfParallel = 0.99996192306417131; // 0.5°
constexpr double rounding = 1e-6;                        // millimetres

} // namespace

MeasurementPlane MeasurementPlane::ofVolume(
    const imaging::PlaneGeometry& plane, double thickness, const std::string& seriesInstanceUid) {
    MeasurementPlane result;
    result.plane_ = plane;
    result.halfThickness_ = thickness / 2.0;
    result.pattern_.planeAxisX = plane.axisVector(0);
    result.pattern_.planeAxisY = plane.axisVector(1);
    result.pattern_.seriesInstanceUid = seriesInstanceUid;
    return result;
}

MeasurementPlane MeasurementPlane::ofImage(const imaging::Image& image, int slice) {
    const ImageGrid2D grid(image.isSet() ? *image.member(slice) : image);
    MeasurementPlane result;
    result.pattern_.calibration = grid.calibration();
    result.pattern_.calibrationFactor = grid.calibrationFactor();
    result.pattern_.slice = slice;
    result.pattern_.seriesInstanceUid = image.metadata().seriesInstanceUID;
    return result;
}

Measurement MeasurementPlane::newMeasurement(MeasurementKind kind) const {
    Measurement measurement = pattern_;
    measurement.kind = kind;
    return measurement;
}

bool MeasurementPlane::shows(const Measurement& measurement) const {
    if (!isParallelTo(measurement))
        return false;
    return measurement.isOnImage() ||
           std::all_of(
               measurement.points.begin(), measurement.points.end(), [this](const imaging::Vector3& point) {
                   return std::abs(plane_.signedDistance(point)) <= halfThickness_ + rounding;
               });
}

bool MeasurementPlane::isParallelTo(const Measurement& measurement) const {
    if (!measurement.isOfSeries(pattern_.seriesInstanceUid) ||
        measurement.calibration != pattern_.calibration)
        return false;
    if (!measurement.isOnImage())
        return std::abs(imaging::dot(measurement.unitNormal(), plane_.normal())) >= cosineOfParallel;
    // With another factor the same coordinates would name another place.
    return measurement.slice == pattern_.slice &&
           std::abs(measurement.calibrationFactor - pattern_.calibrationFactor) <=
               1e-6 * pattern_.calibrationFactor;
}

} // namespace zorbel
