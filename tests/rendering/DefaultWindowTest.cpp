#include "imaging/display/DefaultWindow.h"

#include "tests/rendering/SyntheticImage.h"

#include <gtest/gtest.h>

using namespace zorbel::imaging;
using namespace zorbel::imaging::test;

namespace {

const ImageGeometry cube({100, 100, 100}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});

/// 0 to 999 in equal parts, spread over the volume.
double spread(int column, int row, int slice) {
    return (column * 7 + row * 131 + slice * 377) % 1000;
}

TEST(DefaultWindow, SpansTheValuesWithoutOutliersAndPadding) {
    ImageMetadata metadata;
    metadata.padding = std::pair{-3000.0, -2000.0};
    const auto image = makeImage<std::int16_t>(
        cube, VoxelType::Int16,
        [](int column, int row, int slice) {
            if (column < 40)
                return -2500.0;
            return column == 50 && row == 50 ? 30000.0 : spread(column, row, slice);
        },
        metadata);
    const LevelWindow window = defaultWindow(*image);
    EXPECT_NEAR(window.center - window.width / 2.0, 10.0, 5.0);
    EXPECT_NEAR(window.center + window.width / 2.0, 990.0, 5.0);

    const auto tiny = makeImage<float>(cube, VoxelType::Float32, [](int column, int row, int slice) {
        return spread(column, row, slice) * 1e-6;
    });
    EXPECT_NEAR(defaultWindow(*tiny).width, 0.98e-3, 0.02e-3);
    EXPECT_GT(applyWindow(defaultWindow(*tiny), 0.75e-3), 0.7);

    const auto even = makeImage<std::uint8_t>(cube, VoxelType::UInt8, [](int, int, int) { return 7.0; });
    EXPECT_GE(defaultWindow(*even).width, 1.0);
    metadata.padding = std::pair{0.0, 10.0};
    const auto onlyPadding = makeImage<std::uint8_t>(
        cube, VoxelType::UInt8, [](int, int, int) { return 7.0; }, metadata);
    EXPECT_TRUE(std::isfinite(defaultWindow(*onlyPadding).center));
}

TEST(DefaultWindow, YieldsToTheFirstUsableWindowOfTheFile) {
    ImageMetadata metadata;
    LevelWindow broken;
    broken.width = 0.0;
    LevelWindow good;
    good.center = 40.0;
    good.width = 80.0;
    metadata.windows = {broken, good};
    const auto image = makeImage<std::int16_t>(cube, VoxelType::Int16, spread, metadata);
    EXPECT_EQ(initialWindow(*image), good);
}

} // namespace
