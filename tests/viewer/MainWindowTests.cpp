#include "cache/StudyArchives.h"
#include "tests/cache/LoadRecorder.h"
#include "viewer/window/MainWindow.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QSignalSpy>
#include <QToolButton>

#include <algorithm>

namespace zorbel {
namespace {

class MainWindowTest : public test::StudyLoadTest {
protected:
    void SetUp() override {
        StudyLoadTest::SetUp();
        window_ = std::make_unique<MainWindow>(client_, MainWindowOptions{});
        window_->show();
    }
    void TearDown() override {
        window_.reset();
        StudyLoadTest::TearDown();
    }

    bool open(const StudyIdentity& study) {
        QSignalSpy displayed(window_.get(), &MainWindow::studyDisplayed);
        const ViewerStudySummary row = summaryOf(study);
        window_->onStudyDoubleClicked(
            row.orthancId, row.studyInstanceUID, row.patientName, row.modality, row.studyDate);
        EXPECT_TRUE(window_->findChild<QProgressBar*>(QStringLiteral("statusBusy"))->isVisible());
        return test::waitFor(displayed);
    }
    static QString uidOf(const StudyIdentity& study) {
        return QString::fromStdString(study.studyInstanceUid);
    }
    QString text(const char* name) { return window_->findChild<QLabel*>(QString::fromLatin1(name))->text(); }

    std::unique_ptr<MainWindow> window_;
};

TEST_F(MainWindowTest, saysWhatIsShownAndWhereItCameFrom) {
    EXPECT_EQ(window_->windowTitle(), QStringLiteral("Zorbel Diagnostic Viewer — Clinical Workspace"));
    EXPECT_EQ(text("statusText"), QStringLiteral("Ready"));
    EXPECT_EQ(text("identityText"), QStringLiteral("Rita Reader  •  Demo Dental Clinic"));
    const auto volume = upload({{.study = "volume"}});
    ASSERT_TRUE(open(volume));
    EXPECT_EQ(
        text("statusText"),
        QStringLiteral("Volumetric DICOM fallback loaded in MPR mode (CT).  |  Series: CBCT test"));
    EXPECT_EQ(text("statusSource"), QStringLiteral("Loaded volume from Zorbel Cloud: ") + uidOf(volume));
    EXPECT_EQ(text("viewerTitle"), QStringLiteral("Test Patient"));
    EXPECT_EQ(text("viewerSubtitle"), QStringLiteral("CT  ·  31 Jan 2024  ·  Study ") + uidOf(volume));
    EXPECT_FALSE(window_->findChild<QProgressBar*>(QStringLiteral("statusBusy"))->isVisible());

    // Higher than wide, and no orientation in the file: a panorama that has to be turned.
    const auto panorama = upload(
        {{.study = "panorama", .description = "PANORAMIC", .modality = "PX", .slices = 1, .rows = 64}});
    ASSERT_TRUE(open(panorama));
    EXPECT_EQ(
        text("statusText"),
        QStringLiteral("Non-volumetric study loaded in 2D mode (PX).  |  Series: PANORAMIC"));
    EXPECT_EQ(
        text("statusSource"), QStringLiteral("Loaded in 2D mode from Zorbel Cloud: ") + uidOf(panorama));
    EXPECT_EQ(text("studyChip"), QStringLiteral("2D Study"));
    EXPECT_EQ(text("modeChip"), QStringLiteral("PANO · upright"));
    EXPECT_EQ(text("orientationChip"), QStringLiteral("Panorama corrected upright"));
    window_->close();
    EXPECT_EQ(text("statusText"), QStringLiteral("Study closed"));
    EXPECT_EQ(text("viewerTitle"), QStringLiteral("No study selected"));
}

TEST_F(MainWindowTest, keepsTheShownStudyWhenTheNextOneFailsAndRetries) {
    const auto shown = upload({{.study = "shown"}});
    const auto broken = upload({{.study = "broken", .slices = 7}});
    ASSERT_TRUE(open(shown));
    service_->setFault(demo::Fault::error("*/viewer-proxy/studies/*", 503, "Under maintenance", ""));
    window_->openStudy(broken);
    const auto box = [this] { return window_->findChild<QMessageBox*>(QStringLiteral("loadFailureBox")); };
    ASSERT_TRUE(test::waitFor([&] { return box() != nullptr; }));
    EXPECT_EQ(box()->windowTitle(), QStringLiteral("Load Error"));
    EXPECT_EQ(text("statusText"), QStringLiteral("Load failed — Under maintenance"));
    EXPECT_TRUE(text("viewerSubtitle").endsWith(uidOf(shown)));
    box()->button(QMessageBox::Ok)->click();

    service_->clearFaults();
    QSignalSpy displayed(window_.get(), &MainWindow::studyDisplayed);
    QTest::mouseClick(window_->findChild<QToolButton*>(QStringLiteral("toolbar-retry")), Qt::LeftButton);
    ASSERT_TRUE(test::waitFor(displayed));
    EXPECT_TRUE(text("viewerSubtitle").endsWith(uidOf(broken)));
}

TEST_F(MainWindowTest, asksWhetherToOpenTheCopyOfAStudyThatTheServiceDoesNotServe) {
    const auto study = upload({{.study = "kept"}});
    MainWindowOptions options;
    options.loading.storage.emplace(
        std::filesystem::path(folder_.path().toStdString()) / "cache", StorageScope::of("clinic", "reader"));
    const StudyArchives archives(*options.loading.storage);
    window_ = std::make_unique<MainWindow>(client_, options);
    window_->show();
    ASSERT_TRUE(open(study));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !archives.series(study.studyInstanceUid).empty(); }, 60000));

    client_->selectSource(SourceKind::LocalNodeRequired, {});
    QSignalSpy displayed(window_.get(), &MainWindow::studyDisplayed);
    window_->openStudy(study);
    const auto box = [this] { return window_->findChild<QMessageBox*>(QStringLiteral("localCopyBox")); };
    ASSERT_TRUE(QTest::qWaitFor([&] { return box() != nullptr; }, 60000));
    EXPECT_TRUE(
        box()->text().contains(QStringLiteral("The selected study cannot be resolved on the Local Node")));
    EXPECT_EQ(displayed.count(), 0);
    const auto buttons = box()->buttons();
    (*std::find_if(buttons.begin(), buttons.end(), [&](QAbstractButton* button) {
        return box()->buttonRole(button) == QMessageBox::AcceptRole;
    }))->click();
    ASSERT_TRUE(displayed.wait(60000));
    EXPECT_TRUE(text("statusNotice").contains(QStringLiteral("the copy kept on this computer")));
}

} // namespace
} // namespace zorbel
