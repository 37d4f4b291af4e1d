#include "tests/reading/measurements/MeasurementTestData.h"
#include "viewer/reading/measurements/MeasurementEditor.h"
#include "viewer/reading/measurements/MeasurementValues.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zorbel::test {
namespace {

using Kind = MeasurementKind;
using Texts = std::vector<std::string>;

std::string label(const Measurement& measurement) {
    return MeasurementValues::of(measurement, nullptr).lineLabel();
}

class MeasurementEditorTest : public testing::Test {
protected:
    MeasurementEditorTest() { editor.setLabelSource(label); }

    Texts press(const Point2& at) { return take(editor.press(view, at)); }
    Texts move(const Point2& at) { return take(editor.move(view, at)); }
    Texts release(const Point2& at) { return take(editor.release(view, at)); }
    Texts click(const Point2& at) {
        press(at);
        return release(at);
    }
    Texts drag(const Point2& from, const Point2& to) {
        press(from);
        move(from + (to - from) * 0.5);
        move(to);
        return release(to);
    }
    static Texts take(const MeasurementEditor::Outcome& outcome) { return outcome.statuses; }

    const Measurement& only() const { return list.measurements().front(); }
    Point2 shown(const Vector3& point) const { return view.toWidget(point); }

    MeasurementList list;
    MeasurementEditor editor{list};
    MeasurementView view = viewOf({}, 0.1);
};

TEST_F(MeasurementEditorTest, bothWaysOfPlacingMeasureRightAtEveryZoom) {
    const PlaneGeometry plane = obliquePlane();
    for (const double millimetresPerPixel : {0.02, 0.1, 0.7}) {
        view = viewOf(plane, millimetresPerPixel);
        const Point2 from{150.0, 120.0};
        const Point2 to{450.0, 320.0};
        const double expected = length(to - from) * millimetresPerPixel;

        editor.setKind(Kind::Length);
        const Texts said = drag(from, to);
        ASSERT_EQ(list.measurements().size(), 1U);
        EXPECT_EQ(said, (Texts{"Measurement added", "Measurement: " + label(only())}));
        EXPECT_NEAR(MeasurementValues::of(only(), nullptr).length, expected, 1e-9);
        EXPECT_EQ(only().planeAxisX, plane.axisVector(0));
        list.clear();

        click(from);
        move({300.0, 200.0}); // no button held
        EXPECT_NEAR(
            MeasurementValues::of(*editor.inHand(), nullptr).length,
            length(Point2{150.0, 80.0}) * millimetresPerPixel, 1e-9);
        click(to);
        ASSERT_EQ(list.measurements().size(), 1U);
        EXPECT_NEAR(MeasurementValues::of(only(), nullptr).length, expected, 1e-9);
        EXPECT_EQ(editor.inHand(), nullptr);
        list.clear();
    }
}

TEST_F(MeasurementEditorTest, aSlightlyShakyClickStillBeginsClicking) {
    editor.setKind(Kind::Length);
    press({100.0, 100.0});
    move({103.0, 101.0});
    EXPECT_TRUE(release({103.0, 101.0}).empty());
    EXPECT_TRUE(editor.isPlacing());
    EXPECT_TRUE(click({101.0, 102.0}).empty()); // a double click places nothing
    EXPECT_EQ(click({200.0, 100.0}).size(), 2U);
    EXPECT_NEAR(MeasurementValues::of(only(), nullptr).length, 10.0, 1e-9); // from the press

    press({300.0, 300.0});
    EXPECT_EQ(release({304.0, 300.0}).size(), 2U);
}

TEST_F(MeasurementEditorTest, anAngleNeedsThreePointsHoweverTheyArePlaced) {
    editor.setKind(Kind::Angle);
    click({200.0, 100.0});
    click({100.0, 100.0});
    move({120.0, 190.0});
    EXPECT_TRUE(list.measurements().empty());
    EXPECT_EQ(click({100.0, 300.0}), (Texts{"Measurement added", "Measurement: 90.0 deg"}));
    list.clear();
    EXPECT_TRUE(drag({200.0, 100.0}, {100.0, 100.0}).empty());
    move({140.0, 140.0});
    EXPECT_EQ(editor.inHand()->points.size(), 3U);
    EXPECT_EQ(drag({150.0, 150.0}, {200.0, 200.0}), (Texts{"Measurement added", "Measurement: 45.0 deg"}));
}

TEST_F(MeasurementEditorTest, escapeCancelsWhatIsInHand) {
    EXPECT_FALSE(editor.press(view, {10.0, 10.0}).taken); // no tool
    editor.setKind(Kind::Length);
    EXPECT_FALSE(editor.cancel().taken);
    click({100.0, 100.0});
    EXPECT_EQ(editor.cancel().statuses, Texts{"Measurement cancelled"});
    EXPECT_EQ(editor.inHand(), nullptr);
    EXPECT_FALSE(editor.release(view, {200.0, 100.0}).taken); // of the button that was down
    EXPECT_TRUE(list.measurements().empty());

    drag({100.0, 100.0}, {200.0, 100.0});
    const Measurement before = only();
    press({200.0, 100.0});
    move({250.0, 150.0});
    EXPECT_NE(*editor.inHand(), before);
    EXPECT_TRUE(editor.cancel().taken);
    EXPECT_EQ(only(), before);
    EXPECT_TRUE(editor.cancel().taken); // the selection
    EXPECT_FALSE(editor.cancel().taken);

    click({300.0, 300.0});
    editor.setKind(Kind::Angle); // another tool
    EXPECT_EQ(editor.inHand(), nullptr);
}

TEST_F(MeasurementEditorTest, handlesAreHeldWithinTheirRadiusAndLinesMoveTheWhole) {
    editor.setKind(Kind::Length);
    drag({100.0, 100.0}, {200.0, 100.0});
    EXPECT_EQ(editor.hitTest(view, {200.0, 108.0}).handle, 1U);
    EXPECT_EQ(editor.hitTest(view, {200.0, 108.1}).id, 0);
    EXPECT_EQ(editor.hitTest(view, {150.0, 106.0}), (MeasurementEditor::Hit{only().id, std::nullopt}));
    EXPECT_EQ(editor.hitTest(view, {150.0, 106.1}).id, 0);
    EXPECT_TRUE(editor.move(view, {150.0, 103.0}).repaint);
    EXPECT_FALSE(editor.move(view, {151.0, 103.0}).repaint);
    EXPECT_EQ(editor.hovered().id, only().id);

    // Held beside its middle, a handle keeps that distance to the pointer.
    EXPECT_EQ(drag({203.0, 102.0}, {203.0, 202.0}), Texts{"Measurement: 14.14 mm"});
    EXPECT_EQ(shown(only().points[1]), (Point2{200.0, 200.0}));
    drag({150.0, 150.0}, {160.0, 130.0});
    EXPECT_NEAR(shown(only().points[0]).y, 80.0, 1e-9);
    EXPECT_NEAR(shown(only().points[1]).x, 210.0, 1e-9);

    list.select(std::nullopt);
    const Measurement before = only();
    EXPECT_TRUE(drag({150.0, 120.0}, {152.0, 121.0}).empty()); // a click
    EXPECT_EQ(list.selected(), before.id);
    EXPECT_EQ(only(), before);
    press({400.0, 300.0});
    EXPECT_EQ(list.selected(), std::nullopt);
}

TEST_F(MeasurementEditorTest, aRegionsCornersAllMoveAgainstTheOppositeOne) {
    view = viewOf(obliquePlane(), 0.1);
    editor.setKind(Kind::Box);
    const std::array<Point2, 4> corners{{{200, 100}, {400, 300}, {400, 100}, {200, 300}}};
    for (std::size_t held = 0; held < 4; ++held) {
        list.clear();
        drag(corners[0], corners[1]);
        const Point2 opposite = corners[held ^ 1U];
        const Point2 target = corners[held] + Point2{30.0, -20.0};
        drag(corners[held], target);
        const Point2 a = shown(only().points[0]);
        const Point2 b = shown(only().points[1]);
        EXPECT_NEAR(std::min(a.x, b.x), std::min(target.x, opposite.x), 1e-9) << held;
        EXPECT_NEAR(std::max(a.x, b.x), std::max(target.x, opposite.x), 1e-9) << held;
        EXPECT_NEAR(std::min(a.y, b.y), std::min(target.y, opposite.y), 1e-9) << held;
        EXPECT_NEAR(std::max(a.y, b.y), std::max(target.y, opposite.y), 1e-9) << held;
    }
}

TEST_F(MeasurementEditorTest, editingBesideThePlaneLeavesAMeasurementPlane) {
    editor.setKind(Kind::Length);
    drag({100.0, 100.0}, {200.0, 100.0});
    view = viewOf(PlaneGeometry().movedTo({0.0, 0.0, 2.0}), 0.1, 5.0); // seen within a slab
    drag({200.0, 100.0}, {300.0, 100.0});
    EXPECT_EQ(only().points[0][2], 0.0);
    EXPECT_EQ(only().points[1][2], 0.0);
    EXPECT_NEAR(MeasurementValues::of(only(), nullptr).length, 20.0, 1e-9);
    // Scrolled on, it is out of reach: the same press begins another.
    view = viewOf(PlaneGeometry().movedTo({0.0, 0.0, 3.0}), 0.1, 5.0);
    press({300.0, 100.0});
    EXPECT_TRUE(editor.isPlacing());
}

TEST_F(MeasurementEditorTest, aDraftStaysOnItsPlaneWhileScrollingAndEndsInAnotherView) {
    editor.setKind(Kind::Length);
    click({100.0, 100.0});
    view = viewOf(PlaneGeometry().movedTo({0.0, 0.0, 4.0}), 0.1);
    click({200.0, 100.0});
    ASSERT_EQ(list.measurements().size(), 1U);
    EXPECT_NEAR(MeasurementValues::of(only(), nullptr).length, 10.0, 1e-9);

    click({100.0, 300.0});
    view = viewOf(obliquePlane(), 0.1);
    move({50.0, 50.0});
    EXPECT_EQ(press({50.0, 50.0}), Texts{"Measurement cancelled"});
    EXPECT_EQ(release({250.0, 50.0}).size(), 2U);
    EXPECT_EQ(list.measurements().back().planeAxisX, obliquePlane().axisVector(0));
    EXPECT_NEAR(MeasurementValues::of(list.measurements().back(), nullptr).length, 20.0, 1e-9);
}

TEST_F(MeasurementEditorTest, deleteTakesTheDraftThenTheSelectedThenTheLast) {
    editor.setKind(Kind::Length);
    EXPECT_FALSE(editor.deleteMeasurement().taken);
    drag({100.0, 100.0}, {200.0, 100.0});
    drag({100.0, 200.0}, {200.0, 200.0});
    const int first = only().id;
    click({400.0, 300.0});
    EXPECT_EQ(editor.deleteMeasurement().statuses, Texts{"Measurement cancelled"});
    EXPECT_EQ(list.measurements().size(), 2U);
    click({150.0, 200.0});
    EXPECT_EQ(editor.deleteMeasurement().statuses, Texts{"Measurement deleted"});
    EXPECT_EQ(only().id, first);
    list.select(std::nullopt);
    EXPECT_FALSE(editor.deleteMeasurement([](const Measurement&) { return false; }).taken)
        << "nothing goes unseen";
    // What is deleted under the hand is not brought back by letting go.
    press({200.0, 100.0});
    move({240.0, 100.0});
    list.remove(first);
    EXPECT_TRUE(release({240.0, 100.0}).empty());
    EXPECT_TRUE(list.measurements().empty());
}

} // namespace
} // namespace zorbel::test
