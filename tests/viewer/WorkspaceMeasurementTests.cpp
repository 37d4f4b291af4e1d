#include "ReadingWindowTest.h"
#include "demo/JawPhantom.h"
#include "imaging/rendering/ImageView2D.h"
#include "viewer/measuring/MeasurementController.h"
#include "viewer/tools/ToolLayer.h"

#include <QTreeWidget>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace zorbel {
namespace {

using imaging::Vector3;
using imaging::operator*;
using imaging::operator+;

class WorkspaceMeasurementTest : public test::ReadingWindowTest {
protected:
    const MeasurementList& list() { return workspace_->measurements().list(); }
    MeasurementValues values(const Measurement& measurement) {
        return workspace_->measurements().valuesOf(measurement);
    }
    /// Points of the shown plane, a given number of millimetres from the crosshair along its axes.
    QPointF at(int plane, double along0, double along1) {
        const auto& shown = view(plane).navigation().plane();
        return view(plane).worldToWidget(
            crosshair() + shown.axisVector(0) * along0 + shown.axisVector(1) * along1);
    }
    void clickAt(QWidget& widget, const QPointF& position) {
        mouse(widget, QEvent::MouseMove, position, {}, Qt::NoButton);
        mouse(widget, QEvent::MouseButtonPress, position);
        mouse(widget, QEvent::MouseButtonRelease, position);
    }
    int rows() { return child<QTreeWidget>(QStringLiteral("measurementList"))->topLevelItemCount(); }
    QString row(int index) {
        const auto* item = child<QTreeWidget>(QStringLiteral("measurementList"))->topLevelItem(index);
        return item->text(0) + QStringLiteral(" | ") + item->text(1) + QStringLiteral(" | ") + item->text(2);
    }
};

TEST_F(WorkspaceMeasurementTest, measuresLengthsTrulyInEveryPlaneAtEveryZoom) {
    showVolume();
    press(Qt::Key_L);
    int expected = 0;
    for (int plane = 0; plane < 3; ++plane)
        for (const double zoom : {1.0, 2.5, 0.5}) {
            turnWheel(tools(plane), 1); // away from the one before, whose handle this would take
            view(plane).zoomBy(zoom, crosshairIn(plane));
            drag(tools(plane), {at(plane, -6.0, -2.0), at(plane, 0.0, 0.0), at(plane, 2.0, 4.0)});
            ASSERT_EQ(list().measurements().size(), static_cast<std::size_t>(++expected));
            const auto& length = list().measurements().back();
            EXPECT_NEAR(values(length).length, 10.0, 1e-6) << plane << " at " << zoom;
            EXPECT_EQ(values(length).label.substr(0, 8), "10.00 mm");
        }
    EXPECT_TRUE(child<QWidget>(QStringLiteral("measurementPanel"))->isVisible());
    EXPECT_EQ(rows(), expected);
    EXPECT_TRUE(row(0).startsWith(QStringLiteral("Length | 10.00 mm"))) << row(0).toStdString();
    EXPECT_TRUE(row(0).endsWith(QStringLiteral("Axial")));
    EXPECT_NE(status().find("Measurement added"), std::string::npos) << status();
    EXPECT_NE(status().find("Measurement: 10.00 mm"), std::string::npos) << status();
}

TEST_F(WorkspaceMeasurementTest, placesEachToolByClicksAndReadsItsValue) {
    showVolume();
    click("rail-angle");
    for (const QPointF& point : {at(0, 8.0, 0.0), at(0, 0.0, 0.0), at(0, 0.0, 8.0)})
        clickAt(tools(0), point);
    press(Qt::Key_B);
    clickAt(tools(0), at(0, 3.2, -7.2));
    press(Qt::Key_K);
    drag(tools(0), {at(0, -5.0, -2.0), at(0, 5.0, 2.0)});
    click("rail-ellipse-roi");
    drag(tools(0), {at(0, -10.0, -5.0), at(0, 10.0, 5.0)});
    ASSERT_EQ(list().measurements().size(), 4u);
    EXPECT_EQ(values(list().measurements()[0]).label, "90.0 deg");
    // The volume's values rise by 20 a column of 0.8 mm and by 2 a row of 0.9 mm.
    const auto probe = values(list().measurements()[1]).value;
    ASSERT_TRUE(probe.has_value());
    const auto middle = workspace_->measurements().valuesOf(list().measurements()[2]).samples;
    ASSERT_TRUE(middle.has_value());
    EXPECT_NEAR(*probe - middle->mean, 80.0 - 16.0, 0.5);
    EXPECT_EQ(values(list().measurements()[2]).label.substr(0, 9), "40.0 mm2\n");
    EXPECT_EQ(values(list().measurements()[3]).label.substr(0, 10), "157.1 mm2\n");
}

TEST_F(WorkspaceMeasurementTest, saysWhatItReadInItsOwnSeriesWhileAnotherIsShown) {
    imaging::ImageMetadata metadata;
    metadata.seriesInstanceUID = "1.9.1";
    metadata.hounsfieldUnits = true;
    showVolume(test::smallVolume(metadata));
    press(Qt::Key_B);
    clickAt(tools(0), at(0, 3.2, -7.2));
    ASSERT_EQ(list().measurements().size(), 1u);
    const auto read = values(list().measurements()[0]).lineLabel() + " HU";
    metadata.seriesInstanceUID = "1.9.2";
    showVolume(test::smallVolume(metadata));
    EXPECT_EQ(values(list().measurements()[0]).label, "--");
    EXPECT_EQ(row(0), QStringLiteral("Probe | %1 | Axial").arg(QString::fromStdString(read)));
    EXPECT_EQ(list().measurements()[0].value, read);
}

TEST_F(WorkspaceMeasurementTest, showsAMeasurementOnlyWhereItWasDrawnAndGoesBackThere) {
    showVolume();
    press(Qt::Key_R);
    const auto handles = guideOf(0).handles(0);
    const QPointF center = crosshairIn(0);
    const QPointF from(handles.rotation[0].x, handles.rotation[0].y);
    const double angle = 0.5;
    const QPointF arm = from - center;
    drag(
        tools(0), {from, center + QPointF(
                                      arm.x() * std::cos(angle) - arm.y() * std::sin(angle),
                                      arm.x() * std::sin(angle) + arm.y() * std::cos(angle))});
    press(Qt::Key_L);
    drag(tools(1), {at(1, -4.0, 0.0), at(1, 4.0, 0.0)});
    ASSERT_EQ(list().measurements().size(), 1u);
    EXPECT_NEAR(values(list().measurements()[0]).length, 8.0, 1e-6);
    EXPECT_TRUE(row(0).contains(QStringLiteral("oblique")));
    EXPECT_TRUE(mpr().shows(list().measurements()[0]));
    turnWheel(tools(1), 5);
    EXPECT_FALSE(mpr().shows(list().measurements()[0]));
    workspace_->perform(ReadingAction::ResetViews, 0);
    EXPECT_FALSE(mpr().shows(list().measurements()[0]));
    auto* tree = child<QTreeWidget>(QStringLiteral("measurementList"));
    tree->setCurrentItem(tree->topLevelItem(0));
    click("measurementJump");
    EXPECT_TRUE(mpr().shows(list().measurements()[0]));
}

TEST_F(WorkspaceMeasurementTest, editsCancelsDeletesAndHides) {
    showVolume();
    press(Qt::Key_L);
    drag(tools(0), {at(0, -5.0, 0.0), at(0, 5.0, 0.0)});
    drag(tools(0), {at(0, 5.0, 0.0), at(0, 7.0, 0.0)}); // the handle, not another line
    ASSERT_EQ(list().measurements().size(), 1u);
    EXPECT_NEAR(values(list().measurements()[0]).length, 12.0, 1e-6);
    clickAt(tools(0), at(0, 0.0, 9.0));
    press(Qt::Key_Escape);
    EXPECT_EQ(status(), "Measurement cancelled");
    EXPECT_EQ(list().measurements().size(), 1u);
    const auto shownLength = [this] { return tools(0).grab(tools(0).rect()).toImage(); };
    press(Qt::Key_Escape);
    const QImage labelled = shownLength();
    press(Qt::Key_H); // the labels go, the measurements stay in the hand's reach
    EXPECT_NE(shownLength(), labelled);
    drag(tools(0), {at(0, 7.0, 0.0), at(0, 5.0, 0.0)});
    EXPECT_NEAR(values(list().measurements()[0]).length, 10.0, 1e-6);
    press(Qt::Key_H);
    doubleClick(tools(0), at(0, 0.0, 15.0)); // maximises as ever, and leaves no point behind
    EXPECT_EQ(status(), "Axial maximised");
    press(Qt::Key_Space);
    test::settle();
    press(Qt::Key_Delete);
    EXPECT_EQ(status(), "Measurement deleted");
    EXPECT_TRUE(list().measurements().empty());
    EXPECT_FALSE(child<QWidget>(QStringLiteral("measurementPanel"))->isVisible());

    press(Qt::Key_L);
    drag(tools(0), {at(0, -5.0, 0.0), at(0, 5.0, 0.0)});
    const Vector3 before = crosshair();
    press(Qt::Key_W); // without a measuring tool the mouse goes through
    drag(tools(0), {at(0, 5.0, 0.0), at(0, 9.0, 0.0)});
    EXPECT_NEAR(values(list().measurements()[0]).length, 10.0, 1e-6);
    test::expectNear(crosshair(), before);
    workspace_->reset();
    EXPECT_TRUE(list().measurements().empty());
}

TEST_F(WorkspaceMeasurementTest, measures2DImagesInMillimetresOnlyWhereTheFileSaysSo) {
    for (const auto source : {imaging::SpacingSource::PixelSpacing, imaging::SpacingSource::None}) {
        imaging::ImageMetadata metadata;
        metadata.spacingSource = source;
        metadata.pixelAspectRatio = 2.0;
        const imaging::ImageGeometry geometry(
            {100, 80, 1}, {0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.1, 0.2, 1.0});
        reading_.reset();
        showPicture(
            imaging::test::makeImage<std::uint8_t>(
                geometry, imaging::VoxelType::UInt8, [](int x, int, int) { return x; }, metadata),
            "PX");
        press(Qt::Key_L);
        auto& picture = *child<imaging::ImageView2D>(QStringLiteral("imageView"));
        auto& above = *child<ToolLayer>(QStringLiteral("imageTools"));
        drag(above, {picture.imageToWidget({10.0, 10.0}), picture.imageToWidget({40.0, 30.0})});
        ASSERT_EQ(list().measurements().size(), 1u);
        // 30 columns of 0.1 mm and 20 rows of 0.2 mm; without a spacing, in columns.
        EXPECT_EQ(
            values(list().measurements()[0]).label.substr(0, 7),
            source == imaging::SpacingSource::None ? "50.0 px" : "5.00 mm");
    }
}

/// The jaw phantom, with noise, as the reader opens it.
class PhantomMeasurementTest : public WorkspaceMeasurementTest {
protected:
    static std::shared_ptr<const imaging::Image> jaw(const demo::JawPhantom& phantom) {
        const auto grid = demo::JawPhantom::jawGrid();
        const auto values = phantom.rasterize(grid, 40.0);
        std::size_t next = 0; // as it is asked for, columns first
        return imaging::test::makeImage<std::int16_t>(
            imaging::ImageGeometry(grid.size, grid.origin, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, grid.spacing),
            imaging::VoxelType::Int16, [&](int, int, int) { return values[next++]; });
    }
    /// Draws with the current tool through these points of the axial plane; returns the new measurement.
    const Measurement& draw(const std::vector<Vector3>& points, bool byDragging) {
        std::vector<QPointF> way;
        for (const Vector3& point : points)
            way.push_back(view(0).worldToWidget(point));
        if (byDragging)
            drag(tools(0), way);
        else
            for (const QPointF& position : way)
                clickAt(tools(0), position);
        return list().measurements().back();
    }
};

TEST_F(PhantomMeasurementTest, readsThePhantomsKnownTruthAtThreeZoomLevels) {
    const demo::JawPhantom phantom;
    showVolume(jaw(phantom));
    workspace_->perform(ReadingAction::SetLayout, static_cast<int>(Layout::Single));
    test::settle();
    const Vector3 left = phantom.landmark("crown 36");
    const Vector3 right = phantom.landmark("crown 47");
    const Vector3 front = phantom.landmark("crown 41");
    const auto regions = phantom.regions();
    // Air would not do: its noise ends at the lowest grey value.
    const auto region = std::max_element(regions.begin(), regions.end(), [](const auto& a, const auto& b) {
        return a.radius * a.grey < b.radius * b.grey;
    });
    ASSERT_NE(region, regions.end());
    for (const double zoom : {1.0, 2.0, 0.4}) {
        SCOPED_TRACE(zoom);
        while (!list().measurements().empty())
            workspace_->measurements().remove(list().measurements().back().id);
        mpr().goTo(left);
        view(0).zoomBy(zoom, crosshairIn(0));
        // In the axial plane: its own distance along the patient's axis does not count.
        const auto inPlane = [&](const Vector3& point) { return Vector3{point[0], point[1], left[2]}; };
        const double truth = std::hypot(left[0] - right[0], left[1] - right[1]);
        press(Qt::Key_L);
        EXPECT_NEAR(values(draw({left, inPlane(right)}, true)).length, truth, 0.1);
        press(Qt::Key_G);
        const auto direction = [&](const Vector3& to) {
            return std::atan2(to[1] - front[1], to[0] - front[0]);
        };
        const double degrees = std::abs(direction(left) - direction(right)) * 180.0 / std::numbers::pi;
        const Vector3 aside{0.0, 3.0, 0.0}; // not on the length's own handles
        EXPECT_NEAR(
            values(draw({left + aside, inPlane(front) + aside, inPlane(right) + aside}, false)).degrees,
            std::min(degrees, 360.0 - degrees), 0.2);

        mpr().goTo(region->centre);
        const double half = region->radius * 0.6;
        press(Qt::Key_K);
        const Vector3 centre = region->centre;
        const auto box =
            values(draw({centre + Vector3{-half, -half, 0.0}, centre + Vector3{half, half, 0.0}}, true));
        EXPECT_NEAR(box.area, 4.0 * half * half, 0.01 * 4.0 * half * half);
        ASSERT_TRUE(box.samples.has_value());
        EXPECT_NEAR(box.samples->mean, region->grey, 0.01 * std::abs(region->grey));
    }
}

} // namespace
} // namespace zorbel
