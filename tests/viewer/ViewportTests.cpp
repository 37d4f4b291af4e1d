#include "tests/viewer/ReadingWindowTest.h"

#include "imaging/rendering/ImageView2D.h"
#include "viewer/workspace/LoadingOverlay.h"
#include "viewer/workspace/ViewportFrame.h"

#include <QPushButton>

namespace zorbel {
namespace {

class Viewports : public test::ReadingWindowTest {
protected:
    std::string sliceLabel(const char* viewport) {
        return child<ViewportFrame>(QString::fromLatin1(viewport))
            ->findChild<QLabel*>(QStringLiteral("sliceLabel"))
            ->text()
            .toStdString();
    }
};

TEST_F(Viewports, nameNoPatientAfterTheStudyIsClosed) {
    const auto texts = [this] {
        return std::vector<std::string>{
            text("viewerTitle"), text("viewerSubtitle"), text("studyChip"), sliceLabel("axialViewport"),
            sliceLabel("volumeViewport")};
    };
    const auto empty = texts();
    EXPECT_EQ(empty[0], "No study selected");
    EXPECT_FALSE(child<QToolButton>(QStringLiteral("rail-next"))->isEnabled());
    showVolume();
    EXPECT_EQ(text("viewerTitle"), "Doe");
    workspace_->reset();
    EXPECT_EQ(texts(), empty);
}

TEST_F(Viewports, scrollByButtonsInTheActivePlane) {
    showVolume();
    press(Qt::Key_W); // with the crosshair tool a click would move the crosshair, and the axial plane with it
    const std::string axial = sliceLabel("axialViewport");
    const std::string coronal = sliceLabel("coronalViewport");
    QTest::mouseClick(&tools(1), Qt::LeftButton);
    EXPECT_EQ(layout().activeViewport(), CoronalViewport);
    click("rail-next");
    EXPECT_NE(sliceLabel("coronalViewport"), coronal);
    click("rail-prev");
    EXPECT_EQ(sliceLabel("coronalViewport"), coronal);
    click("rail-next");
    EXPECT_EQ(sliceLabel("axialViewport"), axial);
    click("rail-reset");
    EXPECT_EQ(sliceLabel("coronalViewport"), coronal);
}

TEST_F(Viewports, zoomWithTheRightButtonAndMoveWithTheMiddleOne) {
    showVolume();
    auto& axial = view(0);
    const QPoint anchor(100, 80);
    const auto below = axial.widgetToWorld(anchor);
    const double scale = axial.millimetresPerPixel();
    const auto drag = [&](Qt::MouseButton button, const QPoint& way) {
        QTest::mousePress(&tools(0), button, Qt::NoModifier, anchor);
        QTest::mouseMove(&tools(0), anchor + way);
        QTest::mouseRelease(&tools(0), button, Qt::NoModifier, anchor + way);
    };
    drag(Qt::RightButton, {0, -60});
    EXPECT_LT(axial.millimetresPerPixel(), scale * 0.8);
    test::expectNear(axial.worldToWidget(below), anchor);
    drag(Qt::MiddleButton, {15, -7});
    test::expectNear(axial.worldToWidget(below), anchor + QPoint(15, -7));
}

TEST_F(Viewports, showEveryFrameOfA2DImage) {
    showPicture(test::smallVolume({}, 3), "US");
    EXPECT_EQ(sliceLabel("imageViewport"), "Frame 1/3");
    auto& picture = *child<imaging::ImageView2D>(QStringLiteral("imageView"));
    const QImage first = picture.grab().toImage();
    press(Qt::Key_Right);
    EXPECT_EQ(sliceLabel("imageViewport"), "Frame 2/3");
    EXPECT_NE(picture.grab().toImage(), first);
    press(Qt::Key_PageUp);
    EXPECT_EQ(picture.slice(), 2);
}

TEST_F(Viewports, keepTheLoadingOverlayInTheMiddleAndItsCancelInReach) {
    auto& overlay = workspace_->loadingOverlay();
    overlay.showStage(QStringLiteral("Title"), QStringLiteral("Detail"), 1, 4);
    QSignalSpy cancelled(&overlay, &LoadingOverlay::cancelRequested);
    QTest::mouseClick(child<QPushButton>(QStringLiteral("loadingCancel")), Qt::LeftButton);
    EXPECT_EQ(cancelled.count(), 1);
    window_->resize(1200, 760);
    EXPECT_TRUE(test::waitFor([&] {
        return (overlay.geometry().center() - overlay.parentWidget()->rect().center()).manhattanLength() <= 2;
    }));
}

} // namespace
} // namespace zorbel
