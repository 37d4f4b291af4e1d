#include "tests/viewer/ReadingWindowTest.h"

#include "viewer/reading/display/WindowPresets.h"

#include <cmath>
#include <numbers>

namespace zorbel {
namespace {

using imaging::Vector3;
using imaging::operator+;
using imaging::operator-;
using imaging::operator*;
using test::expectNear;
using Kind = MprGuide::Hit::Kind;

QPointF toQt(const Point2& point) {
    return {point.x, point.y};
}

double degreesOf(const Point2& direction) {
    return std::atan2(direction.y, direction.x) * 180.0 / std::numbers::pi;
}

class WorkspaceGestures : public test::ReadingWindowTest {
protected:
    WorkspaceGestures() { showVolume(); }

    const GuideLine& line(int plane, int index) {
        return guideOf(plane).view().lines.at(static_cast<std::size_t>(index));
    }
    /// Off the middle and enlarged, so that what works only there is seen.
    void zoomAndPan() {
        for (int plane = 0; plane < 3; ++plane) {
            view(plane).zoomBy(1.7, {90.0, 70.0});
            view(plane).panBy({31.0 - 7.0 * plane, 12.5});
        }
        drag(tools(0), {crosshairIn(0), crosshairIn(0) + QPointF(-23, 14)});
    }
    /// Drags a line's rotation handle round the centre by these degrees, in steps of a few.
    void turn(int plane, int index, double degrees, Qt::KeyboardModifiers modifiers) {
        const QPointF center = crosshairIn(plane);
        const QPointF handle = toQt(guideOf(plane).handles(index).rotation[0]);
        const double start = std::atan2(handle.y() - center.y(), handle.x() - center.x());
        const double radius = std::hypot(handle.x() - center.x(), handle.y() - center.y());
        std::vector<QPointF> way{handle};
        const int steps = static_cast<int>(std::ceil(std::abs(degrees) / 5.0));
        for (int step = 1; step <= steps; ++step) {
            const double angle = start + degrees * step / steps * std::numbers::pi / 180.0;
            way.push_back(center + QPointF(std::cos(angle), std::sin(angle)) * radius);
        }
        drag(tools(plane), way, modifiers);
    }
};

TEST_F(WorkspaceGestures, turnTheOtherPlanesAboutTheCrosshairByTheRotationHandles) {
    press(Qt::Key_C);
    zoomAndPan();
    press(Qt::Key_R);
    EXPECT_EQ(status(), "MPR rotation mode enabled");
    const struct {
        double dragged;
        double turned;
        Qt::KeyboardModifiers modifiers;
    } cases[]{{33.0, 33.0, Qt::NoModifier},    {-211.0, -211.0, Qt::NoModifier},
              {22.0, 15.0, Qt::ShiftModifier}, {23.0, 30.0, Qt::ShiftModifier},
              {-7.4, 0.0, Qt::ShiftModifier},  {-7.6, -15.0, Qt::ShiftModifier}};
    for (int source = 0; source < 3; ++source) {
        for (int index = 0; index < 2; ++index) {
            for (const auto& example : cases) {
                SCOPED_TRACE(testing::Message() << source << " line " << index << " by " << example.dragged);
                const imaging::PlaneGeometry before = view(source).navigation().plane();
                const Vector3 point = crosshair();
                const double direction = degreesOf(line(source, index).direction);
                const double other = degreesOf(line(source, 1 - index).direction);
                std::array<QPointF, 3> places;
                for (int plane = 0; plane < 3; ++plane)
                    places[static_cast<std::size_t>(plane)] = crosshairIn(plane);

                turn(source, index, example.dragged, example.modifiers);

                EXPECT_NEAR(
                    std::remainder(
                        degreesOf(line(source, index).direction) - direction - example.turned, 360.0),
                    0.0, 1e-6);
                EXPECT_NEAR(
                    std::remainder(
                        degreesOf(line(source, 1 - index).direction) - other - example.turned, 360.0),
                    0.0, 1e-6);
                EXPECT_EQ(view(source).navigation().plane().axisVector(0), before.axisVector(0));
                EXPECT_EQ(view(source).navigation().plane().axisVector(1), before.axisVector(1));
                EXPECT_EQ(crosshair(), point);
                for (int plane = 0; plane < 3; ++plane) {
                    expectNear(crosshairIn(plane), places[static_cast<std::size_t>(plane)]);
                    EXPECT_NEAR(view(plane).navigation().plane().signedDistance(point), 0.0, 1e-5);
                    for (int second = 0; second < plane; ++second)
                        EXPECT_NEAR(
                            imaging::dot(
                                view(plane).navigation().plane().normal(),
                                view(second).navigation().plane().normal()),
                            0.0, 1e-9);
                }
                if (HasFailure())
                    return;
            }
            press(Qt::Key_R, Qt::ShiftModifier);
            press(Qt::Key_C);
            zoomAndPan();
            press(Qt::Key_R);
        }
    }
}

TEST_F(WorkspaceGestures, setTheSlabByItsHandles) {
    press(Qt::Key_R);
    for (int source = 0; source < 3; ++source) {
        for (int index = 0; index < 2; ++index) {
            SCOPED_TRACE(testing::Message() << source << " line " << index);
            auto& overlay = tools(source);
            const auto& navigation = view(static_cast<int>(line(source, index).plane)).navigation();
            const auto pull = [&](std::size_t end, double slices) {
                const QPointF handle = toQt(guideOf(source).handles(index).slab[end]);
                const QPointF outwards =
                    toQt(perpendicular(line(source, index).direction)) * (end == 0 ? 1.0 : -1.0);
                const double pixels =
                    slices / 2.0 * navigation.sliceSpacing() / view(source).millimetresPerPixel();
                const QPointF askew = toQt(line(source, index).direction) * 9.0; // along the line: no change
                drag(overlay, {handle, handle + outwards * pixels / 2.0, handle + outwards * pixels + askew});
            };
            pull(0, 8.7); // from the line itself: thickness 8.7 slices
            EXPECT_TRUE(mpr().slab().isEnabled());
            EXPECT_EQ(mpr().slab().sliceCount(), 9);
            pull(1, 6.0); // 6 more, at the other end of the line
            EXPECT_EQ(mpr().slab().sliceCount(), 15);
            EXPECT_EQ(text("slabText"), "Thick slab: 15 slices");
            EXPECT_EQ(
                status(), "MPR thick slab enabled (15 slices on " +
                              planeName(source).replace(0, 1, planeName(source)[0].toUpper()).toStdString() +
                              ")");
            for (int plane = 0; plane < 3; ++plane)
                EXPECT_EQ(view(plane).slabCount(), 15);
            pull(0, 400.0);
            EXPECT_EQ(mpr().slab().sliceCount(), 51);
            pull(1, -400.0);
            EXPECT_EQ(status(), "MPR thick slab disabled");
            EXPECT_EQ(text("slabText"), "Single slice");
            EXPECT_EQ(view(0).slabCount(), 1);
        }
    }
}

TEST_F(WorkspaceGestures, moveOnePlaneByTheBodyOfItsLine) {
    press(Qt::Key_R);
    turn(0, 0, 20.0, Qt::NoModifier);
    for (int source = 0; source < 3; ++source) {
        for (int index = 0; index < 2; ++index) {
            SCOPED_TRACE(testing::Message() << source << " line " << index);
            const auto handles = guideOf(source).handles(index);
            const QPointF grip = (toQt(handles.rotation[1]) + toQt(handles.slab[1])) / 2.0;
            ASSERT_EQ(guideOf(source).hitTest({grip.x(), grip.y()}).kind, Kind::LineBody);
            const QPointF along = toQt(line(source, index).direction);
            const QPointF across = toQt(perpendicular(line(source, index).direction));
            const int moved = static_cast<int>(line(source, index).plane);
            const int still = 3 - source - moved;
            const QPointF before = crosshairIn(source);
            const auto stillPlane = view(still).navigation().plane();
            const auto sourcePlane = view(source).navigation().plane();
            drag(tools(source), {grip, grip + across * 8.0, grip + across * 17.0 + along * 30.0});
            expectNear(crosshairIn(source), before + across * 17.0, 1e-3);
            EXPECT_NEAR(view(moved).navigation().plane().signedDistance(crosshair()), 0.0, 1e-5);
            EXPECT_NEAR(stillPlane.signedDistance(view(still).navigation().plane().center()), 0.0, 1e-5);
            EXPECT_NEAR(sourcePlane.signedDistance(view(source).navigation().plane().center()), 0.0, 1e-5);
        }
    }
    // Nothing is taken hold of where the lines are hidden.
    const Vector3 point = crosshair();
    const auto handle = toQt(guideOf(0).handles(0).rotation[0]);
    press(Qt::Key_X);
    const auto other = view(1).navigation().plane();
    drag(tools(0), {handle, handle + QPointF(40, 40)});
    EXPECT_EQ(crosshair(), point);
    EXPECT_EQ(view(1).navigation().plane().axisVector(0), other.axisVector(0));
}

TEST_F(WorkspaceGestures, moveTheCrosshairByCentreClickWheelAndKeys) {
    const Vector3 middle = crosshair();
    press(Qt::Key_C);
    EXPECT_EQ(status(), "MPR crosshair mode enabled");
    for (int plane = 0; plane < 3; ++plane) {
        SCOPED_TRACE(plane);
        const QPointF grip = crosshairIn(plane) + QPointF(14, -14); // within 24 pixels
        const QPointF target = crosshairIn(plane) + QPointF(50.25, 31.5);
        const Vector3 wanted = view(plane).widgetToWorld(target);
        drag(tools(plane), {grip, target});
        expectNear(crosshair(), wanted);
        for (int other = 0; other < 3; ++other)
            EXPECT_NEAR(view(other).navigation().plane().signedDistance(wanted), 0.0, 1e-5);
        EXPECT_EQ(layout().activeViewport(), plane);
        const QPointF beside = (crosshairIn(plane) - QPointF(60, 45)).toPoint(); // as Qt hands it through
        const Vector3 clicked = view(plane).widgetToWorld(beside);
        drag(tools(plane), {beside});
        expectNear(crosshair(), clicked);
        // Beyond the volume's side: its outermost voxels.
        drag(tools(plane), {crosshairIn(plane), {-4000.0, 9000.0}});
        const auto& geometry = view(plane).image()->geometry();
        const Vector3 index = geometry.worldToIndex(crosshair());
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_GE(index[axis], -1e-9);
            EXPECT_LE(index[axis], geometry.dimensions()[axis] - 1 + 1e-9);
        }
        press(Qt::Key_Home);
        EXPECT_EQ(crosshair(), middle);
    }
    const std::array<double, 3> spacing{1.2, 0.9, 0.8};
    for (int plane = 0; plane < 3; ++plane) {
        SCOPED_TRACE(plane);
        const Vector3 normal = view(plane).navigation().plane().normal();
        const auto away = [&] {
            return imaging::dot(crosshair() - middle, normal) / spacing[static_cast<std::size_t>(plane)];
        };
        turnWheel(tools(plane), 2);
        EXPECT_NEAR(away(), 2.0, 1e-6);
        turnWheel(tools(plane), -1, Qt::ShiftModifier);
        EXPECT_NEAR(away(), -8.0, 1e-6);
        turnWheel(tools(plane), 3, Qt::AltModifier);
        EXPECT_NEAR(away(), -7.7, 1e-6);
        turnWheel(tools(plane), 90);
        EXPECT_NEAR(away(), plane == 0 ? 19.0 : plane == 1 ? 23.0 : 32.0, 1e-6);
        for (int other = 0; other < 3; ++other)
            EXPECT_NEAR(view(other).navigation().plane().signedDistance(crosshair()), 0.0, 1e-5);
        press(Qt::Key_Home);
    }
}

TEST_F(WorkspaceGestures, forgetADragWhoseReleaseWentElsewhere) {
    press(Qt::Key_C);
    mouse(tools(0), QEvent::MouseButtonPress, crosshairIn(0));
    const Vector3 point = crosshair();
    mouse(tools(0), QEvent::MouseMove, crosshairIn(0) + QPointF(30, 30), {}, Qt::NoButton);
    EXPECT_EQ(crosshair(), point);
    press(Qt::Key_W);
    mouse(tools(0), QEvent::MouseButtonPress, {50, 50});
    mouse(tools(0), QEvent::MouseMove, {90, 90}, {}, Qt::NoButton);
    mouse(tools(0), QEvent::MouseButtonPress, {60, 60}, {}, Qt::RightButton);
    const double scale = view(0).millimetresPerPixel();
    mouse(tools(0), QEvent::MouseMove, {60, 160}, {}, Qt::NoButton);
    EXPECT_EQ(view(0).millimetresPerPixel(), scale);
    EXPECT_NE(status().substr(0, 2), "W:");
}

TEST_F(WorkspaceGestures, panZoomScrollAndWindowWithTheirTools) {
    auto& axial = view(0);
    ASSERT_EQ(axial.childAt(QPoint(40, 90)), &tools(0)); // what the events below are sent to
    const Vector3 held = axial.widgetToWorld({40.0, 90.0});
    press(Qt::Key_P);
    drag(tools(0), {{40, 90}, {60, 95}, {75, 130}});
    expectNear(axial.worldToWidget(held), {75, 130});
    press(Qt::Key_Z);
    const double scale = axial.millimetresPerPixel();
    drag(tools(0), {{75, 130}, {75, 100}, {75, 40}});
    expectNear(axial.worldToWidget(held), {75, 130});
    EXPECT_NEAR(axial.millimetresPerPixel(), scale / std::pow(1.008, 90.0), 1e-9);
    click("rail-scroll");
    const double position = axial.navigation().slicePosition();
    drag(tools(0), {{75, 130}, {75, 118}});
    EXPECT_DOUBLE_EQ(axial.navigation().slicePosition(), position + 3.0);
    press(Qt::Key_W);
    const auto before = axial.window();
    drag(tools(1), {{40, 90}, {80, 70}});
    for (int plane = 0; plane < 3; ++plane) {
        EXPECT_GT(view(plane).window().width, before.width);
        EXPECT_LT(view(plane).window().center, before.center);
    }
    EXPECT_EQ(status(), windowText(axial.window()));
    EXPECT_EQ(layout().activeViewport(), CoronalViewport);
}

} // namespace
} // namespace zorbel
