#include "imaging/rendering/VolumeView.h"

#include "tests/rendering/PictureCheck.h"
#include "tests/rendering/SyntheticImage.h"
#include "tests/support/Waiting.h"

#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <vector>

using namespace zorbel::imaging;
using namespace zorbel::imaging::test;
using zorbel::test::waitFor;

namespace {

/// A dense ball off the middle inside soft tissue, in a volume stored in an arbitrary direction.
template <class T>
std::shared_ptr<const Image> ballImage(
    const ImageGeometry& geometry, VoxelType type, const Vector3& fromCenter, double air, double tissue,
    double bone, bool hounsfield) {
    const Vector3 center = geometry.center();
    ImageMetadata metadata;
    metadata.hounsfieldUnits = hounsfield;
    return makeImage<T>(
        geometry, type,
        [&](int column, int row, int slice) {
            const Vector3 offset =
                geometry.indexToWorld(
                    {static_cast<double>(column), static_cast<double>(row), static_cast<double>(slice)}) -
                center;
            const double noise = (column * 7 + row * 13 + slice * 29) % 11 / 11.0 * (tissue - air) * 0.1;
            if (length(offset - fromCenter) < 9.0)
                return bone + noise;
            return (length(offset) < 30.0 ? tissue : air) + noise;
        },
        metadata);
}

struct Spot {
    QPointF position; ///< from the picture's middle, in halves of its size
    int brightest = 0;
    double lit = 0.0; ///< part of the picture that is not black
};

Spot spotOf(const QImage& picture) {
    Spot spot;
    double x = 0.0;
    double y = 0.0;
    double sum = 0.0;
    int lit = 0;
    for (int row = 0; row < picture.height(); ++row) {
        for (int column = 0; column < picture.width(); ++column) {
            const int grey = qGray(picture.pixel(column, row));
            spot.brightest = std::max(spot.brightest, grey);
            lit += grey > 20 ? 1 : 0;
            const double weight = grey > 60 ? grey : 0.0;
            x += weight * column;
            y += weight * row;
            sum += weight;
        }
    }
    if (sum > 0.0)
        spot.position = {
            x / sum / picture.width() * 2.0 - 1.0 + 1.0 / picture.width(),
            y / sum / picture.height() * 2.0 - 1.0 + 1.0 / picture.height()};
    spot.lit = static_cast<double>(lit) / (picture.width() * picture.height());
    return spot;
}

QImage stillPicture(VolumeView& view) {
    QSignalSpy still(&view, &VolumeView::stillFrameRendered);
    EXPECT_TRUE(waitFor(still));
    const QImage picture = view.grabFrame();
    savePicture(picture, currentTestName());
    return picture;
}

ImageGeometry cube(const Vector3& row, const Vector3& column) {
    return {{64, 64, 64}, {5.0, -7.0, 11.0}, row, column, {1.0, 1.0, 1.0}};
}

class VolumeSides : public testing::TestWithParam<int> {};

TEST_P(VolumeSides, ShowTheMarkerWhereItLies) {
    const std::array<ImageGeometry, 4> geometries{
        cube({1, 0, 0}, {0, 1, 0}), cube({-1, 0, 0}, {0, 1, 0}), cube({0, 0, 1}, {1, 0, 0}),
        obliqueGeometry({64, 64, 64}, {1.0, 1.0, 1.0}, 10.0, -14.0, 0.3)};
    const auto image = ballImage<std::int16_t>(
        geometries[static_cast<std::size_t>(GetParam())], VoxelType::Int16, {16.0, -4.0, 14.0}, -1000.0, 40.0,
        1500.0, true);
    VolumeView view;
    view.resize(300, 300);
    view.show();
    view.setPreset(VolumePreset::CtBone);
    view.setImage(image);
    // From the front: the patient's left on the right, the head above.
    const Spot front = spotOf(stillPicture(view));
    EXPECT_EQ(view.orientationLabels(), (OrientationLabels{"R", "L", "H", "F"}));
    EXPECT_GT(front.brightest, 120);
    EXPECT_GT(front.position.x(), 0.25);
    EXPECT_LT(front.position.y(), -0.2);
    // Soft tissue hides nothing: little more than the ball is drawn.
    EXPECT_LT(front.lit, 0.15);

    // The front turned to the right brings the left side behind: the ball passes to the viewer's left.
    view.rotateBy(180.0, 0.0);
    EXPECT_EQ(view.orientationLabels(), (OrientationLabels{"L", "R", "H", "F"}));
    const Spot back = spotOf(stillPicture(view));
    EXPECT_LT(back.position.x(), -0.25);
    EXPECT_LT(back.position.y(), -0.2);
    view.resetCamera();
    view.zoomBy(0.5);
    const Spot small = spotOf(stillPicture(view));
    EXPECT_NEAR(small.position.x(), front.position.x() / 2.0, 0.03);
    EXPECT_NEAR(small.position.y(), front.position.y() / 2.0, 0.03);
}

INSTANTIATE_TEST_SUITE_P(Directions, VolumeSides, testing::Range(0, 4));

TEST(VolumeView, DrawsEveryVoxelType) {
    const ImageGeometry geometry = cube({1, 0, 0}, {0, 1, 0});
    const Vector3 place{16.0, 0.0, 14.0};
    // Grey values without a unit, at places where a threshold for Hounsfield units would find nothing or all.
    const std::vector<std::shared_ptr<const Image>> images{
        ballImage<std::uint8_t>(geometry, VoxelType::UInt8, place, 10.0, 60.0, 200.0, false),
        ballImage<std::int8_t>(geometry, VoxelType::Int8, place, -100.0, -40.0, 100.0, false),
        ballImage<std::uint16_t>(geometry, VoxelType::UInt16, place, 20000.0, 30000.0, 50000.0, false),
        ballImage<std::int32_t>(geometry, VoxelType::Int32, place, 100000.0, 200000.0, 600000.0, false),
        ballImage<std::uint32_t>(geometry, VoxelType::UInt32, place, 100.0, 1000.0, 3000.0, false),
        ballImage<float>(geometry, VoxelType::Float32, place, 0.0, 0.2, 0.9, false)};
    VolumeView view;
    view.resize(160, 160);
    view.show();
    view.setPreset(VolumePreset::CtBone);
    for (const auto& image : images) {
        view.setImage(image);
        const Spot spot = spotOf(stillPicture(view));
        const auto type = voxelTypeName(image->voxelType());
        EXPECT_GT(spot.brightest, 100) << type;
        EXPECT_GT(spot.position.x(), 0.25) << type;
        EXPECT_LT(spot.position.y(), -0.2) << type;
        EXPECT_LT(spot.lit, 0.2) << type;
        EXPECT_TRUE(view.notice().isEmpty()) << view.notice().toStdString();
    }
}

TEST(VolumeView, SaysWhyItShowsNothingOrLess) {
    VolumeView view;
    view.resize(200, 200);
    view.show();
    const ImageGeometry flat({64, 64, 1}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    view.setImage(
        makeImage<std::int16_t>(flat, VoxelType::Int16, [](int column, int, int) { return column; }));
    EXPECT_EQ(view.notice(), QStringLiteral("3D rendering unavailable for non-volumetric data"));
    EXPECT_FALSE(view.isReady());

    const ImageGeometry longer({8, 8, 400}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    view.setImage(makeImage<std::int16_t>(
        longer, VoxelType::Int16, [](int column, int, int slice) { return column * 100 + slice; }));
    QSignalSpy ready(&view, &VolumeView::volumeReady);
    ASSERT_TRUE(waitFor(ready));
    EXPECT_TRUE(view.notice().startsWith(QStringLiteral("The 3D view shows a coarser copy")))
        << "software OpenGL";
    view.clear();
    EXPECT_TRUE(view.notice().isEmpty());
}

TEST(VolumeView, TurnsWithTheDragAndRefinesAtRest) {
    VolumeView view;
    view.resize(240, 240);
    view.show();
    view.setPreset(VolumePreset::CtBone);
    view.setImage(ballImage<std::int16_t>(
        cube({1, 0, 0}, {0, 1, 0}), VoxelType::Int16, {16.0, -12.0, 0.0}, -1000.0, 40.0, 1500.0, true));
    const Spot before = spotOf(stillPicture(view));
    QSignalSpy still(&view, &VolumeView::stillFrameRendered);
    QTest::mousePress(&view, Qt::LeftButton, Qt::NoModifier, {120, 120});
    QMouseEvent drag(
        QEvent::MouseMove, QPointF(160, 120), view.mapToGlobal(QPointF(160, 120)), Qt::NoButton,
        Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &drag);
    QTest::mouseRelease(&view, Qt::LeftButton, Qt::NoModifier, {160, 120});
    ASSERT_TRUE(waitFor(still));
    // What lies in front follows the pointer.
    EXPECT_GT(spotOf(view.grabFrame()).position.x(), before.position.x() + 0.1);
}

TEST(VolumeView, ComesBackFromEveryRefusalOfTheGraphicsCard) {
    // A graphics card that takes volumes of up to 64 voxels a side whatever it says about itself, and then
    // none at all.
    bool takesSome = true;
    VolumeLimits limits;
    limits.fits = [&](const std::array<int, 3>& dimensions, VoxelType) {
        return takesSome && *std::max_element(dimensions.begin(), dimensions.end()) <= 64;
    };
    VolumeView view(nullptr, limits);
    view.resize(200, 200);
    view.show();
    view.setPreset(VolumePreset::CtBone);
    const ImageGeometry geometry({128, 128, 128}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0.5, 0.5, 0.5});
    const auto image =
        ballImage<std::int16_t>(geometry, VoxelType::Int16, {16.0, -4.0, 14.0}, -1000.0, 40.0, 1500.0, true);
    for (int study = 0; study < 3; ++study) {
        view.setImage(image);
        const Spot spot = spotOf(stillPicture(view));
        EXPECT_GT(spot.brightest, 120) << "study " << study;
        EXPECT_GT(spot.position.x(), 0.2) << "study " << study;
        EXPECT_TRUE(view.notice().startsWith(QStringLiteral("The 3D view shows a coarser copy"))) << study;
    }
    takesSome = false;
    QSignalSpy noticed(&view, &VolumeView::noticeChanged);
    view.setImage(image);
    EXPECT_TRUE(waitFor([&] {
        return view.notice() == QStringLiteral("The 3D view could not be drawn: there is not enough memory.");
    }));
    EXPECT_FALSE(view.isReady());
    takesSome = true;
    view.setImage(image);
    EXPECT_GT(spotOf(stillPicture(view)).brightest, 120);

    limits = {};
    limits.maxBytes = 64 * 64 * 64 * 2;
    VolumeView small(nullptr, limits);
    small.resize(200, 200);
    small.show();
    small.setImage(image);
    stillPicture(small);
    EXPECT_TRUE(small.notice().startsWith(QStringLiteral("The 3D view shows a coarser copy")));
}

TEST(VolumeView, ShowsTheBodyAndNotTheAirInEveryPresetAndProjection) {
    const auto image = ballImage<std::uint16_t>(
        cube({1, 0, 0}, {0, 1, 0}), VoxelType::UInt16, {8.0, -20.0, 8.0}, 100.0, 1100.0, 2600.0, false);
    VolumeView view;
    view.resize(160, 160);
    view.show();
    view.setImage(image);
    QImage last = stillPicture(view);
    const OrientationLabels letters = view.orientationLabels();
    const auto add = [&](std::string_view name) {
        const QImage picture = stillPicture(view);
        savePicture(
            picture, currentTestName() + QString::fromUtf8(name.data(), static_cast<int>(name.size())));
        const Spot spot = spotOf(picture);
        EXPECT_GT(spot.brightest, 60) << name;
        EXPECT_GT(spot.lit, 0.02) << name << ": black";
        EXPECT_LT(spot.lit, 0.85) << name << ": the air around shows";
        EXPECT_NE(picture, last) << name;
        last = picture;
    };
    for (std::size_t preset = 1; preset < volumePresetNames.size(); ++preset) {
        view.setPreset(static_cast<VolumePreset>(preset));
        add(volumePresetNames[preset]);
    }
    for (std::size_t mode = 1; mode < volumeBlendModeNames.size(); ++mode) {
        view.setBlendMode(static_cast<VolumeBlendMode>(mode));
        add(volumeBlendModeNames[mode]);
    }
    EXPECT_EQ(view.orientationLabels(), letters);
}

TEST(VolumeView, CastsNoRaysWhenOffAndKeepsThePictureWhenPaused) {
    VolumeView view;
    view.resize(160, 160);
    view.show();
    view.setPreset(VolumePreset::CtBone);
    view.setImage(ballImage<std::int16_t>(
        cube({1, 0, 0}, {0, 1, 0}), VoxelType::Int16, {16.0, -12.0, 0.0}, -1000.0, 40.0, 1500.0, true));
    const QImage shown = stillPicture(view);
    view.setPaused(true);
    view.rotateBy(90.0, 0.0);
    EXPECT_EQ(view.grabFrame(), shown);
    view.setPaused(false);
    EXPECT_NE(stillPicture(view), shown);
    view.setRenderingEnabled(false);
    EXPECT_EQ(spotOf(view.grabFrame()).brightest, 0);
    EXPECT_TRUE(view.isEnabled()) << "the widget itself";
    view.setRenderingEnabled(true);
    EXPECT_GT(spotOf(stillPicture(view)).brightest, 120);
}

TEST(PictureTiles, CoverThePictureOnce) {
    for (const double pixels : {100.0, 2000.0, 5000.0, 40000.0, 1e7}) {
        const QSize size(301, 233);
        QImage covered(size, QImage::Format_Grayscale8);
        covered.fill(0);
        PictureTiles tiles(size);
        while (!tiles.isDone()) {
            const QRect part = tiles.next(pixels);
            ASSERT_FALSE(part.isEmpty());
            EXPECT_LE(part.width() * part.height(), 1.3 * std::max(pixels, 256.0));
            for (int row = part.top(); row <= part.bottom(); ++row)
                for (int column = part.left(); column <= part.right(); ++column)
                    ++covered.scanLine(row)[column];
        }
        EXPECT_TRUE(tiles.next(pixels).isEmpty());
        QImage once(size, QImage::Format_Grayscale8);
        once.fill(1);
        EXPECT_EQ(covered, once) << pixels;
    }
}

} // namespace
