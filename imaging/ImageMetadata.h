#pragma once

#include "imaging/VoiTransform.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zorbel::imaging {

/// The modality rescale of one slice: value = slope × stored + intercept. A slope of 0 in a file counts as 1.
/// Values that a modality lookup table made, and colours, carry the identity.
struct ModalityRescale {
    double slope = 1.0;
    double intercept = 0.0;
    friend bool operator==(const ModalityRescale&, const ModalityRescale&) = default;
};

/// Where a 2D image's pixel spacing comes from. PS3.3 10.7.1.3: PixelSpacing is calibrated to the patient, or
/// equals the imager's; ImagerPixelSpacing alone is measured at the detector and needs the magnification.
enum class SpacingSource { None, PixelSpacing, ImagerPixelSpacing };

/// What the files say about an image beyond its voxels. Texts are UTF-8. The patient's name is for the screen
/// alone.
struct ImageMetadata {
    std::string studyInstanceUID;
    std::string seriesInstanceUID;
    std::string modality;
    std::string seriesDescription;
    std::string patientName; ///< "Family Given", carets replaced
    std::string studyDate;   ///< yyyyMMdd, may be empty

    std::string transferSyntax;            ///< UID, of the files; empty where the image comes from none
    std::string photometricInterpretation; ///< as in the file: MONOCHROME1, MONOCHROME2, RGB, YBR_FULL, …
    /// MONOCHROME1 (or an inverse presentation LUT): low values are shown white.
    bool inverted = false;
    /// RescaleType is "HU", or the image is a CT of the original kind that implies it. CBCT grey values are
    /// not.
    bool hounsfieldUnits = false;
    std::vector<ModalityRescale> rescale; ///< one a slice

    std::vector<LevelWindow> windows; ///< in the file's order; may be empty
    std::vector<VoiTable> voiTables;  ///< in the file's order; a table wins over a window when both are there
    double minimum = 0.0;             ///< over all voxels, padding included; after rescale
    double maximum = 0.0;
    /// Over the values after rescale that the file marks as padding (outside the scanned region), lowest to
    /// highest.
    std::optional<std::pair<double, double>> padding;

    SpacingSource spacingSource = SpacingSource::None;
    std::optional<double> magnification; ///< EstimatedRadiographicMagnificationFactor
    double pixelAspectRatio = 1.0;       ///< row spacing ÷ column spacing, also where no spacing is known
    bool lossy = false;                  ///< LossyImageCompression is 01
    /// PatientOrientation of a projection image: letters toward increasing column and increasing row, e.g.
    /// {"L","F"}.
    std::pair<std::string, std::string> patientOrientation;
};

} // namespace zorbel::imaging
