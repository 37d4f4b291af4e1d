#include "imaging/display/VolumeAppearance.h"

#include "tests/rendering/SyntheticImage.h"

#include <gtest/gtest.h>

using namespace zorbel::imaging;
using namespace zorbel::imaging::test;

namespace {

double opacityAt(const VolumeAppearance& appearance, double value) {
    const auto& points = appearance.points;
    if (value <= points.front().value)
        return points.front().opacity;
    for (std::size_t index = 1; index < points.size(); ++index) {
        if (value <= points[index].value) {
            const double part =
                (value - points[index - 1].value) / (points[index].value - points[index - 1].value);
            return points[index - 1].opacity + part * (points[index].opacity - points[index - 1].opacity);
        }
    }
    return points.back().opacity;
}

/// Air, soft tissue and a tenth of bone, with noise, in any units.
std::shared_ptr<const Image> head(double offset, double scale, bool hounsfield) {
    const ImageGeometry geometry({60, 60, 60}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    ImageMetadata metadata;
    metadata.hounsfieldUnits = hounsfield;
    std::mt19937 random(5);
    std::normal_distribution<double> noise(0.0, 60.0);
    return makeImage<float>(
        geometry, VoxelType::Float32,
        [&](int column, int row, int) {
            const double value = column < 25 ? -1000.0 : (row < 6 ? 1200.0 : 40.0);
            return offset + scale * (value + noise(random));
        },
        metadata);
}

TEST(VolumeAppearance, ShowsBoneAndHidesSoftTissueInAnyUnits) {
    for (const auto& [offset, scale, hounsfield] :
         {std::tuple{0.0, 1.0, true},
          {0.0, 1.0, false},
          {1000.0, 1.0, false},
          {20000.0, 7.0, false},
          {0.4, 0.0002, false}}) {
        const TissueScale tissues = TissueScale::of(*head(offset, scale, hounsfield));
        const auto opacity = [&, slope = scale, zero = offset](VolumePreset preset, double hounsfieldUnits) {
            return opacityAt(volumeAppearance(preset, tissues), zero + slope * hounsfieldUnits);
        };
        for (int number = 0; number < static_cast<int>(volumePresetNames.size()); ++number) {
            const auto preset = static_cast<VolumePreset>(number);
            EXPECT_EQ(opacity(preset, -1000.0), 0.0) << volumePresetNames[number] << scale;
            EXPECT_EQ(opacity(preset, -820.0), 0.0) << volumePresetNames[number] << scale << ": noise of air";
            EXPECT_GT(opacity(preset, 1200.0), 0.2) << volumePresetNames[number] << scale;
            const auto points = volumeAppearance(preset, tissues).points;
            for (std::size_t index = 1; index < points.size(); ++index)
                EXPECT_LT(points[index - 1].value, points[index].value) << volumePresetNames[number];
        }
        for (const auto preset :
             {VolumePreset::CtDefault, VolumePreset::CtBlackWhite, VolumePreset::CtBone,
              VolumePreset::CtBoneEdge}) {
            EXPECT_EQ(opacity(preset, 40.0), 0.0) << scale;
            EXPECT_EQ(opacity(preset, 160.0), 0.0) << scale << ": noise of soft tissue";
        }
        EXPECT_GT(opacity(VolumePreset::CtThorax, 40.0), 0.005) << scale;
        // Every projection tells air, soft tissue and bone apart, as far as it is about them.
        const auto grey = [&, slope = scale, zero = offset](VolumeBlendMode mode, double hounsfieldUnits) {
            const auto points = projectionAppearance(mode, tissues).points;
            const double part =
                (zero + slope * hounsfieldUnits - points[0].value) / (points[1].value - points[0].value);
            return std::clamp(part, 0.0, 1.0);
        };
        EXPECT_LT(grey(VolumeBlendMode::Mip, 40.0), 0.2) << scale;
        EXPECT_GT(grey(VolumeBlendMode::Mip, 1200.0), 0.4) << scale;
        EXPECT_LT(grey(VolumeBlendMode::MinIp, -1000.0), 0.2) << scale;
        EXPECT_GT(grey(VolumeBlendMode::MinIp, 40.0), 0.6) << scale;
        EXPECT_LT(grey(VolumeBlendMode::Average, 40.0), 0.6) << scale;
        EXPECT_GT(grey(VolumeBlendMode::Average, 600.0), 0.7) << scale;
    }
}

TEST(VolumeAppearance, TakesTheCornersOfTheFieldOfViewForNothing) {
    // A cylinder with noisy air around soft tissue and bone; the scanner filled what lies outside.
    const ImageGeometry geometry({60, 60, 60}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    std::mt19937 random(5);
    std::normal_distribution<double> noise(0.0, 60.0);
    const auto image = makeImage<std::int16_t>(geometry, VoxelType::Int16, [&](int column, int row, int) {
        const double radius = std::hypot(column - 29.5, row - 29.5);
        if (radius > 29.5)
            return -8000.0;
        return (radius < 8.0 ? 1200.0 : radius < 23.0 ? 40.0 : -1000.0) + noise(random);
    });
    const TissueScale scale = TissueScale::of(*image);
    EXPECT_NEAR(scale.air, -1000.0, 100.0);
    EXPECT_NEAR(scale.soft, 40.0, 100.0);
    EXPECT_NEAR(scale.bone, 600.0, 200.0);
}

} // namespace
