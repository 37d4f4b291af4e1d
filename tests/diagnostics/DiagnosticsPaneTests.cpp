#include "api/LastRequests.h"
#include "api/UserProfile.h"
#include "app/DiagnosticsStartUp.h"
#include "app/SessionStorage.h"
#include "app/log/Logger.h"
#include "diagnostics/widgets/DiagnosticsPane.h"
#include "settings/model/ViewerCacheSettings.h"
#include "settings/store/SettingsStore.h"
#include "tests/support/Accessibility.h"
#include "tests/support/Files.h"
#include "tests/viewer/ReadingWindowTest.h"
#include "viewer/reading/planes/RotationTrace.h"

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTextEdit>

namespace zorbel::test {

namespace {

class DiagnosticsWindow : public ReadingWindowTest {
protected:
    DiagnosticsWindow() {
        ApiClientConfig config;
        config.baseUrl = QStringLiteral("http://127.0.0.1:9");
        client_ = std::make_shared<ZorbelApiClient>(config);
        Logger::instance().addSink(log_);
        connectDiagnostics(
            *window_, client_, settings_, storage_,
            {log_,
             std::make_shared<LastRequests>(),
             {},
             folder_.path(),
             folder_.path() / "none.log",
             CrashDumps(folder_.path() / "crashes", "ZorbelWorkstation")});
        pane_ = window_->findChild<DiagnosticsPane*>();
    }
    ~DiagnosticsWindow() override {
        window_.reset();
        Logger::instance().removeSink(log_);
    }

