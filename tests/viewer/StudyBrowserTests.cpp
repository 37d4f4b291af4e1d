#include "demo/DemoService.h"
#include "tests/support/SignedInClient.h"
#include "tests/support/Waiting.h"
#include "viewer/studies/StudyBrowserWidget.h"
#include "viewer/window/SeriesSelectionDialog.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTest>

#include <gtest/gtest.h>

namespace zorbel {
namespace {

const std::string studyList = "*/api/studies";

/// The list as the service sends it: the archive behind it plays no part here.
const char* const threeStudies = R"({"studies":[
  {"id":"1","orthancId":"o-1","studyInstanceUID":"1.1","patient":{"fullName":"Doe Anna"},"modality":"PX",
   "studyDate":"20240131","studyDescription":"PANORAMIC"},
  {"id":"2","orthancId":"o-2","studyInstanceUID":"1.2","patient":{"fullName":"Roe Bert"},
   "modalitiesInStudy":["CT","SR"],"studyDate":"2024-06-01T08:00:00Z"},
  {"id":"3","orthancId":"o-3","studyInstanceUID":"1.3","patient":{},"modality":"CT","studyDate":""}]})";

class StudyBrowserTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        service_ = std::make_unique<demo::DemoService>();
        service_->start();
    }
    static void TearDownTestSuite() { service_.reset(); }

    void SetUp() override {
        client_ = test::signedInClient(*service_);
        service_->setFault(demo::Fault::reply(studyList, 200, threeStudies));
        browser_ = std::make_unique<StudyBrowserWidget>(client_);
        browser_->resize(320, 700);
        browser_->show();
        list_ = browser_->findChild<QListWidget*>(QStringLiteral("studyList"));
        browser_->loadStudiesAsync();
        ASSERT_TRUE(waitForStatus(QStringLiteral("Showing 3 of 3 studies")));
    }
    void TearDown() override {
        browser_.reset();
        service_->clearFaults();
        service_->resetRequests();
    }

    bool waitForStatus(const QString& text) const {
        return test::waitFor([&] { return status().contains(text); });
    }
    QString status() const {
        for (const auto* label : browser_->findChildren<QLabel*>())
            if (label->objectName().startsWith(QStringLiteral("zorbelStatus")))
                return label->objectName() + QLatin1Char(':') + label->text();
        return {};
    }
    QStringList rows() const {
        QStringList texts;
        for (int row = 0; row < list_->count(); ++row)
            texts += list_->item(row)->text();
        return texts;
    }

    static inline std::unique_ptr<demo::DemoService> service_;
    std::shared_ptr<ZorbelApiClient> client_;
    std::unique_ptr<StudyBrowserWidget> browser_;
    QListWidget* list_ = nullptr;
};

TEST_F(StudyBrowserTest, listsTheNewestFirstAndNamesTheStudyToOpen) {
    EXPECT_EQ(
        rows(), (QStringList{
                    QStringLiteral("Roe Bert\n01 Jun 2024  |  CT"),
                    QStringLiteral("Doe Anna\n31 Jan 2024  |  Panoramic"),
                    QStringLiteral("Unnamed patient\nDate unavailable  |  CT")}));
    QSignalSpy opened(browser_.get(), &StudyBrowserWidget::studyDoubleClicked);
    const QPoint second = list_->visualItemRect(list_->item(1)).center();
    QTest::mouseClick(list_->viewport(), Qt::LeftButton, Qt::NoModifier, second);
    QTest::mouseDClick(list_->viewport(), Qt::LeftButton, Qt::NoModifier, second);
    ASSERT_EQ(opened.count(), 1);
    QStringList arguments;
    for (const auto& argument : opened.front())
        arguments += argument.toString();
    EXPECT_EQ(
        arguments, (QStringList{
                       QStringLiteral("o-1"), QStringLiteral("1.1"), QStringLiteral("Doe Anna"),
                       QStringLiteral("PX"), QStringLiteral("20240131")}));
    EXPECT_EQ(browser_->studyOf(QStringLiteral("1.1")).studyDescription, "PANORAMIC");
    QTest::keyClick(list_, Qt::Key_Up);
    QTest::keyClick(list_, Qt::Key_Return);
    ASSERT_EQ(opened.count(), 2);
    EXPECT_EQ(opened.back().front().toString(), QStringLiteral("o-2"));
}

TEST_F(StudyBrowserTest, filtersAtOnceAndThenAsksTheService) {
    auto* filter = browser_->findChild<QComboBox*>(QStringLiteral("studyTypeFilter"));
    EXPECT_EQ(filter->itemText(0), QStringLiteral("All study types"));
    EXPECT_GE(filter->findText(QStringLiteral("Other")), 0);
    filter->setCurrentText(QStringLiteral("Panoramic"));
    EXPECT_TRUE(status().endsWith(QStringLiteral("Showing 1 of 3 studies")));
    filter->setCurrentIndex(0);

    service_->resetRequests();
    auto* search = browser_->findChild<QLineEdit*>(QStringLiteral("studySearch"));
    QTest::keyClicks(search, QStringLiteral("bert"));
    EXPECT_TRUE(status().endsWith(QStringLiteral("Showing 1 of 3 studies")));
    // The service found all three for this text, by whatever it knows of them: they are shown.
    ASSERT_TRUE(waitForStatus(QStringLiteral("Showing 3 of 3 studies")));
    const auto requests = service_->requests(studyList);
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests.front().query.find("search")->second, "bert");
}

TEST_F(StudyBrowserTest, keepsTheRowsWhenTheListCannotBeHad) {
    service_->clearFaults();
    service_->setFault(demo::Fault::error(studyList, 503, "The archive is closed", "CLOSED"));
    QTest::mouseClick(browser_->findChild<QPushButton*>(QStringLiteral("refreshStudies")), Qt::LeftButton);
    EXPECT_TRUE(status().endsWith(QStringLiteral("Loading authorized studies…")));
    ASSERT_TRUE(waitForStatus(QStringLiteral("The archive is closed")));
    EXPECT_TRUE(status().startsWith(QStringLiteral("zorbelStatusError:")));
    EXPECT_EQ(list_->count(), 3);
}

TEST(SeriesSelectionDialog, namesWhatIsKnownAndReturnsTheChosenRow) {
    OrthancSeriesSummary bare;
    OrthancSeriesSummary full;
    full.seriesNumber = QStringLiteral("2");
    full.modality = QStringLiteral("CT");
    full.seriesDescription = QStringLiteral("CBCT");
    full.instanceIds = {QStringLiteral("a"), QStringLiteral("b")};
    full.seriesInstanceUID = QStringLiteral("1.2");
    SeriesSelectionDialog dialog({bare, full}, 1);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Select diagnostic series"));
    auto* table = dialog.findChild<QTableWidget*>();
    const auto row = [table](int index) {
        QStringList texts;
        for (int column = 0; column < table->columnCount(); ++column)
            texts += table->item(index, column)->text();
        return texts.join(QLatin1Char('|'));
    };
    EXPECT_EQ(row(0), QStringLiteral("—|—|Description unavailable|—|0|—"));
    EXPECT_EQ(row(1), QStringLiteral("2|CT|CBCT|—|2|1.2"));
    EXPECT_EQ(dialog.selectedRow(), 1);
    dialog.show();
    QTest::keyClick(table, Qt::Key_Up);
    EXPECT_EQ(dialog.selectedRow(), 0);
}

} // namespace
} // namespace zorbel
