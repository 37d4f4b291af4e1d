#include "imaging/rendering/PlaneView.h"

#include "tests/rendering/PictureCheck.h"
#include "tests/rendering/SyntheticImage.h"
#include "tests/support/Waiting.h"

#include <QLabel>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

using namespace zorbel::imaging;
using namespace zorbel::imaging::test;
using zorbel::test::waitFor;

namespace {

/// Smooth, different in every direction, and nowhere linear, so that a shift by a fraction of a voxel shows.
double pattern(int column, int row, int slice) {
    return 6000.0 * std::sin(0.31 * column + 0.2) + 5000.0 * std::cos(0.23 * row + 0.11 * column) +
           4000.0 * std::sin(0.41 * slice + 0.07 * row) + 300.0 * column - 120.0 * row;
}

struct Miss {
    double largest = 0.0;
    QPoint where;
    int compared = 0;
};

/// The greatest difference in grey between the picture and what the voxels say, away from the image's border.
Miss compare(const QImage& picture, const PlaneView& view, const LevelWindow& window, bool inverted) {
    Miss miss;
    const Image& image = *view.image();
    const double ratio = view.devicePixelRatioF();
    for (int y = 3; y < picture.height(); y += 7) {
        for (int x = 3; x < picture.width(); x += 7) {
            const Vector3 point = view.widgetToWorld({(x + 0.5) / ratio, (y + 0.5) / ratio});
            const Vector3 index = image.geometry().worldToIndex(point);
            const auto& size = image.geometry().dimensions();
            bool inside = true;
            for (std::size_t axis = 0; axis < 3; ++axis)
                inside = inside && index[axis] > -0.3 && index[axis] < size[axis] - 0.7;
            if (!inside)
                continue;
            const double grey = applyWindow(window, trilinear(image, point));
            const double expected = 255.0 * (inverted ? 1.0 - grey : grey);
            const double difference = std::abs(qRed(picture.pixel(x, y)) - expected);
            ++miss.compared;
            if (difference > miss.largest)
                miss = {difference, {x, y}, miss.compared};
        }
    }
    return miss;
}

struct Case {
    const char* name;
    ImageGeometry geometry;
};

std::vector<Case> geometries() {
    const std::array<int, 3> size{40, 50, 30};
    const Vector3 spacing{0.8, 0.6, 1.5};
    const Vector3 origin{10.0, -20.0, 30.0};
    return {
        {"axial", {size, origin, {1, 0, 0}, {0, 1, 0}, spacing}},
        {"flipped", {size, origin, {-1, 0, 0}, {0, 1, 0}, spacing}},
        {"coronal", {size, origin, {1, 0, 0}, {0, 0, -1}, spacing}},
        {"permuted", {size, origin, {0, 0, 1}, {1, 0, 0}, spacing}},
        {"oblique", obliqueGeometry(size, spacing, 12.0, -17.0)},
        {"sheared", obliqueGeometry(size, spacing, 5.0, 8.0, 0.5)}};
}

class PlanePictures : public testing::TestWithParam<std::tuple<std::size_t, ViewDirection>> {};

TEST_P(PlanePictures, ShowVoxelsWhereTheyLie) {
    const Case chosen = geometries()[std::get<0>(GetParam())];
    const ViewDirection direction = std::get<1>(GetParam());
    const auto image = makeImage<std::int16_t>(chosen.geometry, VoxelType::Int16, pattern);

    PlaneView view(direction);
    view.resize(331, 257);
    view.setImage(image);
    view.setWindow(3000.0, 24000.0);
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));

    for (const double step : {0.0, 3.0, 0.37}) {
        view.navigation().step(step);
        const QImage picture = view.grabFrame();
        const Miss miss = compare(picture, view, view.window(), false);
        savePicture(picture, currentTestName());
        EXPECT_GT(miss.compared, 300);
        EXPECT_LE(miss.largest, 1.01) << "at " << miss.where.x() << "," << miss.where.y() << " slice "
                                      << view.navigation().slicePosition();
    }
    // Turned out of the image's axes, moved and enlarged.
    const Vector3 center = chosen.geometry.center();
    view.navigation().reorientSlices(center, {0.8, 0.5, 0.2}, {-0.3, 0.6, -0.7});
    view.zoomBy(2.3, {100.0, 80.0});
    view.panBy({-13.5, 7.25});
    const QImage picture = view.grabFrame();
    const Miss miss = compare(picture, view, view.window(), false);
    savePicture(picture, currentTestName() + QStringLiteral("-turned"));
    EXPECT_GT(miss.compared, 300);
    EXPECT_LE(miss.largest, 1.01) << "at " << miss.where.x() << "," << miss.where.y();
}

