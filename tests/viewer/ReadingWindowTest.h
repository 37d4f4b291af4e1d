#pragma once

#include "imaging/rendering/PlaneView.h"
#include "resources/StyleSheet.h"
#include "tests/rendering/SyntheticImage.h"
#include "tests/support/Waiting.h"
#include "viewer/mpr/MprMode.h"
#include "viewer/reading/planes/MprViewports.h"
#include "viewer/studies/ImageKinds.h"
#include "viewer/tools/ToolLayer.h"
#include "viewer/window/MainWindow.h"
#include "viewer/window/StatusLine.h"
#include "viewer/workspace/ViewerWorkspace.h"

#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <QWheelEvent>

#include <gtest/gtest.h>

namespace zorbel::test {

/// Whole voxels are 0.8, 0.9 and 1.2 mm apart.
inline std::shared_ptr<const imaging::Image>
smallVolume(imaging::ImageMetadata metadata = {}, int slices = 40) {
    const imaging::ImageGeometry geometry(
        {64, 48, slices}, {-20.0, 10.0, 30.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.8, 0.9, 1.2});
    return imaging::test::makeImage<std::int16_t>(
        geometry, imaging::VoxelType::Int16, [](int x, int y, int z) { return x * 20 + y * 2 + z * 3; },
        std::move(metadata));
}

/// A main window without a service behind it, and the reader's hands on mouse and keyboard.
class ReadingWindowTest : public testing::Test {
protected:
    ReadingWindowTest() {
        // As in the program: it decides how much room there is.
        if (qApp->styleSheet().isEmpty())
            qApp->setStyleSheet(applicationStyleSheet());
        openWindow({});
    }
    void openWindow(const MainWindowOptions& options) {
        ApiClientConfig config;
        config.baseUrl = QStringLiteral("http://127.0.0.1:9");
        window_.reset();
        window_ = std::make_unique<MainWindow>(std::make_shared<ZorbelApiClient>(config), options);
        workspace_ = window_->findChild<ViewerWorkspace*>();
        window_->findChild<StatusLine*>()->setPatience(0);
        window_->resize(1400, 900);
        window_->show();
        window_->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window_.get(), patienceMs));
    }

    void showVolume(const std::shared_ptr<const imaging::Image>& image = smallVolume()) {
        show(StudyIdentity{{}, "1.2", "Doe", "CT", {}}, image, "CT", {}, true);
    }
    void showPicture(
        const std::shared_ptr<const imaging::Image>& image, const char* modality,
        const QString& description = {}) {
        show(StudyIdentity{{}, "1.3", "Doe", modality, {}}, image, modality, description, false);
    }
    /// The reading goes on where the study is the one that is open.
    void show(
        const StudyIdentity& study, const std::shared_ptr<const imaging::Image>& image, const char* modality,
        const QString& description, bool volumetric) {
        if (!reading_ || reading_->identity() != study)
            reading_ = std::make_shared<StudyReading>(study);
        StudySeries series;
        series.image = image;
        series.modality = modality;
        series.kind = imageKindOf(QString::fromLatin1(modality), description, volumetric);
        series.key = StudySeries::keyOf(*image, series.kind);
        QSignalSpy drawn(workspace_, &ViewerWorkspace::imageDrawn);
        reading_->show(series);
        EXPECT_TRUE(workspace_->show(reading_));
        EXPECT_TRUE(waitFor(drawn));
        workspace_->setFocus();
    }

    template <class Widget>
    Widget* child(const QString& name) {
        auto* found = window_->findChild<Widget*>(name);
        EXPECT_NE(found, nullptr) << name.toStdString();
        return found;
    }
    std::string text(const char* label) {
        return child<QLabel>(QString::fromLatin1(label))->text().toStdString();
    }
    std::string status() { return text("statusText"); }
    static QString planeName(int plane) {
        return QString::fromLatin1(
            std::array{"axial", "coronal", "sagittal"}.at(static_cast<std::size_t>(plane)));
    }
    imaging::PlaneView& view(int plane) {
        return *child<imaging::PlaneView>(planeName(plane) + QStringLiteral("View"));
    }
    ToolLayer& tools(int plane) { return *child<ToolLayer>(planeName(plane) + QStringLiteral("Tools")); }
    MprMode& mpr() { return *workspace_->findChild<MprMode*>(); }
    const MprGuide& guideOf(int plane) { return mpr().pane(plane).guide().guide(); }
    const LayoutModel& layout() { return workspace_->mode()->layout(); }
    const imaging::Vector3& crosshair() { return mpr().crosshair(); }
    QPointF crosshairIn(int plane) { return view(plane).worldToWidget(crosshair()); }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QWidget* focus = QApplication::focusWidget();
        QTest::keyClick(focus ? focus : window_.get(), key, modifiers);
    }
    void click(const char* button) {
        QTest::mouseClick(child<QToolButton>(QString::fromLatin1(button)), Qt::LeftButton);
    }
    static void mouse(
        QWidget& widget, QEvent::Type type, const QPointF& at,
        Qt::KeyboardModifiers modifiers = Qt::NoModifier, Qt::MouseButton button = Qt::LeftButton) {
        QMouseEvent event(
            type, at, widget.mapToGlobal(at), type == QEvent::MouseMove ? Qt::NoButton : button,
            type == QEvent::MouseButtonRelease ? Qt::NoButton : button, modifiers);
        QSpontaneKeyEvent::setSpontaneous(&event); // only such go on to the widgets below
        qApp->notify(&widget, &event);
    }
    /// Along the given points.
    static void
    drag(QWidget& widget, const std::vector<QPointF>& way, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        mouse(widget, QEvent::MouseButtonPress, way.front(), modifiers);
        for (const QPointF& at : way)
            mouse(widget, QEvent::MouseMove, at, modifiers);
        mouse(widget, QEvent::MouseButtonRelease, way.back(), modifiers);
    }
    static void doubleClick(QWidget& widget, const QPointF& at) {
        for (const auto type :
             {QEvent::MouseButtonPress, QEvent::MouseButtonRelease, QEvent::MouseButtonDblClick,
              QEvent::MouseButtonRelease})
            mouse(widget, type, at);
    }
    static void turnWheel(QWidget& widget, int notches, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        const QPointF at = widget.rect().center();
        // Qt turns a wheel with Alt held into a horizontal one.
        const QPoint angle =
            modifiers.testFlag(Qt::AltModifier) ? QPoint(120 * notches, 0) : QPoint(0, 120 * notches);
        QWheelEvent event(
            at, widget.mapToGlobal(at), QPoint(), angle, Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
        QSpontaneKeyEvent::setSpontaneous(&event); // only such go on to the widgets below
        qApp->notify(&widget, &event);
    }

    std::shared_ptr<StudyReading> reading_;
    std::unique_ptr<MainWindow> window_;
    ViewerWorkspace* workspace_ = nullptr;
};

inline void expectNear(const QPointF& actual, const QPointF& expected, double tolerance = 0.5) {
    EXPECT_NEAR(actual.x(), expected.x(), tolerance);
    EXPECT_NEAR(actual.y(), expected.y(), tolerance);
}

inline void
expectNear(const imaging::Vector3& actual, const imaging::Vector3& expected, double tolerance = 1e-6) {
    for (std::size_t axis = 0; axis < 3; ++axis)
        EXPECT_NEAR(actual[axis], expected[axis], tolerance) << "axis " << axis;
}

} // namespace zorbel::test
