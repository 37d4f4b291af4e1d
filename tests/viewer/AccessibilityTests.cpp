#include "ReadingWindowTest.h"

#include "tests/support/Accessibility.h"
#include "viewer/findings/FindingsDialog.h"
#include "viewer/report/KeyImageGallery.h"
#include "viewer/report/UnsyncedReportsDialog.h"
#include "viewer/report/WordTemplateDialog.h"
#include "viewer/session/ReadingSession.h"
#include "viewer/window/SeriesSelectionDialog.h"
#include "viewer/window/ShortcutSheet.h"

#include <QComboBox>

namespace zorbel {
namespace {

using test::barriersIn;

struct AccessibilityTest : test::ReadingWindowTest {
    static void reachByTab(QWidget& control) {
        control.setFocus();
        QTest::keyClick(&control, Qt::Key_Tab);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
        EXPECT_TRUE(control.hasFocus());
    }
    static void expectNoBarriers(const QWidget& window, const char* what) {
        const QStringList barriers = barriersIn(window);
        EXPECT_TRUE(barriers.isEmpty()) << what << "\n" << barriers.join(QLatin1Char('\n')).toStdString();
    }
};

TEST_F(AccessibilityTest, EveryControlHasANameIsReachedByTabAndSaysWhyItIsDisabled) {
    expectNoBarriers(*window_, "without a study");
    showVolume();
    expectNoBarriers(*window_, "with a volume");
    showPicture(test::smallVolume({}, 1), "PX");
    expectNoBarriers(*window_, "with a 2D image");
    expectNoBarriers(FindingsDialog({}, {}), "findings");
    expectNoBarriers(ShortcutSheet(), "keys");
    expectNoBarriers(SeriesSelectionDialog({OrthancSeriesSummary{}}, -1), "series");
    expectNoBarriers(WordTemplateDialog({"Report"}, reading_), "template");
    expectNoBarriers(UnsyncedReportsDialog(std::vector<UnsyncedReportRow>(1)), "reports that are not synced");
    ReadingSession session({}, false);
    bool opened = false;
    session.open(reading_->identity(), [&](const std::shared_ptr<StudyReading>& reading) {
        session.shown(reading);
        opened = true;
    });
    ASSERT_TRUE(test::waitFor([&] { return opened; }));
    expectNoBarriers(KeyImageGallery(session), "key images");
}

TEST_F(AccessibilityTest, SpacePressesTheButtonThatTabHasReached) {
    showVolume();
    auto* lines = window_->findChild<QToolButton*>("rail-crosshair");
    auto* settings = window_->findChild<QToolButton*>("toolbar-settings");
    auto* preset = window_->findChild<QComboBox*>("volumePreset");
    QSignalSpy asked(window_.get(), &MainWindow::settingsRequested);
    for (QWidget* control : {static_cast<QWidget*>(lines), static_cast<QWidget*>(settings)}) {
        reachByTab(*control);
        QTest::keyClick(control, Qt::Key_Space);
    }
    EXPECT_FALSE(lines->isChecked());
    EXPECT_EQ(asked.count(), 1);
    reachByTab(*preset);
    QTest::keyClick(preset, Qt::Key_Down);
    EXPECT_EQ(preset->currentIndex(), 1);
    EXPECT_EQ(workspace_->mode()->layout().layout(), Layout::Quad) << "Space maximises no viewport";
}

} // namespace
} // namespace zorbel