INSTANTIATE_TEST_SUITE_P(
    AllGeometries, PlanePictures,
    testing::Combine(
        testing::Range<std::size_t>(0, 6),
        testing::Values(ViewDirection::Axial, ViewDirection::Coronal, ViewDirection::Sagittal)),
    [](const auto& chosen) {
        return std::string(geometries()[std::get<0>(chosen.param)].name) + "_" +
               std::string(viewDirectionName(std::get<1>(chosen.param)));
    });

/// Brightest spot of a picture, in fractions of its size.
QPointF brightSpot(const QImage& picture) {
    double sumX = 0.0;
    double sumY = 0.0;
    double sum = 0.0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const double grey = qRed(picture.pixel(x, y)) > 128 ? 1.0 : 0.0;
            sumX += grey * x;
            sumY += grey * y;
            sum += grey;
        }
    }
    return sum > 0.0 ? QPointF(sumX / sum / picture.width(), sumY / sum / picture.height())
                     : QPointF(-1.0, -1.0);
}

ImageGeometry rampGeometry() {
    return {{64, 64, 8}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1}};
}

TEST(PlaneView, MapsValuesByTheFilesWindowAndTheReaders) {
    const auto ramp = [](int column, int row, int) { return 100.0 * column - 50.0 * row - 1000.0; };
    for (const bool inverted : {false, true}) {
        ImageMetadata metadata;
        metadata.inverted = inverted;
        const LevelWindow fromFile{500.0, 2000.0, VoiFunction::Linear, {}};
        metadata.windows = {fromFile};
        PlaneView view(ViewDirection::Axial);
        view.resize(256, 256);
        view.setImage(makeImage<std::int16_t>(rampGeometry(), VoxelType::Int16, ramp, metadata));
        EXPECT_EQ(view.window(), fromFile);
        EXPECT_EQ(view.isInverted(), inverted);
        EXPECT_LE(compare(view.grabFrame(), view, fromFile, inverted).largest, 1.01);
        view.setInverted(!inverted);
        for (const auto function : {VoiFunction::Linear, VoiFunction::LinearExact, VoiFunction::Sigmoid}) {
            const LevelWindow chosen{100.0, 900.0, function, {}};
            view.setWindow(chosen);
            EXPECT_LE(compare(view.grabFrame(), view, chosen, !inverted).largest, 1.01);
        }
    }
}

TEST(PlaneView, KeepsThePointUnderThePointerWhileZooming) {
    PlaneView view(ViewDirection::Coronal);
    view.resize(300, 200);
    view.setImage(makeImage<std::int16_t>(rampGeometry(), VoxelType::Int16, pattern));
    view.show();
    const QPointF anchor(71.0, 133.0);
    const Vector3 held = view.widgetToWorld(anchor);
    view.zoomBy(3.0, anchor);
    view.zoomBy(0.9, anchor);
    EXPECT_NEAR(view.worldToWidget(held).x(), anchor.x(), 1e-6);
    EXPECT_NEAR(view.worldToWidget(held).y(), anchor.y(), 1e-6);
    view.panBy({10.0, -4.0});
    EXPECT_NEAR(view.worldToWidget(held).x(), anchor.x() + 10.0, 1e-6);
    EXPECT_NEAR(view.worldToWidget(held).y(), anchor.y() - 4.0, 1e-6);

    // A zoomed view keeps its size in millimetres when it is resized; a fitted one follows.
    const double zoomed = view.millimetresPerPixel();
    view.resize(500, 400);
    EXPECT_EQ(view.millimetresPerPixel(), zoomed);
    view.fitToView();
    const double fitted = view.millimetresPerPixel();
    view.resize(250, 200);
    EXPECT_NEAR(view.millimetresPerPixel(), 2.0 * fitted, 1e-9);
    const QPointF corner = view.worldToWidget({-0.5, 0.0, -0.5});
    EXPECT_GE(corner.x(), 0.0);
    EXPECT_LE(corner.y(), 200.0);
}

