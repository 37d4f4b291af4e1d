#include "viewer/reading/planes/MprGuide.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace zorbel {
namespace {

using imaging::ViewDirection;
using Hit = MprGuide::Hit;
using Drag = MprGuide::DragState;

constexpr double degree = std::numbers::pi / 180.0;

PlaneBases standardBases() {
    return {{{{1, 0, 0}, {0, 1, 0}}, {{1, 0, 0}, {0, 0, -1}}, {{0, 1, 0}, {0, 0, -1}}}};
}

/// An axial view of 600 × 400 pixels with the crosshair off its middle. Line 1 (sagittal, index 0) runs down,
/// with 200 pixels to the border, and has a slab of 12 pixels on either side; line 2 (coronal, index 1) runs
/// to the right, with 350 pixels.
MprGuide rotatingGuide() {
    MprGuide::View view;
    view.width = 600.0;
    view.height = 400.0;
    view.center = {250.0, 200.0};
    view.lines = guideLines(standardBases(), ViewDirection::Axial, {0.0, 0.0, 6.0}, 0.25);
    view.active = true;
    MprGuide guide;
    guide.setMode(GuideMode::Rotate);
    guide.setView(view);
    return guide;
}

Point2 around(const Point2& center, double radius, double degrees) {
    return center + Point2{std::cos(degrees * degree), std::sin(degrees * degree)} * radius;
}

double radiansOf(const std::optional<GuideEvent>& event) {
    return event ? std::get<RotateStep>(*event).radians : 0.0;
}

TEST(GuideLines, followThePlanesAndTheirColours) {
    const auto axial = guideLines(standardBases(), ViewDirection::Axial, {1.0, 2.0, 3.0}, 0.5);
    EXPECT_EQ(axial[0].plane, ViewDirection::Sagittal);
    EXPECT_EQ(axial[0].colour, 0xFF4D4FU);
    EXPECT_EQ(axial[0].slabHalfThickness, 3.0);
    EXPECT_EQ(axial[1].colour, 0x2ECC71U);
    EXPECT_EQ(axial[1].axisId, 2);
    EXPECT_NEAR(axial[0].direction.x, 0.0, 1e-12); // the sagittal plane is upright in the axial view
    EXPECT_NEAR(std::abs(axial[1].direction.x), 1.0, 1e-12);

    const auto coronal = guideLines(standardBases(), ViewDirection::Coronal, {}, 1.0);
    EXPECT_EQ(coronal[0].colour, 0xFF4D4FU);
    EXPECT_EQ(coronal[1].colour, 0x2D7FF9U);
    const auto sagittal = guideLines(standardBases(), ViewDirection::Sagittal, {}, 1.0);
    EXPECT_EQ(sagittal[0].colour, 0x2ECC71U);
    EXPECT_EQ(sagittal[1].colour, 0x2D7FF9U);
}

TEST(GuideLines, turnWithTheHandInEveryViewAndNeverJump) {
    for (const ViewDirection view : {ViewDirection::Axial, ViewDirection::Coronal, ViewDirection::Sagittal}) {
        // Oblique to begin with, so that no plane lies along the patient's axes.
        PlaneBases bases = *rotatedAbout(standardBases(), ViewDirection::Sagittal, 0.4);
        bases = *rotatedAbout(bases, ViewDirection::Axial, 0.7);
        for (int step = 0; step < 72; ++step) {
            const PlaneBases next = *rotatedAbout(bases, view, 5.0 * degree);
            for (const ViewDirection other : guidePlanes(view)) {
                const Point2 before = guideDirection(bases, view, other);
                const Point2 after = guideDirection(next, view, other);
                EXPECT_NEAR(length(after), 1.0, 1e-12);
                // x towards y, as the pointer's angle counts
                EXPECT_NEAR(dot(perpendicular(before), after), std::sin(5.0 * degree), 1e-9);
            }
            bases = next;
        }
    }
}

TEST(GuideLines, areMissingWhereThePlanesDoNotCross) {
    PlaneBases bases = standardBases();
    bases[1] = bases[0];
    bases[2] = {};
    for (const GuideLine& line : guideLines(bases, ViewDirection::Axial, {}, 1.0))
        EXPECT_FALSE(line.exists());

    MprGuide guide = rotatingGuide();
    MprGuide::View view = guide.view();
    view.lines = guideLines(bases, ViewDirection::Axial, {}, 1.0);
    guide.setView(view);
    EXPECT_EQ(guide.hitTest({300.0, 200.0}), Hit{}); // where the coronal line was
    EXPECT_EQ(guide.hitTest(view.center), Hit{});
}

TEST(MprGuide, placesHandlesSymmetricallyByTheWayAlongTheDirection) {
    MprGuide guide = rotatingGuide();
    const double sign = guide.view().lines[0].direction.y; // down or up: 200 pixels either way
    auto points = guide.handles(0);
    EXPECT_NEAR(points.rotation[0].y, 200.0 + sign * 80.0, 1e-9);
    EXPECT_NEAR(points.rotation[1].y, 200.0 - sign * 80.0, 1e-9);
    EXPECT_NEAR(points.slab[0].y, 200.0 + sign * 140.0, 1e-9);
    EXPECT_NEAR(points.slab[0].x, 250.0 - sign * 12.0, 1e-9);
    EXPECT_NEAR(points.slab[1].x, 250.0 + sign * 12.0, 1e-9);

    // 350 pixels to the right border: capped at 140, and 0.7 of the way.
    ASSERT_NEAR(guide.view().lines[1].direction.x, 1.0, 1e-12);
    points = guide.handles(1);
    EXPECT_NEAR(points.rotation[0].x, 250.0 + 140.0, 1e-9);
    EXPECT_NEAR(points.rotation[1].x, 250.0 - 140.0, 1e-9);
    EXPECT_NEAR(points.slab[1].x, 250.0 - 245.0, 1e-9);

    // Close to the border, and outside the widget, where there is no way at all.
    for (const double x : {590.0, 700.0}) {
        MprGuide::View view = guide.view();
        view.center.x = x;
        guide.setView(view);
        points = guide.handles(1);
        EXPECT_NEAR(points.rotation[0].x, x + 34.0, 1e-9);
        EXPECT_NEAR(points.slab[0].x, x + 68.0, 1e-9);
    }
    MprGuide::View view = guide.view();
    view.center = {250.0, 500.0}; // below the widget, which the level line never meets
    guide.setView(view);
    EXPECT_NEAR(guide.handles(1).rotation[0].x, 250.0 + 34.0, 1e-9);
}

TEST(MprGuide, hitsWithinTheRadii) {
    MprGuide guide = rotatingGuide();
    const Point2 handle = guide.handles(1).rotation[0];
    EXPECT_EQ(guide.hitTest(handle + Point2{0.0, 11.5}), (Hit{Hit::Kind::RotationHandle, 1, 1}));
    EXPECT_EQ(guide.hitTest(handle + Point2{0.0, 11.6}), Hit{});
    EXPECT_EQ(guide.hitTest(guide.handles(1).rotation[1]), (Hit{Hit::Kind::RotationHandle, 1, -1}));
    EXPECT_EQ(guide.hitTest(guide.handles(0).slab[1]), (Hit{Hit::Kind::SlabHandle, 0, -1}));

    // Line bodies: not near the centre, although the pointer is on the line.
    EXPECT_EQ(guide.hitTest({270.0, 200.0}), Hit{});
    EXPECT_EQ(guide.hitTest({274.0, 200.0}), Hit{});
    EXPECT_EQ(guide.hitTest({274.1, 200.0}), (Hit{Hit::Kind::LineBody, 1}));
    EXPECT_EQ(guide.hitTest({300.0, 206.0}), (Hit{Hit::Kind::LineBody, 1}));
    EXPECT_EQ(guide.hitTest({300.0, 206.1}), Hit{});

    MprGuide::View view = guide.view();
    view.linesVisible = false;
    guide.setView(view);
    EXPECT_EQ(guide.hitTest(handle), Hit{});
    guide.setMode(GuideMode::Crosshair);
    EXPECT_EQ(guide.hitTest({250.0, 224.0}).kind, Hit::Kind::Center);
    EXPECT_EQ(guide.hitTest({250.0, 224.1}), Hit{});
}

TEST(MprGuide, snapsToMultiplesFromTheDragsStart) {
    // In small movements, and with Shift pressed and let go on the way, the sum is what counts.
    MprGuide guide = rotatingGuide();
    guide.press(guide.handles(1).rotation[0]);
    double total = 0.0;
    for (double angle = 0.5; angle <= 40.0; angle += 0.5)
        total +=
            radiansOf(guide.move(around(guide.view().center, 100.0, angle), angle < 10.0 || angle > 20.0));
    EXPECT_NEAR(total, 45.0 * degree, 1e-9);
    EXPECT_NEAR(guide.appliedAngle(), total, 1e-12);
    total += radiansOf(guide.move(around(guide.view().center, 100.0, 40.0), false));
    EXPECT_NEAR(total, 40.0 * degree, 1e-9);
}

TEST(MprGuide, turnsSmoothlyThroughTheHalfTurnAndFullCircles) {
    MprGuide guide = rotatingGuide();
    guide.press(guide.handles(1).rotation[1]); // at 180°, where atan2 jumps
    double total = 0.0;
    for (int angle = 185; angle <= 180 + 720; angle += 5) {
        const auto event = guide.move(around(guide.view().center, 120.0, angle), false);
        ASSERT_TRUE(event);
        EXPECT_NEAR(radiansOf(event), 5.0 * degree, 1e-9);
        EXPECT_EQ(std::get<RotateStep>(*event).axisId, 2);
        total += radiansOf(event);
    }
    EXPECT_NEAR(total, 720.0 * degree, 1e-9);
    EXPECT_FALSE(guide.move(around(guide.view().center, 60.0, 180.0), false)) << "further in, no turn";
    EXPECT_FALSE(guide.move(guide.view().center, false)) << "the centre has no direction";
    guide.cancel();
    EXPECT_EQ(guide.dragState(), Drag::None);
    EXPECT_FALSE(guide.move({0.0, 0.0}, false));
}

TEST(MprGuide, slabHandleFollowsThePointerAcrossTheLine) {
    for (const int side : {0, 1}) {
        MprGuide guide = rotatingGuide();
        const Point2 handle = guide.handles(0).slab.at(static_cast<std::size_t>(side));
        const double outwards = handle.x > 250.0 ? 1.0 : -1.0;
        guide.press(handle + Point2{3.0, 2.0}); // not exactly on it: nothing may jump
        ASSERT_EQ(guide.dragState(), Drag::Slab);
        const auto thickness = [&](double across, double along) {
            const auto event = guide.move(handle + Point2{3.0 + outwards * across, 2.0 + along}, false);
            EXPECT_EQ(std::get<SlabChange>(*event).plane, ViewDirection::Sagittal);
            return std::get<SlabChange>(*event).halfThickness;
        };
        EXPECT_NEAR(thickness(0.0, 0.0), 12.0, 1e-9);
        EXPECT_NEAR(thickness(0.0, 25.0), 12.0, 1e-9);
        EXPECT_NEAR(thickness(8.0, 0.0), 20.0, 1e-9);
        EXPECT_NEAR(thickness(-4.0, 0.0), 8.0, 1e-9);
        EXPECT_NEAR(thickness(-40.0, 0.0), 0.0, 1e-9);
    }
}

TEST(MprGuide, lineDragMovesTheCrosshairAcrossTheLineOnly) {
    MprGuide guide = rotatingGuide();
    guide.press({300.0, 203.0}); // the coronal line, level at y = 200
    ASSERT_EQ(guide.dragState(), Drag::MoveLine);
    auto event = guide.move({340.0, 213.0}, false);
    EXPECT_NEAR(std::get<CrosshairMove>(*event).point.x, 250.0, 1e-9);
    EXPECT_NEAR(std::get<CrosshairMove>(*event).point.y, 210.0, 1e-9);

    // The view follows, or stays behind at the volume's border; the target does not depend on it.
    MprGuide::View view = guide.view();
    view.center = {250.0, 207.0};
    guide.setView(view);
    event = guide.move({300.0, 173.0}, false);
    EXPECT_NEAR(std::get<CrosshairMove>(*event).point.y, 170.0, 1e-9);
}

TEST(MprGuide, endsADragWithItsStudyAndItsMode) {
    MprGuide guide = rotatingGuide();
    guide.press({300.0, 203.0});
    guide.setMode(GuideMode::None);
    EXPECT_EQ(guide.dragState(), Drag::None);
    guide.setMode(GuideMode::Rotate);
    guide.press({300.0, 203.0});
    MprGuide::View view = guide.view();
    view.active = false;
    guide.setView(view);
    EXPECT_EQ(guide.dragState(), Drag::None) << "the study was closed under the drag";
    EXPECT_FALSE(guide.press({10.0, 20.0}));
}

} // namespace
} // namespace zorbel
