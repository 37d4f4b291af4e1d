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
         {std::tuple{0.0, 1.0, true}, {0.0, 1.0, false}, {20000.0, 7.0, false}, {0.4, 0.0002, false}}) {
        const VolumeAppearance appearance = boneAppearance(*head(offset, scale, hounsfield));
        EXPECT_EQ(opacityAt(appearance, offset - scale * 1000.0), 0.0) << scale;
        EXPECT_EQ(opacityAt(appearance, offset + scale * 40.0), 0.0) << scale;
        EXPECT_EQ(opacityAt(appearance, offset + scale * 160.0), 0.0) << scale << ": noise of soft tissue";
        EXPECT_GT(opacityAt(appearance, offset + scale * 1200.0), 0.3) << scale;
        for (std::size_t index = 1; index < appearance.points.size(); ++index)
            EXPECT_LT(appearance.points[index - 1].value, appearance.points[index].value);
    }
}

} // namespace
