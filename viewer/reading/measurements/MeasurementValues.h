#pragma once

#include "imaging/ImageMetadata.h"
#include "viewer/reading/records/Measurement.h"

#include <optional>
#include <string>
#include <string_view>

namespace zorbel {

class VoxelSampler;

/// What a measurement measures, and how its label says it. Value type.
///
/// | kind | label |
/// |---|---|
/// | length | "10.00 mm", with values along the path "10.00 mm  120 / 340 / 910": smallest, mean, largest |
/// | angle | "90.0 deg" |
/// | probe | "340", or "--" where no value can be read |
/// | regions | "157.1 mm2", with values inside "157.1 mm2\n340 +/- 25  [120, 910]": mean, standard deviation,
/// smallest, largest |
///
/// On a 2D image whose scale is not known the unit is the pixel, "123.4 px" and "123.4 px2"; where the
/// spacing at the detector is known, that is added: "123.4 px (12.34 mm at the detector)". A length that was
/// corrected by the file's magnification says so: "10.00 mm (magnification 1.10)". The label never names the
/// unit of voxel values; that is valueUnit().
struct MeasurementValues {
    struct Statistics {
        int count = 0; ///< of samples that could be read; always above 0
        double minimum = 0.0;
        double mean = 0.0;
        double maximum = 0.0;
        /// Of the samples themselves (divided by their count): they are all of the region, not a draw from
        /// it.
        double deviation = 0.0;
    };

    static constexpr int pathSamples = 24;
    static constexpr int regionSamples = 32; ///< along either side

    double length = 0.0; ///< in the unit of the measurement's points
    double degrees = 0.0;
    double area = 0.0;
    std::optional<double> value; ///< of a probe
    std::optional<Statistics> samples;
    std::string label;

    /// All zero and without a label where points are missing. Without a sampler, or with that of another
    /// series, only what needs no voxel.
    static MeasurementValues of(const Measurement& measurement, const VoxelSampler* sampler);

    /// The label on one line, for lists and the status bar.
    std::string lineLabel() const;
    /// The same with the unit of the voxel values, see valueUnit(), where it says any: it is read away from
    /// the image.
    std::string reportLine(std::string_view unit) const;
};

/// Where it was drawn, for lists and reports: "Axial", "Coronal", "Sagittal", for a plane more than 1° from
/// the patient's axes "Axial, oblique" and so on, for an image "2D".
std::string measurementViewName(const Measurement& measurement);

/// "HU" where the image's values are Hounsfield units, else empty: grey values of a cone-beam volume have no
/// unit.
std::string_view valueUnit(const imaging::ImageMetadata& metadata);
/// The same for a tool tip or a heading: "Hounsfield units" or "Grey values without a unit".
std::string_view valueUnitText(const imaging::ImageMetadata& metadata);

} // namespace zorbel
