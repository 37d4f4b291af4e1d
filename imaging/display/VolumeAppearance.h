#pragma once

#include "imaging/display/TissueScale.h"
#include "imaging/display/VolumePreset.h"

#include <optional>
#include <vector>

namespace zorbel::imaging {

/// How values become colour and opacity in the 3D view. Points ascend in value; between them both are
/// interpolated, outside the outermost points hold. Colours and opacity are 0 to 1, opacity for one four
/// hundredth of the volume's diagonal.
struct VolumeAppearance {
    struct Point {
        double value = 0.0;
        double red = 0.0;
        double green = 0.0;
        double blue = 0.0;
        double opacity = 0.0;
    };
    std::vector<Point> points;

    /// A factor to the opacity by the values' change, in values per millimetre; none when empty.
    struct GradientPoint {
        double perMillimetre = 0.0;
        double factor = 0.0;
    };
    std::vector<GradientPoint> gradientPoints;

    VolumeBlendMode blendMode = VolumeBlendMode::Composite;
    /// In the average, values below this one are left out.
    double averageAbove = -1e30;

    double ambient = 0.25;
    double diffuse = 0.65;
    double specular = 0.25;
    double specularPower = 18.0;
};

/// The look of a preset, carried over to the scale's grey values; composite.
VolumeAppearance volumeAppearance(VolumePreset preset, const TissueScale& scale);

/// Grey over a window in which the projection can be read; the preset plays no part. Composite gives a bone
/// look. outside: the value of a WithoutOutsideAir, which shows as nothing in the projection of the least
/// value.
VolumeAppearance projectionAppearance(
    VolumeBlendMode mode, const TissueScale& scale, std::optional<double> outside = std::nullopt);

} // namespace zorbel::imaging
