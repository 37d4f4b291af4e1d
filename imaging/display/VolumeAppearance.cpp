#include "imaging/display/VolumeAppearance.h"

#include <algorithm>
#include <initializer_list>

namespace zorbel::imaging {

namespace {

/// Hounsfield units, red, green, blue, opacity.
using Look = std::initializer_list<VolumeAppearance::Point>;

VolumeAppearance appearanceOf(const Look& look, const TissueScale& scale) {
    VolumeAppearance appearance;
    for (VolumeAppearance::Point point : look) {
        point.value = scale.valueOf(point.value);
        appearance.points.push_back(point);
    }
    return appearance;
}

VolumeAppearance boneEdges(const TissueScale& scale) {
    VolumeAppearance appearance = appearanceOf(
        {{200, 0.45, 0.62, 0.80, 0.0},
         {450, 0.62, 0.76, 0.88, 0.22},
         {1300, 0.92, 0.94, 0.92, 0.40},
         {2400, 1.0, 0.98, 0.86, 0.75}},
        scale);
    for (const auto& [perMillimetre, factor] :
         {std::pair{120.0, 0.0}, {300.0, 0.15}, {700.0, 0.7}, {1400.0, 1.0}})
        appearance.gradientPoints.push_back({perMillimetre * scale.slope(), factor});
    return appearance;
}

/// Grey over the values' own range, from halfway between background and object up to the brightest tissue;
/// metal must not darken the rest.
VolumeAppearance greyRamp(const TissueScale& scale) {
    const double begins = scale.valueOf(-500.0);
    const double span = std::max(std::min(scale.high, scale.dense) - begins, 1e-9);
    VolumeAppearance appearance;
    const auto add = [&](double part, double opacity) {
        const double grey = 0.15 + 0.85 * part;
        appearance.points.push_back({begins + part * span, grey, grey, grey, opacity});
    };
    add(0.0, 0.0);
    add(0.15, 0.06);
    add(0.4, 0.15);
    add(0.7, 0.5);
    add(1.0, 0.85);
    return appearance;
}

} // namespace

VolumeAppearance volumeAppearance(VolumePreset preset, const TissueScale& scale) {
    switch (preset) {
    case VolumePreset::CtDefault:
        return appearanceOf(
            {{-600, 0.80, 0.58, 0.46, 0.0},
             {-400, 0.80, 0.58, 0.46, 0.13},
             {-150, 0.80, 0.58, 0.46, 0.0},
             {200, 0.72, 0.45, 0.30, 0.0},
             {350, 0.84, 0.66, 0.48, 0.16},
             {700, 0.93, 0.84, 0.70, 0.55},
             {1300, 0.98, 0.95, 0.88, 0.85},
             {2400, 1.0, 1.0, 1.0, 0.95}},
            scale);
    case VolumePreset::CtBlackWhite:
        return appearanceOf(
            {{200, 0.12, 0.12, 0.12, 0.0},
             {350, 0.25, 0.25, 0.25, 0.14},
             {700, 0.50, 0.50, 0.50, 0.45},
             {1300, 0.80, 0.80, 0.80, 0.80},
             {2400, 1.0, 1.0, 1.0, 0.95}},
            scale);
    case VolumePreset::CtThorax:
        return appearanceOf(
            {{-600, 0.75, 0.45, 0.35, 0.0},
             {-300, 0.80, 0.50, 0.40, 0.10},
             {-50, 0.85, 0.55, 0.42, 0.010},
             {60, 0.75, 0.28, 0.22, 0.018},
             {250, 0.80, 0.50, 0.38, 0.02},
             {500, 0.93, 0.86, 0.74, 0.30},
             {1300, 1.0, 0.97, 0.90, 0.60}},
            scale);
    case VolumePreset::CtBone:
        return appearanceOf(
            {{250, 0.70, 0.55, 0.38, 0.0},
             {400, 0.83, 0.72, 0.52, 0.75},
             {800, 0.93, 0.87, 0.70, 0.97},
             {1500, 0.99, 0.97, 0.90, 1.0},
             {2400, 1.0, 1.0, 1.0, 1.0}},
            scale);
    case VolumePreset::CtBoneEdge:
        return boneEdges(scale);
    case VolumePreset::CtCardiac:
        return appearanceOf(
            {{130, 0.55, 0.05, 0.05, 0.0},
             {220, 0.75, 0.12, 0.10, 0.12},
             {400, 0.90, 0.30, 0.22, 0.30},
             {600, 0.92, 0.78, 0.68, 0.30},
             {1300, 0.95, 0.93, 0.90, 0.45},
             {2400, 1.0, 1.0, 1.0, 0.6}},
            scale);
    case VolumePreset::MrGeneric:
        return greyRamp(scale);
    }
    return greyRamp(scale);
}

VolumeAppearance
projectionAppearance(VolumeBlendMode mode, const TissueScale& scale, std::optional<double> outside) {
    const auto ramp = [&](double black, double white) {
        VolumeAppearance appearance;
        appearance.blendMode = mode;
        appearance.points = {
            {scale.valueOf(black), 0.0, 0.0, 0.0, 1.0}, {scale.valueOf(white), 1.0, 1.0, 1.0, 1.0}};
        return appearance;
    };
    switch (mode) {
    case VolumeBlendMode::Composite:
        break;
    case VolumeBlendMode::Mip:
        return ramp(-100.0, 2400.0);
    case VolumeBlendMode::MinIp: {
        VolumeAppearance appearance = ramp(-1050.0, 150.0);
        const double white = appearance.points.back().value;
        if (outside && *outside > white) {
            appearance.points.push_back({white + 0.9 * (*outside - white), 1.0, 1.0, 1.0, 1.0});
            appearance.points.push_back({*outside, 0.0, 0.0, 0.0, 0.0});
        }
        return appearance;
    }
    case VolumeBlendMode::Average: {
        VolumeAppearance appearance = ramp(-150.0, 500.0);
        appearance.averageAbove = scale.valueOf(-500.0);
        return appearance;
    }
    }
    return volumeAppearance(VolumePreset::CtBone, scale);
}

} // namespace zorbel::imaging
