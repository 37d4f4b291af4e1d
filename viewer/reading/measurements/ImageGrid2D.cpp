#include "viewer/reading/measurements/ImageGrid2D.h"

#include <cmath>

namespace zorbel {

namespace {

bool isLength(double value) {
    return std::isfinite(value) && value > 0.0;
}

} // namespace

ImageGrid2D::ImageGrid2D(const imaging::Image& image) {
    const imaging::ImageMetadata& metadata = image.metadata();
    const imaging::Vector3& spacing = image.geometry().spacing();
    if (isLength(metadata.pixelAspectRatio))
        rowStep_ = metadata.pixelAspectRatio;
    if (metadata.spacingSource == imaging::SpacingSource::None || !isLength(spacing[0]) ||
        !isLength(spacing[1]))
        return;

    if (metadata.spacingSource == imaging::SpacingSource::PixelSpacing) {
        calibration_ = MeasurementCalibration::Patient;
    } else if (metadata.magnification && isLength(*metadata.magnification)) {
        calibration_ = MeasurementCalibration::Magnified;
        factor_ = *metadata.magnification;
    } else {
        calibration_ = MeasurementCalibration::Detector;
        factor_ = spacing[0];
        rowStep_ = spacing[1] / spacing[0];
        return;
    }
    columnStep_ = spacing[0] / factor_;
    rowStep_ = spacing[1] / factor_;
}

} // namespace zorbel
