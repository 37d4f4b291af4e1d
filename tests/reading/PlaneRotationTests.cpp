#include "tests/support/LogCapture.h"
#include "viewer/reading/planes/MprPlanes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <string>

namespace zorbel {
namespace {

using imaging::Vector3;
using imaging::operator-;
using imaging::ViewDirection;

constexpr double quarterTurn = std::numbers::pi / 2.0;

/// As the three views show a volume whose axes are the patient's.
PlaneBases standardBases() {
    return {{{{1, 0, 0}, {0, 1, 0}}, {{1, 0, 0}, {0, 0, -1}}, {{0, 1, 0}, {0, 0, -1}}}};
}

/// Standard planes, with the coronal normal leaning towards the axial one by this dot product.
PlaneBases leaningBases(double product) {
    PlaneBases bases = standardBases();
    bases[1].axis1 = {0.0, product, -std::sqrt(1.0 - product * product)};
    return bases;
}

void expectNear(const Vector3& actual, const Vector3& expected, double tolerance = 1e-12) {
    EXPECT_NEAR(imaging::length(actual - expected), 0.0, tolerance)
        << actual[0] << " " << actual[1] << " " << actual[2];
}

TEST(MprPlanes, warnsOncePerLossOfOrthogonality) {
    const test::LogCapture log;
    const std::string warning =
        "MPR planes are not mutually orthogonal; rotation disabled until the viewports are reconfigured";
    MprPlanes planes;
    EXPECT_FALSE(planes.checkPlanesOrthogonal(PlaneBases{})); // nothing is shown yet: no loss
    EXPECT_EQ(log.count(warning), 0U);
    EXPECT_TRUE(planes.checkPlanesOrthogonal(leaningBases(0.0009)));
    EXPECT_FALSE(planes.checkPlanesOrthogonal(leaningBases(0.0011)));
    EXPECT_FALSE(planes.checkPlanesOrthogonal(leaningBases(-0.0011)));
    EXPECT_EQ(log.count(warning), 1U);
    EXPECT_EQ(log.count("\"MainWindow\""), 1U);
    EXPECT_EQ(planes.storedBases(), leaningBases(0.0009));

    EXPECT_TRUE(planes.checkPlanesOrthogonal(standardBases()));
    PlaneBases missing = standardBases();
    missing[2] = {};
    EXPECT_FALSE(planes.checkPlanesOrthogonal(missing));
    EXPECT_EQ(log.count(warning), 2U);

    planes.checkPlanesOrthogonal(standardBases());
    planes.reset();
    EXPECT_FALSE(planes.isRotationEnabled());
    EXPECT_EQ(log.count(warning), 2U);
}

TEST(MprPlanes, refusesWhatIsNotAPlane) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const Vector3& axis :
         {Vector3{0.0, 1e-8, 0.0}, Vector3{3.0, 0.0, 0.0}, Vector3{0.0, infinity, 0.0},
          Vector3{0.0, std::nan(""), 0.0}}) {
        PlaneBases bases = standardBases();
        bases[0].axis1 = axis;
        EXPECT_FALSE(areOrthogonal(bases)) << axis[0] << " " << axis[1];
    }
}

TEST(MprPlanes, quarterTurnAboutTheAxialNormalSwapsTheOtherTwo) {
    MprPlanes planes;
    ASSERT_TRUE(planes.checkPlanesOrthogonal(standardBases()));
    ASSERT_TRUE(planes.rotate(ViewDirection::Axial, quarterTurn));
    const PlaneBases& turned = planes.storedBases();
    EXPECT_EQ(turned[0], standardBases()[0]);
    // A positive turn goes from the axial view's right (patient's left) to its bottom (back).
    expectNear(turned[1].axis0, {0, 1, 0});
    expectNear(turned[1].axis1, {0, 0, -1});
    expectNear(turned[2].axis0, {-1, 0, 0});
    EXPECT_NEAR(std::abs(imaging::dot(turned[1].normal(), standardBases()[2].normal())), 1.0, 1e-12);
    EXPECT_NEAR(std::abs(imaging::dot(turned[2].normal(), standardBases()[1].normal())), 1.0, 1e-12);
}

TEST(MprPlanes, turnsByTheAngleAboutTheSourceAsItNowStands) {
    MprPlanes planes;
    planes.checkPlanesOrthogonal(standardBases());
    planes.rotate(ViewDirection::Axial, 0.3);
    const PlaneBases before = planes.storedBases();
    ASSERT_TRUE(planes.rotate(ViewDirection::Coronal, -0.2));
    const PlaneBases& after = planes.storedBases();
    EXPECT_EQ(after[1], before[1]);
    for (const std::size_t plane : {0U, 2U}) {
        // The part along the axis of the turn stays: the picture in the plane does not turn by itself.
        EXPECT_NEAR(
            imaging::dot(after[plane].axis0, before[1].normal()),
            imaging::dot(before[plane].axis0, before[1].normal()), 1e-12);
        EXPECT_NEAR(imaging::dot(after[plane].normal(), before[plane].normal()), std::cos(0.2), 1e-12);
        EXPECT_NEAR(
            imaging::dot(imaging::cross(before[plane].normal(), after[plane].normal()), before[1].normal()),
            std::sin(-0.2), 1e-12);
    }
}

TEST(MprPlanes, refusedStepsChangeNothing) {
    MprPlanes planes;
    EXPECT_FALSE(planes.rotate(ViewDirection::Axial, 0.1));

    planes.checkPlanesOrthogonal(standardBases());
    EXPECT_FALSE(planes.rotate(ViewDirection::Axial, std::nan("")));
    EXPECT_EQ(planes.storedBases(), standardBases());

    PlaneBases flat = standardBases();
    flat[1].axis1 = flat[1].axis0;
    EXPECT_FALSE(rotatedAbout(flat, ViewDirection::Coronal, 0.1)) << "no normal to turn about";
    EXPECT_FALSE(rotatedAbout(flat, ViewDirection::Axial, 0.1)) << "no second axis left";
}

TEST(MprPlanes, staysOrthogonalThroughTenThousandSteps) {
    std::mt19937 random(20240607);
    std::uniform_real_distribution<double> angle(-std::numbers::pi, std::numbers::pi);
    std::uniform_int_distribution<int> source(0, 2);
    MprPlanes planes;
    planes.checkPlanesOrthogonal(standardBases());
    double worst = 0.0;
    for (int step = 0; step < 10'000; ++step) {
        // Large and small steps, as quick and slow drags give.
        const double size = step % 2 == 0 ? 1.0 : 1e-4;
        ASSERT_TRUE(planes.rotate(static_cast<ViewDirection>(source(random)), size * angle(random)));
        // As the views do: through a plane geometry and back into the check.
        PlaneBases live;
        for (std::size_t plane = 0; plane < live.size(); ++plane) {
            const PlaneBasis& stored = planes.storedBases()[plane];
            live[plane] = PlaneBasis::of(imaging::PlaneGeometry({1.0, 2.0, 3.0}, stored.axis0, stored.axis1));
        }
        ASSERT_TRUE(planes.checkPlanesOrthogonal(live));
        for (std::size_t plane = 0; plane < live.size(); ++plane) {
            worst =
                std::max(worst, std::abs(imaging::dot(live[plane].normal(), live[(plane + 1) % 3].normal())));
            worst = std::max(worst, std::abs(imaging::dot(live[plane].axis0, live[plane].axis1)));
            worst = std::max(worst, std::abs(imaging::length(live[plane].axis1) - 1.0));
        }
    }
    EXPECT_LT(worst, 1e-9);
}

} // namespace
} // namespace zorbel
