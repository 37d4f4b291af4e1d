#include "viewer/reading/CrosshairModel.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zorbel {
namespace {

using imaging::ImageGeometry;
using imaging::Vector3;

/// Rows and columns turned by 30° in the axial plane, slices leaning to the side.
ImageGeometry tiltedGeometry() {
    const double c = std::cos(0.5);
    const double s = std::sin(0.5);
    return ImageGeometry(
        {11, 20, 5}, {-10.0, 5.0, 100.0}, {c, s, 0.0}, {-s, c, 0.0}, {0.5, 0.4, 2.0}, {0.3, 0.0, 2.0});
}

TEST(CrosshairModel, startsInTheMiddleVoxelAndComesBackToIt) {
    CrosshairModel crosshair;
    EXPECT_FALSE(crosshair.moveTo({1.0, 2.0, 3.0}));
    EXPECT_FALSE(crosshair.centre());
    const ImageGeometry geometry = tiltedGeometry();
    crosshair.setGeometry(geometry);
    EXPECT_EQ(crosshair.point(), geometry.indexToWorld({5.0, 10.0, 2.0}));
    EXPECT_FALSE(crosshair.centre());
    EXPECT_TRUE(crosshair.moveTo(geometry.indexToWorld({1.0, 2.0, 3.0})));
    EXPECT_TRUE(crosshair.centre());
    EXPECT_EQ(crosshair.point(), geometry.indexToWorld({5.0, 10.0, 2.0}));
    crosshair.clear();
    EXPECT_FALSE(crosshair.hasVolume());
    EXPECT_EQ(crosshair.point(), Vector3{});
}

TEST(CrosshairModel, staysWithinTheVoxelGridAlongTheVolumesOwnAxes) {
    CrosshairModel crosshair;
    const ImageGeometry geometry = tiltedGeometry();
    crosshair.setGeometry(geometry);
    const Vector3 inside = geometry.indexToWorld({3.25, 18.9, 0.5});
    EXPECT_TRUE(crosshair.moveTo(inside));
    EXPECT_EQ(crosshair.point(), inside); // to the last bit
    EXPECT_FALSE(crosshair.moveTo(inside));

    EXPECT_TRUE(crosshair.moveTo(geometry.indexToWorld({3.25, 40.0, -7.0})));
    const Vector3 index = geometry.worldToIndex(crosshair.point());
    EXPECT_NEAR(index[0], 3.25, 1e-9);
    EXPECT_NEAR(index[1], 19.0, 1e-9);
    EXPECT_NEAR(index[2], 0.0, 1e-9);

    const Vector3 before = crosshair.point();
    EXPECT_FALSE(crosshair.moveTo({std::nan(""), 0.0, 0.0}));
    EXPECT_EQ(crosshair.point(), before);
}

} // namespace
} // namespace zorbel
