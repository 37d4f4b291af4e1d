#include "report/WordServiceClient.h"
#include "tests/report/WordReportFixture.h"

#include <private/qzipreader_p.h>

#include <sys/stat.h>

namespace zorbel::test {

using WordReportWorkflowTest = WordReportFixture;

TEST_F(WordReportWorkflowTest, opensAPrivateDocumentFromTheChosenTemplateWithWhatWasRecorded) {
    workflow->begin(requestFor(""));
    EXPECT_EQ(said, QStringList{QStringLiteral("Open a study before starting a Word report.")});
    const auto document = open();

    EXPECT_EQ(
        reader.offered, (QStringList{
                            QStringLiteral("Standard"), QStringLiteral("Standard (01234567)"),
                            QStringLiteral("Long — with images")}));
    EXPECT_EQ(service->sessionsBegun, std::vector<QString>{QStringLiteral("1.2.3/t-3")});
    EXPECT_EQ(document, folder.path() / "word" / "word-report_1-0123456" / "Zorbel-Report-report_1.docx");
    const QByteArray text =
        QZipReader(QString::fromStdString(document.string())).fileData(QStringLiteral("word/document.xml"));
    EXPECT_TRUE(text.contains("\u200e10.00 mm\u200e")) << "it would read as mm 10.00";
    struct stat status {};
    ASSERT_EQ(stat(document.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    ASSERT_EQ(stat(document.parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
    EXPECT_TRUE(said.contains(
        QStringLiteral("Word report open. Save in Word to create an immutable Zorbel version. 1 "
                       "measurement(s) and 0 key image(s) added.")))
        << said.join('\n').toStdString();
    EXPECT_EQ(events, QStringList{QStringLiteral("DESKTOP_WORD_REPORT_OPEN")});
    settleDown();
    EXPECT_EQ(workflow->state(), State::Synced);
    EXPECT_EQ(service->saves(), 0); // what was only opened is no version
}

TEST_F(WordReportWorkflowTest, saysWhyNoReportOpensAndIsReadyForTheNext) {
    reader.choice.reset();
    workflow->begin(requestFor("1.2.3"));
    ASSERT_TRUE(
        waitFor([&] { return said.contains(QStringLiteral("Word report template selection cancelled.")); }));
    EXPECT_EQ(workflow->state(), State::None);

    reader.choice = 0;
    writeFile(folder.path() / "word", "in the way");
    workflow->begin(requestFor("1.2.3"));
    ASSERT_TRUE(waitFor([&] { return !reader.warnings.isEmpty(); }));
    EXPECT_EQ(
        reader.warnings.last(),
        QStringLiteral("Word report could not be opened: Unable to create the private Word working folder"));

    std::filesystem::remove(folder.path() / "word");
    reader.hasWordProcessor = false;
    const auto document = open();
    EXPECT_EQ(
        reader.warnings.last(), QStringLiteral("Word report could not be opened: Microsoft Word could not be "
                                               "opened. Check the .docx file association."));
    // Another program may open it; it is followed all the same.
    replace(document, wordDocument("by another way"));
    EXPECT_TRUE(waitFor([&] { return service->versions().size() == 2; }));
}

TEST_F(WordReportWorkflowTest, leavesAReportOnlyWhenItIsSafe) {
    const auto first = open("1.2.3");
    workflow->begin(requestFor("1.2.3"));
    ASSERT_TRUE(waitFor([&] { return reader.opened.size() == 2; }));
    EXPECT_EQ(reader.opened[1], first); // the same again
    EXPECT_EQ(
        said.last(),
        QStringLiteral("The active Word report was reopened. Save in Word to sync it with Zorbel."));

    service->hold(true);
    replace(first, wordDocument("on its way"));
    ASSERT_TRUE(becomes(State::Syncing));
    workflow->begin(requestFor("4.5.6"));
    EXPECT_EQ(
        said.last(),
        QStringLiteral("Wait for the active Word report to finish syncing before opening another study."));
    service->hold(false);
    ASSERT_TRUE(becomes(State::Synced));

    // A save that nobody has noticed yet goes first.
    replace(first, wordDocument("the last word"));
    const auto second = open("4.5.6");
    EXPECT_EQ(service->versions().back(), wordDocument("the last word"));
    EXPECT_EQ(reader.asked, QStringList{QStringLiteral("Switch Word report")});
    EXPECT_NE(second, first);
    settleDown();
    replace(first, wordDocument("nobody watches"));
    replace(second, wordDocument("followed"));
    ASSERT_TRUE(waitFor([&] { return service->versions().back() == wordDocument("followed"); }));
    settleDown();
    EXPECT_EQ(service->saves(), 3);
}

TEST_F(WordReportWorkflowTest, offersWhatAnEarlierRunLeftUnsynced) {
    const auto document = open();
    service->failNext(Fault::Refuse, 410);
    replace(document, wordDocument("too late"));
    ASSERT_TRUE(becomes(State::Failed));
    EXPECT_TRUE(reader.warnings.last().contains(QString::fromStdString(document.string())));

    workflow.reset(); // killed or closed
    replace(document, wordDocument("saved without the viewer"));
    writeFile(document.parent_path() / "Zorbel-Report-copy.docx", "of somebody");
    start(std::chrono::hours(0));
    workflow->findUnsynced();
    ASSERT_TRUE(waitFor([&] { return workflow->waiting().size() == 1; }));
    const WordReport* report = workflow->waiting().front();
    EXPECT_EQ(report->record().study.patientName, "Doe^Jane");
    // Another program of the same user is not offered what this one has.
    EXPECT_TRUE(takeUnsyncedReports(folder.path() / "word", std::chrono::hours(0)).empty());

    // One that cannot be found just now is still offered.
    std::filesystem::rename(document, document.parent_path() / "away");
    workflow->sync(report);
    ASSERT_TRUE(waitFor([&] { return report->isDocumentMissing(); }));
    settle();
    ASSERT_EQ(workflow->waiting().size(), 1u);
    std::filesystem::rename(document.parent_path() / "away", document);

    workflow->sync(report);
    ASSERT_TRUE(waitFor([&] { return workflow->waiting().empty(); }));
    EXPECT_EQ(service->versions().back(), wordDocument("saved without the viewer"));

    // What is synced goes with its time; not while it is open in a word processor, and never what is not
    // ours.
    settle();
    start(std::chrono::hours(0));
    std::filesystem::remove(document.parent_path() / "Zorbel-Report-copy.docx");
    writeFile(document.parent_path() / ".~lock.Zorbel-Report-report_1.docx#", "open");
    EXPECT_TRUE(takeUnsyncedReports(folder.path() / "word", std::chrono::hours(0)).empty());
    EXPECT_TRUE(std::filesystem::exists(document));
    std::filesystem::remove(document.parent_path() / ".~lock.Zorbel-Report-report_1.docx#");
    EXPECT_TRUE(takeUnsyncedReports(folder.path() / "word", std::chrono::hours(24)).empty());
    EXPECT_TRUE(std::filesystem::exists(document));
    EXPECT_TRUE(takeUnsyncedReports(folder.path() / "word", std::chrono::hours(0)).empty());
    EXPECT_FALSE(std::filesystem::exists(document.parent_path()));
}

TEST_F(WordReportWorkflowTest, neverOverwritesADocumentThatIsNotSynced) {
    const auto first = open();
    service->failNext(Fault::Refuse, 413);
    replace(first, wordDocument("too large"));
    ASSERT_TRUE(becomes(State::Failed));
    writeFile(first.parent_path() / "report.json", "damaged");
    workflow.reset();
    service->sessionsBegun.clear(); // the same report is begun again
    start();
    const auto second = open();
    EXPECT_NE(second.parent_path(), first.parent_path());
    EXPECT_EQ(readFile(first), wordDocument("too large").toStdString());
    // Without its record nobody knows where it belongs, but it is there to be opened.
    workflow->findUnsynced();
    ASSERT_TRUE(waitFor([&] { return workflow->waiting().size() == 1; }));
    workflow->open(workflow->waiting().front());
    ASSERT_TRUE(waitFor([&] { return reader.opened.back() == first; }));
    EXPECT_EQ(reader.asked, QStringList{QStringLiteral("Switch Word report")}); // about the second
}

} // namespace zorbel::test
