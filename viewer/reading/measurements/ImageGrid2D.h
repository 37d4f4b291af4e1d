#pragma once

#include "imaging/Image.h"
#include "viewer/reading/base/Point2.h"
#include "viewer/reading/records/MeasurementCalibration.h"

namespace zorbel {

/// The grid in which a 2D image is measured: where on it a pixel lies, and what its unit is.
///
/// Pixel spacing counts in millimetres. The detector's spacing (ImagerPixelSpacing) does so after division by
/// EstimatedRadiographicMagnificationFactor, PS3.3 C.8.7.10; without that factor nothing is known of the
/// patient's size, and the unit is the distance of two columns, as it is for an image without any spacing.
/// Pixels that are not square keep their proportions in either case. Value type.
class ImageGrid2D {
public:
    /// Square pixels of unknown size.
    ImageGrid2D() = default;
    explicit ImageGrid2D(const imaging::Image& image);

    MeasurementCalibration calibration() const { return calibration_; }
    /// As Measurement::calibrationFactor.
    double calibrationFactor() const { return factor_; }
    /// Units from one column, or row, to the next.
    double columnStep() const { return columnStep_; }
    double rowStep() const { return rowStep_; }

    /// pixel: (column, row), whole at pixel centres.
    imaging::Vector3 fromPixel(const Point2& pixel) const {
        return {pixel.x * columnStep_, pixel.y * rowStep_, 0.0};
    }
    Point2 toPixel(const imaging::Vector3& point) const {
        return {point[0] / columnStep_, point[1] / rowStep_};
    }

private:
    MeasurementCalibration calibration_ = MeasurementCalibration::Pixels;
    double factor_ = 1.0;
    double columnStep_ = 1.0;
    double rowStep_ = 1.0;
};

} // namespace zorbel
