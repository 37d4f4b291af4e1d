#include "imaging/planes/SliceNavigationController.h"

#include "tests/rendering/SyntheticImage.h"

#include <gtest/gtest.h>

using namespace zorbel::imaging;
using namespace zorbel::imaging::test;

namespace {

const ImageGeometry plain({100, 80, 240}, {-50, -40, 10}, {1, 0, 0}, {0, 1, 0}, {0.5, 0.5, 1.5});

TEST(SliceNavigationController, CountsTheImagesOwnSlices) {
    SliceNavigationController axial(ViewDirection::Axial);
    EXPECT_EQ(axial.sliceLabel(), "Axial 1/1");
    axial.setGeometry(plain);
    EXPECT_EQ(axial.sliceCount(), 240);
    EXPECT_EQ(axial.sliceSpacing(), 1.5);
    // The middle slice, exactly on voxel centres.
    EXPECT_EQ(axial.slicePosition(), 120.0);
    EXPECT_EQ(axial.sliceLabel(), "Axial 121/240");
    EXPECT_NEAR(plain.worldToIndex(axial.plane().center())[2], 120.0, 1e-9);

    SliceNavigationController coronal(ViewDirection::Coronal);
    coronal.setGeometry(plain);
    EXPECT_EQ(coronal.sliceCount(), 80);
    SliceNavigationController sagittal(ViewDirection::Sagittal);
    sagittal.setGeometry(plain);
    EXPECT_EQ(sagittal.sliceCount(), 100);
    // The first sagittal slice is the patient's left one.
    sagittal.selectSlice(1);
    EXPECT_NEAR(plain.worldToIndex(sagittal.plane().center())[0], 99.0, 1e-9);

    for (const double shear : {0.0, 0.8}) {
        const ImageGeometry oblique = obliqueGeometry({31, 42, 53}, {0.7, 0.9, 1.1}, 14.0, -9.0, shear);
        axial.setGeometry(oblique);
        EXPECT_EQ(axial.sliceCount(), 53);
        axial.selectSlice(7);
        const double index = oblique.worldToIndex(axial.plane().center())[2];
        EXPECT_NEAR(std::min(index, 52.0 - index), 6.0, 1e-9);
        sagittal.setGeometry(oblique);
        EXPECT_EQ(sagittal.sliceCount(), 31);
        // Across the tilt the extent is larger than the number of rows.
        coronal.setGeometry(oblique);
        EXPECT_EQ(coronal.sliceCount(), 42 + static_cast<int>(52 * shear / 0.9));
    }
    axial.setGeometry(ImageGeometry({5, 5, 1}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1}));
    EXPECT_EQ(axial.sliceLabel(), "Axial 1/1");
}

TEST(SliceNavigationController, StepsAndStopsAtTheEnds) {
    SliceNavigationController axial(ViewDirection::Axial);
    axial.setGeometry(plain);
    int changes = 0;
    axial.setChangeCallback([&changes] { ++changes; });
    axial.step(1.0);
    axial.step(10.0);
    EXPECT_EQ(axial.currentSlice(), 132);
    for (int tenth = 0; tenth < 10; ++tenth)
        axial.step(0.1);
    EXPECT_EQ(axial.slicePosition(), 132.0);
    EXPECT_EQ(changes, 12);
    axial.step(-1000.0);
    EXPECT_EQ(axial.sliceLabel(), "Axial 1/240");
    axial.step(-1.0);
    EXPECT_EQ(changes, 13) << "no change at the end";
    axial.selectSlice(999);
    EXPECT_EQ(axial.currentSlice(), 240);
    axial.selectSliceByPoint({0.0, 0.0, 10.0 + 1.5 * 17.3});
    EXPECT_NEAR(axial.slicePosition(), 17.3, 1e-9);
    EXPECT_EQ(axial.currentSlice(), 18);
    axial.selectSliceByPoint({0.0, 0.0, -1e6});
    EXPECT_EQ(axial.currentSlice(), 1);
    axial.step(std::nan(""));
    EXPECT_EQ(axial.currentSlice(), 1);
}

TEST(SliceNavigationController, TurnsThroughAPoint) {
    SliceNavigationController axial(ViewDirection::Axial);
    axial.setGeometry(plain);
    const Vector3 point{-30.0, -25.0, 200.0};
    axial.reorientSlices(point, {1.0, 1.0, 0.0}, {0.0, 0.0, -1.0});
    EXPECT_NEAR(axial.plane().signedDistance(point), 0.0, 1e-9);
    // Half way between row and column axis, both 0.5 mm apart.
    EXPECT_NEAR(axial.sliceSpacing(), 0.5, 1e-9);
    const Vector3 before = axial.plane().center();
    axial.step(3.0);
    EXPECT_NEAR(dot(axial.plane().center() - before, axial.plane().normal()), 1.5, 1e-9);
    EXPECT_NEAR(length(axial.plane().center() - before), 1.5, 1e-9);
    axial.step(-1e5);
    EXPECT_GE(axial.plane().center()[0], plain.bounds()[0]);
    EXPECT_THROW(axial.reorientSlices(point, {1, 0, 0}, {1, 0, 0}), std::invalid_argument);
    axial.resetOrientation(point);
    EXPECT_EQ(axial.sliceCount(), 240);
    EXPECT_NEAR(axial.plane().signedDistance(point), 0.0, 1e-9);
}

} // namespace
