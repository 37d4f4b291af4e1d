#pragma once

#include <optional>
#include <string_view>

namespace zorbel {

/// What the coordinates of a measurement's points are.
enum class MeasurementCalibration {
    World,     ///< LPS millimetres: drawn on a plane through a volume
    Patient,   ///< drawn on a 2D image whose file gives the spacing of its pixels: millimetres
    Magnified, ///< as before, from the detector's spacing divided by the magnification the file estimates
    Detector,  ///< only the spacing at the detector is known: pixels, see calibrationFactor
    Pixels,    ///< no spacing is known: pixels
};

/// As records name it: "world", "patient", "magnified", "detector", "pixels".
constexpr std::string_view calibrationName(MeasurementCalibration calibration) {
    switch (calibration) {
    case MeasurementCalibration::World:
        break;
    case MeasurementCalibration::Patient:
        return "patient";
    case MeasurementCalibration::Magnified:
        return "magnified";
    case MeasurementCalibration::Detector:
        return "detector";
    case MeasurementCalibration::Pixels:
        return "pixels";
    }
    return "world";
}

/// Nothing for any other text.
constexpr std::optional<MeasurementCalibration> calibrationOf(std::string_view name) {
    for (const auto calibration :
         {MeasurementCalibration::World, MeasurementCalibration::Patient, MeasurementCalibration::Magnified,
          MeasurementCalibration::Detector, MeasurementCalibration::Pixels})
        if (name == calibrationName(calibration))
            return calibration;
    return std::nullopt;
}

/// The coordinates count pixels, not millimetres.
constexpr bool countsPixels(MeasurementCalibration calibration) {
    return calibration == MeasurementCalibration::Detector || calibration == MeasurementCalibration::Pixels;
}

} // namespace zorbel
