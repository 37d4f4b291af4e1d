#include "imaging/display/Downsample.h"

#include "tests/rendering/SyntheticImage.h"

#include <gtest/gtest.h>

using namespace zorbel::imaging;
using namespace zorbel::imaging::test;

namespace {

TEST(Downsample, AveragesBlocksAndKeepsThemInPlace) {
    const ImageGeometry geometry = obliqueGeometry({21, 16, 13}, {0.5, 0.75, 1.25}, 20.0, 10.0, 0.4);
    const auto ramp = [](int column, int row, int slice) {
        return 100.0 * column - 40.0 * row + 7.0 * slice;
    };
    const auto image = makeImage<std::int16_t>(geometry, VoxelType::Int16, ramp);
    EXPECT_EQ(downsampleFactors(*image, 7), (std::array<int, 3>{3, 3, 2}));
    const auto coarse = downsample(*image, {3, 2, 4});
    ASSERT_EQ(coarse->geometry().dimensions(), (std::array<int, 3>{7, 8, 4}));
    // A linear pattern has its mean at the block's middle, so the same place must have the same value.
    for (const auto& [x, y, z] : {std::array{0, 0, 0}, {6, 7, 2}, {3, 4, 1}}) {
        const Vector3 place = coarse->geometry().indexToWorld(
            {static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)});
        EXPECT_NEAR(coarse->valueAt(x, y, z), trilinear(*image, place), 1.0);
    }
    // The last slice of blocks holds one slice alone.
    EXPECT_NEAR(coarse->valueAt(0, 0, 3), 100.0 - 20.0 + 84.0, 1.0);
    const std::atomic<bool> cancel{true};
    EXPECT_EQ(downsample(*image, {2, 2, 2}, &cancel), nullptr);
}

TEST(Downsample, LeavesPaddingOutAndKeepsLargeValues) {
    const ImageGeometry geometry({4, 4, 4}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    ImageMetadata metadata;
    metadata.padding = std::pair{-2000.0, -2000.0};
    const auto padded = makeImage<std::int16_t>(
        geometry, VoxelType::Int16,
        [](int column, int, int) { return column == 1 || column == 2 ? 500.0 : -2000.0; }, metadata);
    EXPECT_EQ(downsample(*padded, {2, 2, 2})->valueAt(0, 0, 0), 500.0);

    const auto large = makeImage<std::uint32_t>(
        geometry, VoxelType::UInt32, [](int column, int, int) { return 100000.0 + column; });
    const auto same = downsample(*large, {1, 1, 1});
    EXPECT_EQ(same->voxelType(), VoxelType::Float32);
    EXPECT_EQ(same->valueAt(3, 0, 0), 100003.0);
}

} // namespace
