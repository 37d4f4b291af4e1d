#include "imaging/rendering/ImageView2D.h"
#include "imaging/rendering/PlaneView.h"
#include "tests/rendering/SyntheticImage.h"
#include "viewer/image/ImageController.h"
#include "viewer/mpr/MprController.h"
#include "viewer/workspace/LoadingOverlay.h"
#include "viewer/workspace/ViewerWorkspace.h"
#include "viewer/workspace/ViewportFrame.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <QWheelEvent>

#include <gtest/gtest.h>

namespace zorbel {
namespace {

using imaging::ImageGeometry;
using imaging::VoxelType;

std::shared_ptr<const imaging::Image> volume(int slices, double sliceStep = 1.0) {
    const ImageGeometry geometry(
        {40, 30, slices}, {0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {1.0, 1.0, sliceStep});
    imaging::ImageMetadata metadata;
    metadata.patientName = "Test Patient";
    return imaging::test::makeImage<std::int16_t>(
        geometry, VoxelType::Int16, [](int x, int y, int z) { return x + y * 2 + z * 3; }, metadata);
}

void turnWheel(QWidget* view, int notches, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    const QPointF position = view->rect().center();
    // Qt turns a wheel with Alt held into a horizontal one.
    const QPoint angle =
        modifiers.testFlag(Qt::AltModifier) ? QPoint(120 * notches, 0) : QPoint(0, 120 * notches);
    QWheelEvent event(
        position, view->mapToGlobal(position), QPoint(), angle, Qt::NoButton, modifiers, Qt::NoScrollPhase,
        false);
    QApplication::sendEvent(view, &event);
}

class ViewerWorkspaceTest : public testing::Test {
protected:
    ViewerWorkspaceTest() {
        workspace_.resize(1100, 800);
        workspace_.show();
    }
    bool show(const std::shared_ptr<const imaging::Image>& image) {
        QSignalSpy drawn(&workspace_, &ViewerWorkspace::imageDrawn);
        workspace_.showVolume(
            {QStringLiteral("1.2"), QStringLiteral("Doe"), QStringLiteral("CT"), QString()}, image);
        return drawn.wait(30000);
    }
    template <class Widget>
    Widget* child(const char* name) {
        return workspace_.findChild<Widget*>(QString::fromLatin1(name));
    }
    QString sliceLabel(const char* viewport) {
        return child<ViewportFrame>(viewport)->findChild<QLabel*>(QStringLiteral("sliceLabel"))->text();
    }

    ViewerWorkspace workspace_;
};

TEST_F(ViewerWorkspaceTest, startsEmptyAndReturnsThere) {
    const auto texts = [this] {
        return QStringList{
            child<QLabel>("viewerTitle")->text(),
            child<QLabel>("studyChip")->text(),
            sliceLabel("axialViewport"),
            sliceLabel("coronalViewport"),
            sliceLabel("sagittalViewport"),
            sliceLabel("volumeViewport"),
            child<QLabel>("orientationChip")->text(),
            child<QLabel>("toneChip")->text()};
    };
    const QStringList reset{QStringLiteral("No study selected"), QStringLiteral("No study loaded"),
                            QStringLiteral("Axial 1/1"),         QStringLiteral("Coronal 1/1"),
                            QStringLiteral("Sagittal 1/1"),      QStringLiteral("GPU volume rendering ready"),
                            QStringLiteral("Original view"),     QStringLiteral("Normal tones")};
    EXPECT_EQ(texts(), reset);
    EXPECT_FALSE(child<QToolButton>("rail-next")->isEnabled());
    ASSERT_TRUE(show(volume(20)));
    EXPECT_EQ(workspace_.viewMode(), ViewMode::Mpr);
    EXPECT_EQ(child<QLabel>("modeChip")->text(), QStringLiteral("MPR · 3D volume"));
    EXPECT_NE(texts(), reset);
    workspace_.reset();
    EXPECT_EQ(texts(), reset);
}

TEST_F(ViewerWorkspaceTest, scrollsByWheelAndButtonsInTheActivePlane) {
    ASSERT_TRUE(show(volume(60)));
    auto* axial = child<imaging::PlaneView>("axialView");
    const auto position = [axial] { return axial->navigation().slicePosition(); };
    const double start = position();
    turnWheel(axial, 2);
    EXPECT_DOUBLE_EQ(position(), start + 2.0);
    turnWheel(axial, -1, Qt::ShiftModifier);
    EXPECT_DOUBLE_EQ(position(), start - 8.0);
    turnWheel(axial, 1, Qt::AltModifier);
    EXPECT_DOUBLE_EQ(position(), start - 7.9);

    // With the crosshair tool a click would move the crosshair, and the axial plane with it.
    workspace_.perform(ShortcutAction::SelectTool, static_cast<int>(Tool::WindowLevel));
    const QString before = sliceLabel("coronalViewport");
    QTest::mouseClick(child<QWidget>("coronalView"), Qt::LeftButton);
    EXPECT_EQ(workspace_.layout().activeViewport(), CoronalViewport);
    EXPECT_TRUE(child<QToolButton>("rail-coronal")->isChecked());
    QTest::mouseClick(child<QToolButton>("rail-next"), Qt::LeftButton);
    EXPECT_NE(sliceLabel("coronalViewport"), before);
    QTest::mouseClick(child<QToolButton>("rail-prev"), Qt::LeftButton);
    EXPECT_EQ(sliceLabel("coronalViewport"), before);
    EXPECT_DOUBLE_EQ(position(), start - 7.9);
    QTest::mouseClick(child<QToolButton>("rail-reset"), Qt::LeftButton);
    EXPECT_DOUBLE_EQ(position(), start);
}

TEST_F(ViewerWorkspaceTest, zoomsWithTheRightButtonAndMovesWithTheMiddleOne) {
    ASSERT_TRUE(show(volume(20)));
    auto* axial = child<imaging::PlaneView>("axialView");
    const QPoint anchor(100, 80);
    const auto below = axial->widgetToWorld(anchor);
    const double scale = axial->millimetresPerPixel();
    QTest::mousePress(axial, Qt::RightButton, Qt::NoModifier, anchor);
    QTest::mouseMove(axial, anchor - QPoint(0, 60));
    QTest::mouseRelease(axial, Qt::RightButton, Qt::NoModifier, anchor - QPoint(0, 60));
    EXPECT_LT(axial->millimetresPerPixel(), scale * 0.8);
    EXPECT_NEAR(axial->worldToWidget(below).x(), anchor.x(), 0.5);
    EXPECT_NEAR(axial->worldToWidget(below).y(), anchor.y(), 0.5);

    QTest::mousePress(axial, Qt::MiddleButton, Qt::NoModifier, anchor);
    QTest::mouseMove(axial, anchor + QPoint(15, -7));
    QTest::mouseRelease(axial, Qt::MiddleButton, Qt::NoModifier, anchor + QPoint(15, -7));
    EXPECT_NEAR(axial->worldToWidget(below).x(), anchor.x() + 15, 0.5);
    EXPECT_NEAR(axial->worldToWidget(below).y(), anchor.y() - 7, 0.5);
}

TEST_F(ViewerWorkspaceTest, showsEveryFrameOfA2DImage) {
    QSignalSpy drawn(&workspace_, &ViewerWorkspace::imageDrawn);
    const auto kind = StudyClassification::classify(QStringLiteral("US"), QString());
    workspace_.showImage({QStringLiteral("1"), QString(), QStringLiteral("US"), QString()}, volume(3), kind);
    ASSERT_TRUE(drawn.count() > 0 || drawn.wait(20000));
    EXPECT_EQ(child<QLabel>("viewerTitle")->text(), QStringLiteral("Unnamed patient"));
    EXPECT_EQ(child<QLabel>("modeChip")->text(), QStringLiteral("2D review"));
    EXPECT_EQ(sliceLabel("imageViewport"), QStringLiteral("Frame 1/3"));
    const auto* view = child<imaging::ImageView2D>("imageView");
    const QImage first = child<QWidget>("imageView")->grab().toImage();
    workspace_.perform(ShortcutAction::StepSlices, 1);
    EXPECT_EQ(view->slice(), 1);
    EXPECT_EQ(sliceLabel("imageViewport"), QStringLiteral("Frame 2/3"));
    EXPECT_NE(child<QWidget>("imageView")->grab().toImage(), first);
    workspace_.perform(ShortcutAction::StepSlices, 10);
    EXPECT_EQ(view->slice(), 2);
}

TEST_F(ViewerWorkspaceTest, keepsTheLoadingOverlayInTheMiddleAndItsCancelInReach) {
    auto& overlay = workspace_.loadingOverlay();
    overlay.showStage(QStringLiteral("Title"), QStringLiteral("Detail"), 1, 4);
    QSignalSpy cancelled(&overlay, &LoadingOverlay::cancelRequested);
    QTest::mouseClick(child<QPushButton>("loadingCancel"), Qt::LeftButton);
    EXPECT_EQ(cancelled.count(), 1);
    workspace_.resize(900, 600);
    QTest::qWait(50);
    EXPECT_LE((overlay.geometry().center() - overlay.parentWidget()->rect().center()).manhattanLength(), 2);
}

} // namespace
} // namespace zorbel