    TemporaryFolder folder_;
    std::shared_ptr<ZorbelApiClient> client_;
    std::shared_ptr<LiveLog> log_ = std::make_shared<LiveLog>();
    SettingsStore settings_{QString::fromStdString((folder_.path() / "settings.ini").string())};
    SessionStorage storage_{{}, ViewerCacheSettings::read(settings_)};
    DiagnosticsPane* pane_ = nullptr;
};

} // namespace

TEST_F(DiagnosticsWindow, OpensByItsKeyShowsTheStudyAndCopiesWithoutItsNames) {
    const std::string uid = "1.2.276.0.7230010.3.1.2.77";
    OrthancImageLoadResult result;
    result.outcome = OrthancImageLoadResult::Outcome::Loaded;
    result.image = smallVolume();
    result.study = {.studyInstanceUid = uid, .patientName = "Mustermann Erika"};
    result.modality = QStringLiteral("CT");
    result.sourceLabel = QStringLiteral("Mustermann's cloud");
    result.volumetric = true;
    result.record.stages = {{"decoding", std::chrono::milliseconds(1234)}};
    QSignalSpy shown(window_.get(), &MainWindow::studyDisplayed);
    Q_EMIT window_->loads().imageReady(result);
    ASSERT_TRUE(waitFor(shown));

    EXPECT_FALSE(pane_->isVisible());
    press(Qt::Key_D, Qt::ControlModifier);
    ASSERT_TRUE(pane_->isVisible());
    EXPECT_EQ(barriersIn(*pane_), QStringList());
    EXPECT_TRUE(child<QToolButton>(QStringLiteral("toolbar-utilities-terminal"))->isChecked());
    const auto* report = child<QTextEdit>(QStringLiteral("diagnosticsReport"));
    for (const char* fact :
         {"VTK", "reslice.thickslices.num", "volumerendering.blendmode", "1234", uid.c_str()})
        EXPECT_TRUE(waitFor([&] { return report->toPlainText().contains(QLatin1String(fact)); })) << fact;

    QApplication::clipboard()->clear();
    child<QPushButton>(QStringLiteral("diagnosticsCopy"))->click();
    ASSERT_TRUE(waitFor([] { return !QApplication::clipboard()->text().isEmpty(); }));
    const QString copied = QApplication::clipboard()->text();
    EXPECT_TRUE(copied.contains(QStringLiteral("study-"))) << copied.toStdString();
    EXPECT_FALSE(copied.contains(QString::fromStdString(uid)));
    EXPECT_FALSE(copied.contains(QStringLiteral("mustermann"), Qt::CaseInsensitive));

    // The views keep their room.
    EXPECT_FALSE(pane_->isFloating());
    window_->resize(1100, 700);
    EXPECT_TRUE(waitFor([this] { return pane_->isFloating(); }));
    window_->resize(1400, 900);
    EXPECT_TRUE(waitFor([this] { return !pane_->isFloating(); }));
    window_->activateWindow();
    child<QTextEdit>(QStringLiteral("diagnosticsReport"))->setFocus();
    EXPECT_TRUE(waitFor([this] { return window_->isActiveWindow(); }));

    // A key in the pane is the pane's, and its own key closes it.
    const int slice = view(0).navigation().currentSlice();
    press(Qt::Key_Down);
    EXPECT_EQ(view(0).navigation().currentSlice(), slice);
    press(Qt::Key_Escape);
    press(Qt::Key_Up);
    EXPECT_NE(view(0).navigation().currentSlice(), slice);
    press(Qt::Key_D, Qt::ControlModifier);
    EXPECT_FALSE(pane_->isVisible());
    EXPECT_FALSE(child<QToolButton>(QStringLiteral("toolbar-utilities-terminal"))->isChecked());
}

TEST_F(DiagnosticsWindow, FollowsTheLogThroughItsFilterAndShowsWhatAFaultLeft) {
    Logger::instance().info("Apples", "green");
    Logger::instance().warn("Pears", "yellow");
    press(Qt::Key_D, Qt::ControlModifier);
    child<QTabWidget>(QStringLiteral("diagnosticsPages"))->setCurrentIndex(1);
    const auto* log = child<QPlainTextEdit>(QStringLiteral("diagnosticsLog"));
    const auto holds = [log](const char* text) { return log->toPlainText().contains(QLatin1String(text)); };
    EXPECT_TRUE(waitFor([&] { return holds("green") && holds("yellow"); }));
    auto* level = child<QComboBox>(QStringLiteral("diagnosticsLevel"));
    level->setCurrentIndex(level->findText(QStringLiteral("Warnings and errors")));
    EXPECT_TRUE(!holds("green") && holds("yellow"));
    level->setCurrentIndex(0);
    auto* component = child<QComboBox>(QStringLiteral("diagnosticsComponent"));
    component->setCurrentIndex(component->findText(QStringLiteral("Apples")));
    EXPECT_TRUE(holds("green") && !holds("yellow"));
    child<QLineEdit>(QStringLiteral("diagnosticsFilter"))->setText(QStringLiteral("RIPE"));
    EXPECT_EQ(log->toPlainText().toStdString(), "");
    Logger::instance().info("Pears", "ripe");
    Logger::instance().info("Apples", "ripe and red");
    EXPECT_TRUE(waitFor([&] { return holds("ripe and red"); }));
    EXPECT_FALSE(holds("Pears"));

    auto* trace = child<QCheckBox>(QStringLiteral("diagnosticsTrace"));
    const bool before = RotationTrace::isEnabled();
    trace->click();
    EXPECT_NE(RotationTrace::isEnabled(), before);
    trace->click();
    EXPECT_EQ(RotationTrace::isEnabled(), before);

    const auto dump = folder_.path() / "crashes" / "ZorbelWorkstation-20260101T000000Z-1.txt";
    writeFile(folder_.path() / "crashes" / "ZorbelWorkstation-20260102T000000Z-1.txt", "Signal 6");
    writeFile(dump, "Signal 11");
    pane_->hide();
    pane_->showCrashDump(QString::fromStdString(dump.string()));
    const auto* text = child<QPlainTextEdit>(QStringLiteral("diagnosticsCrashText"));
    EXPECT_TRUE(waitFor([text] { return text->toPlainText() == QStringLiteral("Signal 11"); }));
    EXPECT_TRUE(text->isVisible());
}

} // namespace zorbel::test
