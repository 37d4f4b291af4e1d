#include "imaging/geometry/PlaneGeometry.h"

#include "imaging/geometry/ViewDirection.h"
#include "imaging/planes/OrientationLabels.h"
#include "tests/rendering/SyntheticImage.h"

#include <gtest/gtest.h>

using namespace zorbel::imaging;
using namespace zorbel::imaging::test;

namespace {

TEST(PlaneGeometry, IsOrthonormalWhateverItIsGiven) {
    const PlaneGeometry plane({1, 2, 3}, {3.0, 0.0, 0.0}, {5.0, 0.1, 0.0});
    EXPECT_EQ(plane.axisVector(0), (Vector3{1, 0, 0}));
    EXPECT_NEAR(plane.axisVector(1)[1], 1.0, 1e-12);
    EXPECT_NEAR(plane.signedDistance({9, 9, 7.5}), 4.5, 1e-12);
    EXPECT_NEAR(plane.project({9, 9, 7.5})[2], 3.0, 1e-12);
    const auto [along0, along1] = plane.toPlane({4.0, -6.0, 99.0});
    EXPECT_NEAR(along0, 3.0, 1e-12);
    EXPECT_NEAR(along1, -8.0, 1e-12);
    EXPECT_NEAR(length(plane.fromPlane(along0, along1) - Vector3{4.0, -6.0, 3.0}), 0.0, 1e-12);
    EXPECT_THROW(PlaneGeometry({0, 0, 0}, {1, 0, 0}, {2, 0, 0}), std::invalid_argument);
    EXPECT_THROW(PlaneGeometry({0, 0, 0}, {0, 0, 1e-9}, {0, 1, 0}), std::invalid_argument);
}

TEST(ViewDirection, FollowsTheRadiologicalConvention) {
    // The same patient axes, whichever way the image was stored.
    for (const auto& [row, column] :
         {std::pair<Vector3, Vector3>{{1, 0, 0}, {0, 1, 0}},
          {{-1, 0, 0}, {0, 1, 0}},
          {{0, 1, 0}, {0, 0, -1}},
          {{0, 0, 1}, {1, 0, 0}}}) {
        const ImageGeometry geometry({10, 20, 30}, {0, 0, 0}, row, column, {1, 1, 1});
        const auto labels = [&geometry](ViewDirection direction) {
            return OrientationLabels::of(standardPlane(geometry, direction));
        };
        EXPECT_EQ(labels(ViewDirection::Axial), (OrientationLabels{"R", "L", "A", "P"}));
        EXPECT_EQ(labels(ViewDirection::Coronal), (OrientationLabels{"R", "L", "H", "F"}));
        EXPECT_EQ(labels(ViewDirection::Sagittal), (OrientationLabels{"A", "P", "H", "F"}));
    }
}

TEST(ViewDirection, KeepsToTheAcquiredSlicesAndOrthogonal) {
    for (const double shear : {0.0, 0.6}) {
        const ImageGeometry geometry = obliqueGeometry({10, 20, 30}, {0.5, 0.5, 2.0}, 8.0, -18.5, shear);
        const auto plane = [&geometry](ViewDirection direction) {
            return standardPlane(geometry, direction);
        };
        EXPECT_NEAR(std::abs(dot(plane(ViewDirection::Axial).normal(), geometry.normal())), 1.0, 1e-9);
        EXPECT_NEAR(std::abs(dot(plane(ViewDirection::Sagittal).normal(), geometry.row())), 1.0, 1e-9);
        EXPECT_NEAR(
            dot(plane(ViewDirection::Axial).normal(), plane(ViewDirection::Coronal).normal()), 0.0, 1e-12);
        EXPECT_NEAR(
            dot(plane(ViewDirection::Coronal).normal(), plane(ViewDirection::Sagittal).normal()), 0.0, 1e-12);
    }
}

TEST(OrientationLabels, NamesEveryDirectionThatCounts) {
    EXPECT_EQ(orientationLetters({1, 0, 0}), "L");
    EXPECT_EQ(orientationLetters({0, -2, 0}), "A");
    EXPECT_EQ(orientationLetters({0, 0, -1}), "F");
    // 19° and 21° away from the head towards the right.
    EXPECT_EQ(orientationLetters({-0.3256, 0.0, 0.9455}), "H");
    EXPECT_EQ(orientationLetters({-0.3584, 0.0, 0.9336}), "HR");
    EXPECT_EQ(orientationLetters({0.4, 0.6, -0.69}), "FPL");
    EXPECT_EQ(orientationLetters({1, 1, 1}), "LPH");
    EXPECT_EQ(orientationLetters({0, 0, 0}), "");
    EXPECT_EQ(oppositeLetters("HRA"), "FLP");
}

} // namespace
