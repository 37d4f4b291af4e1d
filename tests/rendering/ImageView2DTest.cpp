#include "imaging/rendering/ImageView2D.h"

#include "tests/rendering/PictureCheck.h"
#include "tests/rendering/SyntheticImage.h"

#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <cmath>

using namespace zorbel::imaging;
using namespace zorbel::imaging::test;

namespace {

ImageGeometry flat(int columns, int rows) {
    return {{columns, rows, 1}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1}};
}

/// Four quarters of different grey: upper left 40, upper right 100, lower left 160, lower right 220.
double quarters(int column, int row, int columns, int rows) {
    return 40.0 + (column >= columns / 2 ? 60.0 : 0.0) + (row >= rows / 2 ? 120.0 : 0.0);
}

std::shared_ptr<const Image> quarterImage(int columns, int rows, ImageMetadata metadata = {}) {
    LevelWindow identity;
    identity.center = 128.0;
    identity.width = 256.0;
    if (metadata.windows.empty())
        metadata.windows = {identity};
    return makeImage<std::uint8_t>(
        flat(columns, rows), VoxelType::UInt8,
        [=](int column, int row, int) { return quarters(column, row, columns, rows); }, metadata);
}

QImage picture(ImageView2D& view) {
    const QImage result = view.grab().toImage().convertToFormat(QImage::Format_RGB32);
    savePicture(result, currentTestName());
    return result;
}

/// Grey at a pixel of the image, read off the picture where the view says that the pixel lies.
int greyAt(const ImageView2D& view, const QImage& shown, double column, double row) {
    const QPointF at = view.imageToWidget({column, row}) * view.devicePixelRatioF();
    return qRed(shown.pixel(static_cast<int>(at.x()), static_cast<int>(at.y())));
}

TEST(ImageView2D, ShowsEveryOrientationAtEverySize) {
    const auto image = quarterImage(300, 200);
    for (const QSize& size : {QSize(150, 130), QSize(301, 233), QSize(1000, 900)}) {
        for (int turn = 0; turn < 8; ++turn) {
            ImageView2D view;
            view.resize(size);
            view.setImage(image);
            ImageOrientation2D orientation;
            for (int quarter = 0; quarter < turn % 4; ++quarter)
                orientation.rotateClockwise();
            if (turn >= 4)
                orientation.mirror();
            view.setOrientation(orientation);
            const QImage shown = picture(view);
            for (const auto& [column, row] : {std::pair{20, 20}, {270, 30}, {40, 170}, {280, 180}}) {
                EXPECT_NEAR(greyAt(view, shown, column, row), quarters(column, row, 300, 200), 1.0)
                    << turn << " " << size.width();
                const QPointF back = view.widgetToImage(view.imageToWidget({1.0 * column, 1.0 * row}));
                EXPECT_NEAR(back.x(), column, 1e-6);
                EXPECT_NEAR(back.y(), row, 1e-6);
            }
        }
    }
    ImageView2D view;
    view.resize(400, 400);
    view.setImage(image);
    // A quarter turn clockwise brings the upper left to the upper right of the screen.
    ImageOrientation2D clockwise;
    clockwise.rotateClockwise();
    view.setOrientation(clockwise);
    const QImage shown = picture(view);
    const double ratio = view.devicePixelRatioF();
    EXPECT_NEAR(qRed(shown.pixel(QPoint(260, 60) * ratio)), 40, 1);
    EXPECT_NEAR(qRed(shown.pixel(QPoint(260, 340) * ratio)), 100, 1);
    EXPECT_NEAR(qRed(shown.pixel(QPoint(140, 60) * ratio)), 160, 1);
}

TEST(ImageView2D, ShowsPixelsInTheirTrueProportions) {
    ImageMetadata metadata;
    metadata.pixelAspectRatio = 2.0; // pixels twice as high as wide
    ImageView2D view;
    view.resize(400, 400);
    view.setImage(quarterImage(100, 100, metadata));
    const QPointF upperLeft = view.imageToWidget({-0.5, -0.5});
    const QPointF lowerRight = view.imageToWidget({99.5, 99.5});
    EXPECT_NEAR(lowerRight.y() - upperLeft.y(), 400.0, 1e-6);
    EXPECT_NEAR(lowerRight.x() - upperLeft.x(), 200.0, 1e-6);
    EXPECT_NEAR(greyAt(view, picture(view), 90, 90), 220, 1);
}

