#include "tests/reading/measurements/MeasurementTestData.h"
#include "viewer/reading/measurements/MeasurementDrawing.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zorbel::test {
namespace {

using Kind = MeasurementKind;

class MeasurementDrawingTest : public testing::Test {
protected:
    std::vector<MeasurementPicture> draw() const {
        return MeasurementDrawing::of(
            list, editor, view, [](const Measurement&) { return "text"; },
            [](const std::string&) {
                return Point2{90.0, 30.0};
            });
    }
    Vector3 at(double x, double y) const { return view.fromWidget({x, y}); }
    int add(Kind kind, std::vector<Vector3> points) {
        return list.add(onPlane(kind, std::move(points), plane));
    }

    PlaneGeometry plane = obliquePlane();
    MeasurementList list;
    MeasurementEditor editor{list};
    MeasurementView view = viewOf(plane, 0.1);
};

bool isInside(const MeasurementShape::Rect& box) {
    return box.corner.x >= 0.0 && box.corner.y >= 0.0 && box.corner.x + box.size.x <= 600.0 &&
           box.corner.y + box.size.y <= 400.0;
}

TEST_F(MeasurementDrawingTest, outlinesLieWhereTheMeasurementWasDrawn) {
    add(Kind::Box, {at(100, 100), at(300, 200)});
    add(Kind::Oval, {at(100, 100), at(300, 200)});
    add(Kind::Angle, {at(500, 100), at(400, 100), at(400, 200)});
    const auto pictures = draw();
    ASSERT_EQ(pictures.size(), 3U);
    EXPECT_NEAR(pictures[0].shape.distanceToBody({300.0, 150.0}), 0.0, 1e-9);
    EXPECT_NEAR(pictures[0].shape.distanceToBody({200.0, 150.0}), 50.0, 1e-9);
    for (const double angle : {0.1, 1.0, 2.5, 4.0}) // of the ellipse
        EXPECT_NEAR(
            pictures[1].shape.distanceToBody(
                {200.0 + 100.0 * std::cos(angle), 150.0 + 50.0 * std::sin(angle)}),
            0.0, 0.1);
    // The arc lies between the legs.
    const auto& arc = pictures[2].shape.marks.at(0).points;
    EXPECT_NEAR(length(arc[arc.size() / 2] - Point2{400.0, 100.0}), 26.0, 1e-9);
    EXPECT_GT(arc[arc.size() / 2].x, 410.0);
    EXPECT_GT(arc[arc.size() / 2].y, 110.0);
}

TEST_F(MeasurementDrawingTest, aRegionTurnsWithItsPlane) {
    add(Kind::Box, {at(300, 200), at(400, 300)});
    // The same plane, its axes turned by 45° on the screen.
    view = viewOf(
        PlaneGeometry(
            plane.center(), plane.axisVector(0) + plane.axisVector(1),
            plane.axisVector(1) - plane.axisVector(0)),
        0.1);
    const auto shape = draw().at(0).shape;
    EXPECT_NEAR(shape.handles[1].x, 300.0 + 100.0 * std::sqrt(2.0), 1e-9);
    EXPECT_NEAR(shape.handles[1].y, 200.0, 1e-9);
    EXPECT_NEAR(shape.handles[2].y, 200.0 - 50.0 * std::sqrt(2.0), 1e-9);
}

TEST_F(MeasurementDrawingTest, theReadersNameStandsOverTheValueWhereThereIsRoom) {
    const int id = add(Kind::Probe, {at(300.0, 200.0)});
    list.setLabel(id, "Größe, weit länger als die Breite einer Ansicht");
    EXPECT_EQ(draw().at(0).label, "Größe, weit länger als die Breit…\ntext");
    for (int i = 0; i < 8; ++i) // in hand, so placed before
        list.select(add(Kind::Probe, {at(300.0 + i % 3, 200.0)}));
    view.width = view.height = 60.0;
    for (const auto& picture : draw())
        EXPECT_EQ(picture.label.find('\n'), std::string::npos) << "no room";
}

TEST_F(MeasurementDrawingTest, labelsStayInsideTheWidgetAndApart) {
    for (const Point2& corner :
         {Point2{2, 2}, Point2{598, 2}, Point2{2, 398}, Point2{598, 398}, Point2{300, 398}})
        add(Kind::Probe, {at(corner.x, corner.y)});
    for (int i = 0; i < 4; ++i)
        add(Kind::Probe, {at(300.0 + i, 200.0)});
    const auto pictures = draw();
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        EXPECT_TRUE(isInside(pictures[i].labelBox)) << i;
        EXPECT_EQ(pictures[i].label, "text");
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_FALSE(pictures[i].labelBox.overlaps(pictures[j].labelBox)) << i << " " << j;
    }
}

TEST_F(MeasurementDrawingTest, whatIsOutOfSightHasNoLabel) {
    add(Kind::Length, {at(-300, 100), at(-100, 100)});
    add(Kind::Length, {at(-300, 100), at(900, 100)}); // across the view
    const auto pictures = draw();
    EXPECT_EQ(pictures.at(0).label, "");
    EXPECT_EQ(pictures.at(1).label, "text");
    EXPECT_TRUE(isInside(pictures.at(1).labelBox));
    // Narrower than a label: its beginning shows.
    view.width = 60.0;
    EXPECT_EQ(draw().at(1).labelBox.corner.x, 4.0);
}

TEST_F(MeasurementDrawingTest, theOneInHandStandsOutAndReplacesItsRecord) {
    const int first = add(Kind::Length, {at(100, 100), at(200, 100)});
    add(Kind::Length, {at(100, 300), at(200, 300)});
    list.select(first);
    auto pictures = draw();
    EXPECT_NE(pictures[0].lineColour, pictures[1].lineColour);
    EXPECT_TRUE(pictures[0].showsHandles);
    EXPECT_FALSE(pictures[1].showsHandles);

    editor.setKind(Kind::Length);
    editor.press(view, {200.0, 100.0});
    editor.move(view, {250.0, 150.0});
    pictures = draw();
    ASSERT_EQ(pictures.size(), 2U);
    EXPECT_EQ(pictures[1].id, first);
    EXPECT_NEAR(pictures[1].shape.handles[1].x, 250.0, 1e-9);
    editor.release(view, {250.0, 150.0});

    editor.press(view, {400.0, 200.0});
    editor.move(view, {450.0, 200.0});
    EXPECT_EQ(draw().back().id, 0);
    // Another plane shows neither the draft nor the others.
    view = viewOf({}, 0.1);
    EXPECT_TRUE(draw().empty());
}

} // namespace
} // namespace zorbel::test