TEST(PlaneView, DrawsFewPicturesForManyChangesAndNoneOfAnotherView) {
    const auto image = makeImage<std::int16_t>(rampGeometry(), VoxelType::Int16, pattern);
    for (const double immediate : {0.0, 1e9}) { // in the background, and at once
        PlaneView changed(ViewDirection::Axial);
        PlaneView other(ViewDirection::Coronal);
        for (PlaneView* view : {&changed, &other}) {
            view->setImmediateMilliseconds(immediate);
            view->resize(200, 150);
            view->setImage(image);
            view->show();
            ASSERT_TRUE(waitFor([&] { return view->isUpToDate(); }));
        }
        QSignalSpy frames(&changed, &RenderWindowWidget::frameRendered);
        QSignalSpy slices(&changed, &PlaneView::sliceChanged);
        constexpr int steps = 60;
        for (int step = 0; step < steps; ++step)
            changed.navigation().step(step % 2 == 0 ? 1.0 : -1.0);
        changed.setWindow(0.0, 5000.0);
        changed.navigation().step(1.0);
        EXPECT_EQ(slices.count(), steps + 1);
        EXPECT_FALSE(changed.isUpToDate());
        EXPECT_TRUE(other.isUpToDate());
        ASSERT_TRUE(waitFor([&] { return changed.isUpToDate() && frames.count() > 0; }));
        EXPECT_LT(frames.count(), steps / 2);
    }
}

