#include "imaging/planes/SliceNavigationController.h"
#include "viewer/reading/planes/CrosshairModel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

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
    for (int step = 1; step < 40; ++step) { // to the last bit, or a point set twice would seem to move
        const Vector3 inside = geometry.indexToWorld({0.253 * step, 0.477 * step, 0.1 * step});
        EXPECT_TRUE(crosshair.moveTo(inside));
        EXPECT_EQ(crosshair.point(), inside);
        EXPECT_FALSE(crosshair.moveTo(inside));
    }

    EXPECT_TRUE(crosshair.moveTo(geometry.indexToWorld({3.25, 40.0, -7.0})));
    const Vector3 index = geometry.worldToIndex(crosshair.point());
    EXPECT_NEAR(index[0], 3.25, 1e-9);
    EXPECT_NEAR(index[1], 19.0, 1e-9);
    EXPECT_NEAR(index[2], 0.0, 1e-9);

    const Vector3 before = crosshair.point();
    EXPECT_FALSE(crosshair.moveTo({std::nan(""), 0.0, 0.0}));
    EXPECT_EQ(crosshair.point(), before);
}

TEST(CrosshairModel, goesAlongWithAPlaneIntoTheCorners) {
    // Twice as wide as deep: an oblique plane that is stepped into the corner leaves the straight way.
    const ImageGeometry geometry({41, 21, 5}, {-20.0, -10.0, 0.0}, {1, 0, 0}, {0, 1, 0}, {1.0, 1.0, 1.0});
    for (const double angle : {std::numbers::pi / 4.0, 0.01}) {
        CrosshairModel crosshair;
        crosshair.setGeometry(geometry);
        imaging::SliceNavigationController plane(imaging::ViewDirection::Coronal);
        plane.setGeometry(geometry);
        plane.reorientSlices(crosshair.point(), {std::cos(angle), -std::sin(angle), 0.0}, {0.0, 0.0, -1.0});
        int sideways = 0;
        for (int step = 0; step < 60; ++step) {
            plane.step(1.0);
            sideways += crosshair.moveOnto(plane.plane());
            EXPECT_NEAR(plane.plane().signedDistance(crosshair.point()), 0.0, 1e-6) << step;
            const Vector3 index = geometry.worldToIndex(crosshair.point());
            EXPECT_TRUE(index[0] > -1e-9 && index[0] < 40.0 + 1e-9) << step;
            EXPECT_TRUE(index[1] > -1e-9 && index[1] < 20.0 + 1e-9) << step;
            EXPECT_EQ(index[2], 2.0);
            if (step < 9) { // the side is ten millimetres away
                EXPECT_EQ(sideways, 0);
                EXPECT_NEAR(
                    crosshair.point()[0] * std::cos(angle), crosshair.point()[1] * std::sin(angle), 1e-9);
            }
        }
        EXPECT_GT(sideways, 0);
        EXPECT_EQ(plane.currentSlice(), plane.sliceCount());
    }
}

} // namespace
} // namespace zorbel
