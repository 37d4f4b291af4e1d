#include "demo/word/WordDesk.h"
#include "tests/cache/LoadRecorder.h"
#include "tests/support/Files.h"
#include "viewer/window/MainWindow.h"

#include <QAbstractButton>
#include <QDialog>
#include <QLabel>
#include <QMessageBox>
#include <QSignalSpy>
#include <QToolButton>

#include <atomic>

namespace zorbel {
namespace {

/// The main window with its reports, the demo service's Word desk, and a word processor that the test is.
class WordReportWindowTest : public test::StudyLoadTest {
protected:
    void SetUp() override {
        StudyLoadTest::SetUp();
        study_ = upload({{.study = "reported"}});
        openWindow();
    }
    void TearDown() override {
        window_.reset();
        StudyLoadTest::TearDown();
    }
    void openWindow() {
        window_.reset(); // what it watches over is its own
        MainWindowOptions options;
        options.reports.root = std::filesystem::path(folder_.path().toStdString()) / "word";
        options.reports.openDocument = [this](const std::filesystem::path& document) {
            document_ = document;
            opened_ = true;
            return true;
        };
        window_ = std::make_unique<MainWindow>(client_, options);
        window_->show();
    }
    template <class Widget = QWidget>
    Widget* find(const char* name) {
        return window_->findChild<Widget*>(QString::fromLatin1(name));
    }
    bool shows(const char* name) {
        return test::waitFor([&] { return find(name) && find(name)->isVisible(); });
    }
    bool chipSays(const char* text) {
        return test::waitFor(
            [&] { return find<QToolButton>("reportChip")->text().contains(QLatin1String(text)); });
    }
    /// Another document than before, and a whole one.
    void saveInWord() {
        const std::string comment = "save " + std::to_string(++saves_);
        std::string bytes = template_;
        bytes[bytes.size() - 2] = static_cast<char>(comment.size()); // of the zip file
        last_ = bytes + comment;
        test::writeFile(document_, last_);
    }
    std::string newestAtService() { return *service_->wordDesk().reports().back().versions.back().bytes; }

    StudyIdentity study_;
    std::unique_ptr<MainWindow> window_;
    std::filesystem::path document_;
    std::atomic<bool> opened_ = false;
    std::string template_;
    std::string last_;
    int saves_ = 0;
};

TEST_F(WordReportWindowTest, bringsAReportToTheServiceOrSaysWhatIsNotThere) {
    window_->openStudy(study_);
    ASSERT_TRUE(
        test::waitFor([&] { return find<QLabel>("viewerTitle")->text() == QStringLiteral("Test Patient"); }));
    find<QToolButton>("toolbar-word")->click();
    ASSERT_TRUE(shows("wordTemplateDialog"));
    EXPECT_FALSE(find<QToolButton>("toolbar-word")->isEnabled());
    EXPECT_EQ(find<QLabel>("reportCounts")->text(), QStringLiteral("Nothing to add yet"));
    find<QDialog>("wordTemplateDialog")->accept();
    ASSERT_TRUE(test::waitFor([&] { return opened_.load(); }));
    ASSERT_TRUE(chipSays("open, synced"));
    EXPECT_TRUE(find<QToolButton>("toolbar-word")->isEnabled());
    template_ = test::readFile(document_);

    saveInWord();
    ASSERT_TRUE(chipSays("version 2"));
    EXPECT_EQ(newestAtService(), last_);
    ASSERT_TRUE(test::waitFor([&] {
        const auto records = service_->auditRecords();
        return !records.empty() && records.back().event == "DESKTOP_WORD_REPORT_SAVE_CONFIRMED";
    }));

    // What does not arrive stays in sight, and closing asks.
    service_->setFault(demo::Fault::error("*/desktop-word/*", 422, "Not now", ""));
    saveInWord();
    ASSERT_TRUE(chipSays("sync failed"));
    EXPECT_EQ(find<QLabel>("statusUnsynced")->text(), QStringLiteral("Word report not synced: Not now"));
    QSignalSpy givenUp(window_.get(), &MainWindow::closingGivenUp);
    window_->close();
    ASSERT_TRUE(shows("unsyncedBox"));
    find<QMessageBox>("unsyncedBox")->button(QMessageBox::Cancel)->click();
    test::settle();
    EXPECT_TRUE(window_->isVisible());
    EXPECT_EQ(givenUp.count(), 1);
    service_->clearFaults();
    find<QToolButton>("statusSync")->click();
    ASSERT_TRUE(chipSays("version 3"));
    EXPECT_FALSE(find("statusUnsynced")->isVisible());

    service_->setFault(demo::Fault::error("*/desktop-word/*", 422, "Not now", ""));
    saveInWord();
    ASSERT_TRUE(chipSays("sync failed"));
    window_->close();
    ASSERT_TRUE(shows("unsyncedBox"));
    find<QMessageBox>("unsyncedBox")->button(QMessageBox::Close)->click();
    ASSERT_TRUE(test::waitFor([&] { return !window_->isVisible(); }));
    EXPECT_NE(newestAtService(), last_);

    // The next start offers it.
    service_->clearFaults();
    openWindow();
    ASSERT_TRUE(shows("unsyncedReportsDialog"));
    EXPECT_EQ(find<QLabel>("statusUnsynced")->text(), QStringLiteral("1 Word report is not synced"));
    find<QAbstractButton>("unsyncedSync")->click();
    ASSERT_TRUE(test::waitFor([&] { return newestAtService() == last_; }));
    ASSERT_TRUE(test::waitFor([&] { return !find("statusUnsynced")->isVisible(); }));
    find<QDialog>("unsyncedReportsDialog")->reject();
    window_->close();
    EXPECT_FALSE(window_->isVisible());
}

} // namespace
} // namespace zorbel