/// A bright ball in the middle of darkness, whose picture's place is easily told.
std::shared_ptr<const Image> ballImage(const Vector3& ball) {
    const ImageGeometry geometry({60, 60, 60}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    return makeImage<std::uint8_t>(geometry, VoxelType::UInt8, [&](int column, int row, int slice) {
        return length(Vector3{1.0 * column, 1.0 * row, 1.0 * slice} - ball) < 4.0 ? 250.0 : 10.0;
    });
}

/// Where a picture of the whole widget shows the ball, in logical pixels.
QPointF ballIn(const QImage& picture, const PlaneView& view) {
    const QPointF spot = brightSpot(picture);
    return {spot.x() * view.width(), spot.y() * view.height()};
}

TEST(PlaneView, ShowsTheOldPictureWhereItBelongsUntilTheNewOneIsThere) {
    const Vector3 ball{24.0, 33.0, 29.0};
    PlaneView view(ViewDirection::Axial);
    view.setImmediateMilliseconds(0.0);
    view.resize(300, 240);
    view.setImage(ballImage(ball));
    view.setWindow(128.0, 256.0);
    view.navigation().selectSliceByPoint(ball);
    view.show();
    ASSERT_TRUE(waitFor([&] { return view.isUpToDate(); }));

    const std::vector<std::function<void()>> changes{
        [&] {
            view.panBy({31.0, -22.0});
        },
        [&] {
            view.zoomBy(1.7, {100.0, 130.0});
        },
        [&] {
            view.zoomBy(0.45, {170.0, 90.0});
        },
        [&] { view.navigation().step(0.5); }};
    for (std::size_t change = 0; change < changes.size(); ++change) {
        changes[change]();
        EXPECT_FALSE(view.isUpToDate());
        const QPointF expected = view.worldToWidget(ball);
        const QPointF before = ballIn(view.grab().toImage(), view);
        EXPECT_NEAR(before.x(), expected.x(), 1.2) << "change " << change;
        EXPECT_NEAR(before.y(), expected.y(), 1.2) << "change " << change;
        EXPECT_FALSE(view.isUpToDate()) << "the picture was not the old one";
        view.waitForFrame();
        EXPECT_TRUE(view.isUpToDate());
        const QPointF after = ballIn(view.grab().toImage(), view);
        EXPECT_NEAR(after.x(), expected.x(), 1.2) << "change " << change;
        EXPECT_NEAR(after.y(), expected.y(), 1.2) << "change " << change;
        EXPECT_EQ(view.grabFrame(), view.grab().toImage().convertToFormat(QImage::Format_RGB32));
    }
    // Nothing of an image may be seen once another one is set.
    view.setImage(ballImage({500.0, 0.0, 0.0}));
    view.setWindow(128.0, 256.0);
    EXPECT_EQ(brightSpot(view.grab().toImage()), QPointF(-1.0, -1.0));
}

TEST(PlaneView, DrawsNothingWhileHidden) {
    PlaneView view(ViewDirection::Coronal);
    PlaneView shown(ViewDirection::Coronal);
    for (PlaneView* each : {&view, &shown}) {
        each->resize(200, 150);
        each->setImage(ballImage({30.0, 30.0, 30.0}));
        each->show();
        ASSERT_TRUE(waitFor([&] { return each->isUpToDate(); }));
    }
    view.hide();
    view.navigation().step(2.0);
    shown.navigation().step(2.0); // asked later, and drawn
    ASSERT_TRUE(waitFor([&] { return shown.isUpToDate(); }));
    EXPECT_FALSE(view.isUpToDate());
    view.show();
    EXPECT_TRUE(waitFor([&] { return view.isUpToDate(); }));
}

TEST(PlaneView, RendersTheSameViewInOtherSizes) {
    const Vector3 ball{40.0, 25.0, 29.5};
    PlaneView view(ViewDirection::Axial);
    view.resize(300, 200);
    view.setImage(ballImage(ball));
    view.setWindow(128.0, 256.0);
    view.zoomBy(1.3, {150.0, 100.0});
    const QPointF place = view.worldToWidget(ball) - QPointF(150.0, 100.0);
    for (const QSize& size : {QSize(600, 400), QSize(150, 100), QSize(900, 200), QSize(301, 777)}) {
        const QImage picture = view.renderNow(size);
        savePicture(picture, currentTestName() + QString::number(size.width()));
        ASSERT_EQ(picture.size(), size);
        const double scale = std::min(size.width() / 300.0, size.height() / 200.0);
        const QPointF spot = brightSpot(picture);
        EXPECT_NEAR((spot.x() - 0.5) * size.width(), place.x() * scale, 1.0);
        EXPECT_NEAR((spot.y() - 0.5) * size.height(), place.y() * scale, 1.0);
    }
    EXPECT_TRUE(view.renderNow({0, 10}).isNull());
    view.clear();
    EXPECT_TRUE(view.renderNow({10, 10}).isNull());
}

TEST(PlaneView, ReportsWheelNotchesWhateverTheModifiersDoToThem) {
    PlaneView view(ViewDirection::Axial);
    view.resize(100, 100);
    QSignalSpy notches(&view, &RenderWindowWidget::wheelScrolled);
    const auto turn = [&view](const QPoint& angle, Qt::KeyboardModifiers modifiers) {
        QWheelEvent event(
            {50, 50}, view.mapToGlobal(QPointF(50, 50)), {}, angle, Qt::NoButton, modifiers,
            Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&view, &event);
    };
    turn({0, 120}, Qt::NoModifier);
    turn({-240, 0}, Qt::AltModifier);
    for (int part = 0; part < 9; ++part)
        turn({0, 15}, Qt::ShiftModifier);
    ASSERT_EQ(notches.count(), 3);
    EXPECT_EQ(notches[0][0].toInt(), 1);
    EXPECT_EQ(notches[1][0].toInt(), -2);
    EXPECT_EQ(notches[1][1].value<Qt::KeyboardModifiers>(), Qt::AltModifier);
    EXPECT_EQ(notches[2][0].toInt(), 1);
    EXPECT_EQ(notches[2][1].value<Qt::KeyboardModifiers>(), Qt::ShiftModifier);
}

} // namespace