TEST(ImageView2D, MapsByTheFilesOwnFunction) {
    const auto ramp = [](int column, int, int) { return column * 16.0; };
    VoiTable table;
    table.firstMapped = 1000.0;
    table.bits = 12;
    for (int entry = 0; entry < 2048; ++entry)
        table.entries.push_back(static_cast<std::uint16_t>(4095 - entry * 2));
    for (const auto function : {VoiFunction::Linear, VoiFunction::LinearExact, VoiFunction::Sigmoid}) {
        for (const bool withTable : {false, true}) {
            for (const bool inverted : {false, true}) {
                const LevelWindow window{2000.0, 1500.0, function, {}};
                ImageMetadata metadata;
                metadata.windows = {window};
                metadata.inverted = inverted;
                if (withTable)
                    metadata.voiTables = {table};
                ImageView2D view;
                view.resize(256, 16);
                view.setImage(makeImage<std::int16_t>(flat(256, 16), VoxelType::Int16, ramp, metadata));
                const QImage shown = picture(view);
                for (int column = 0; column < 256; column += 5) {
                    const double grey =
                        withTable ? applyTable(table, column * 16.0) : applyWindow(window, column * 16.0);
                    ASSERT_NEAR(qRed(shown.pixel(column, 8)), 255.0 * (inverted ? 1.0 - grey : grey), 1.01)
                        << "column " << column;
                }
                view.setInverted(true);
                view.setWindow(1000.0, 500.0);
                const double grey = applyWindow({1000.0, 500.0, VoiFunction::Linear, {}}, 60 * 16.0);
                EXPECT_NEAR(qRed(picture(view).pixel(60, 8)), 255.0 * (inverted ? grey : 1.0 - grey), 1.01);
            }
        }
    }
}

TEST(ImageView2D, ShowsEachImageOfASetAsItIs) {
    ImageMetadata negative;
    negative.inverted = true;
    LevelWindow window;
    window.center = 64.0;
    window.width = 128.0;
    ImageMetadata bright;
    bright.windows = {window};
    const std::vector<std::shared_ptr<const Image>> members{
        quarterImage(100, 50), quarterImage(40, 80, negative), quarterImage(100, 80, bright)};
    std::shared_ptr<std::byte[]> voxels(new std::byte[100 * 80 * 3]());
    const auto set = std::make_shared<const Image>(
        ImageGeometry({100, 80, 3}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1}), VoxelType::UInt8, 1, voxels,
        100 * 80 * 3, members.front()->metadata(), members);
    ImageView2D view;
    view.resize(400, 400);
    view.setImage(set);
    ASSERT_EQ(view.sliceCount(), 3);
    EXPECT_NEAR(view.scale(), 4.0, 1e-9);
    EXPECT_NEAR(greyAt(view, picture(view), 75, 40), 220, 1);
    view.setSlice(1);
    EXPECT_NEAR(view.scale(), 5.0, 1e-9) << "fitted in its own size";
    EXPECT_NEAR(greyAt(view, picture(view), 30, 70), 255 - 220, 1);
    view.setSlice(2);
    EXPECT_NEAR(greyAt(view, picture(view), 20, 20), 80, 2) << "by its own window";
    view.setWindow(128.0, 256.0); // the reader's holds for all
    view.setSlice(0);
    view.setSlice(2);
    EXPECT_NEAR(greyAt(view, picture(view), 20, 20), 40, 1);
}

TEST(ImageView2D, AveragesWhatItShrinks) {
    // A checkerboard of single pixels must become even grey and not a pattern of its own.
    ImageMetadata metadata;
    LevelWindow identity;
    identity.center = 128.0;
    identity.width = 256.0;
    metadata.windows = {identity};
    const auto image = makeImage<std::uint8_t>(
        flat(1500, 1200), VoxelType::UInt8,
        [](int column, int row, int) { return (column + row) % 2 == 0 ? 0.0 : 200.0; }, metadata);
    for (const int width : {187, 400, 731}) {
        ImageView2D view;
        view.resize(width, width * 4 / 5);
        view.setImage(image);
        const QImage shown = picture(view);
        for (int y = 10; y < shown.height() - 10; y += 3) {
            for (int x = 10; x < shown.width() - 10; x += 3)
                ASSERT_NEAR(qRed(shown.pixel(x, y)), 100, width > 700 ? 30 : 3) << width;
        }
    }
}

TEST(ImageView2D, ShowsColoursAndZoomsAtThePointer) {
    const auto image = makeImage<std::uint8_t>(
        flat(60, 40), VoxelType::UInt8,
        [](int value, int row, int) {
            const int column = value / 3;
            return value % 3 == 0 ? 4.0 * column : value % 3 == 1 ? 6.0 * row : 77.0;
        },
        {}, 3);
    ImageView2D view;
    view.resize(300, 200);
    view.setImage(image);
    const QPointF anchor(210.0, 60.0);
    const QPointF held = view.widgetToImage(anchor);
    QWheelEvent turn(
        anchor, view.mapToGlobal(anchor), {}, {0, 240}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
        false);
    QCoreApplication::sendEvent(&view, &turn);
    EXPECT_GT(view.scale(), 5.5);
    EXPECT_NEAR(view.imageToWidget(held).x(), anchor.x(), 1e-6);
    EXPECT_NEAR(view.imageToWidget(held).y(), anchor.y(), 1e-6);
    const QRgb colour = picture(view).pixel((anchor * view.devicePixelRatioF()).toPoint());
    EXPECT_NEAR(qRed(colour), 4.0 * held.x(), 2.0);
    EXPECT_NEAR(qGreen(colour), 6.0 * held.y(), 2.0);
    EXPECT_NEAR(qBlue(colour), 77.0, 1.0);
    view.fitToView();
    EXPECT_NEAR(view.scale(), 5.0, 1e-9);
}

} // namespace
