#include "imaging/rendering/RenderWindowWidget.h"

#include "imaging/rendering/OpenGlCapabilities.h"
#include "imaging/rendering/PlaneView.h"
#include "imaging/rendering/VolumeView.h"

#include "tests/rendering/PictureCheck.h"
#include "tests/rendering/SyntheticImage.h"
#include "tests/support/Waiting.h"

#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace zorbel::imaging;
using namespace zorbel::imaging::test;
using zorbel::test::waitFor;

namespace {

/// A dense ball that fills most of the volume.
std::shared_ptr<const Image> brightImage(int side = 32) {
    const ImageGeometry geometry({side, side, side}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    const Vector3 center = geometry.center();
    ImageMetadata metadata;
    metadata.hounsfieldUnits = true;
    LevelWindow window;
    window.center = 1000.0;
    window.width = 2000.0;
    metadata.windows = {window};
    return makeImage<std::int16_t>(
        geometry, VoxelType::Int16,
        [&](int column, int row, int slice) {
            return length(Vector3{1.0 * column, 1.0 * row, 1.0 * slice} - center) < 0.4 * side ? 1500.0 : 0.0;
        },
        metadata);
}

int middleGrey(const QImage& picture) {
    return qGray(picture.pixel(picture.width() / 2, picture.height() / 2));
}

TEST(RenderWindowWidget, LivesThroughEverythingALayoutDoesToIt) {
    auto window = std::make_unique<QWidget>();
    auto other = std::make_unique<QWidget>();
    auto* grid = new QGridLayout(window.get());
    new QGridLayout(other.get());
    window->resize(500, 400);
    other->resize(300, 300);
    auto* plane = new PlaneView(ViewDirection::Axial);
    auto* volume = new VolumeView;
    grid->addWidget(plane, 0, 0);
    grid->addWidget(volume, 0, 1);
    window->show();
    other->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    EXPECT_EQ(middleGrey(plane->grabFrame()), 0) << "without an image";

    const auto image = brightImage();
    plane->setImage(image);
    volume->setImage(image);
    EXPECT_GT(middleGrey(plane->grabFrame()), 150);

    plane->hide();
    plane->setWindow(1000.0, 1900.0);
    plane->show();
    grid->removeWidget(plane);
    grid->addWidget(plane, 1, 0, 1, 2);
    EXPECT_GT(middleGrey(plane->grabFrame()), 150) << "in another cell";

    // Another window: Qt takes the context away and makes a new one.
    for (int move = 0; move < 3; ++move) {
        QWidget* target = move % 2 == 0 ? other.get() : window.get();
        target->layout()->addWidget(plane);
        target->layout()->addWidget(volume);
        QCoreApplication::processEvents();
        EXPECT_GT(middleGrey(plane->grabFrame()), 150) << "after move " << move;
    }
    ASSERT_TRUE(waitFor([&] { return volume->isReady(); }));
    EXPECT_GT(middleGrey(volume->grabFrame()), 30);

    for (const QSize& size : {QSize(1, 1), QSize(2, 300), QSize(0, 0), QSize(301, 199)}) {
        plane->setFixedSize(size);
        volume->setFixedSize(size);
        QCoreApplication::processEvents();
        plane->grabFrame();
        volume->grabFrame();
    }
    EXPECT_GT(middleGrey(plane->grabFrame()), 150) << "after tiny sizes";
    // Image first, then view; and a view that goes while its volume is being prepared.
    plane->clear();
    EXPECT_EQ(middleGrey(plane->grabFrame()), 0);
    volume->setImage(brightImage(64));
    window.reset();
    other.reset();
}

/// A half-transparent child, as the overlays of the viewer are.
class Veil : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(0, 0, width() / 2, height(), QColor(255, 0, 0, 128));
    }
};

TEST(RenderWindowWidget, ComposesTransparentChildrenOnTop) {
    PlaneView plane(ViewDirection::Axial);
    plane.resize(200, 200);
    auto* veil = new Veil(&plane);
    veil->setAttribute(Qt::WA_TransparentForMouseEvents);
    veil->resize(200, 200);
    plane.setImage(brightImage());
    QSignalSpy frames(&plane, &RenderWindowWidget::frameRendered);
    plane.show();
    ASSERT_TRUE(waitFor([&] { return plane.isUpToDate() && frames.count() > 0; }));
    const QImage grabbed = plane.grab().toImage();
    savePicture(grabbed, currentTestName() + QStringLiteral("-grab"));
    const QImage screen = plane.screen()->grabWindow(plane.winId()).toImage();
    savePicture(screen, currentTestName() + QStringLiteral("-screen"));
    for (const QImage& picture : {grabbed, screen}) {
        ASSERT_FALSE(picture.isNull());
        const QRgb veiled = picture.pixel(QPoint(60, 100) * plane.devicePixelRatioF());
        const QRgb bare = picture.pixel(QPoint(140, 100) * plane.devicePixelRatioF());
        EXPECT_GT(qRed(bare), 150);
        EXPECT_EQ(qRed(bare), qGreen(bare));
        EXPECT_NEAR(qGreen(veiled), qGreen(bare) * 127 / 255, 3);
        EXPECT_GT(qRed(veiled), qRed(bare));
    }
    // The pointer passes the surface inside and reaches the widget.
    QSignalSpy clicks(&plane, &RenderWindowWidget::doubleClicked);
    QTest::mouseDClick(plane.windowHandle(), Qt::LeftButton, Qt::NoModifier, {150, 50});
    ASSERT_EQ(clicks.count(), 1);
    EXPECT_EQ(clicks[0][0].toPointF(), QPointF(150, 50));
}

} // namespace
