#include "report/package/WholePackage.h"
#include "tests/report/WordReportFixture.h"

#include <fstream>
#include <random>

namespace zorbel::test {

namespace fs = std::filesystem;

class WordReportSavingTest : public WordReportFixture {
protected:
    void expectVersions(const std::vector<QByteArray>& texts) {
        std::vector<QByteArray> expected{wordDocument("template")};
        for (const QByteArray& text : texts)
            expected.push_back(wordDocument(text));
        EXPECT_TRUE(waitFor([&] { return service->versions().size() >= expected.size(); }));
        settleDown();
        EXPECT_TRUE(service->versions() == expected)
            << service->versions().size() << " versions; expected " << expected.size();
    }

    const fs::path document = open();
};

TEST_F(WordReportSavingTest, everyWayToSaveMakesOneVersion) {
    replace(document, wordDocument("renamed"));
    expectVersions({"renamed"});
    replace(document, wordDocument("renamed")); // the same bytes
    settleDown();

    // In place, in pieces; what lies there meanwhile is no document.
    const QByteArray pieces = wordDocument("in place");
    {
        std::ofstream file(document, std::ios::binary | std::ios::trunc);
        for (qsizetype at = 0; at < pieces.size(); at += 100) {
            file.write(pieces.constData() + at, std::min<qsizetype>(100, pieces.size() - at));
            file.flush();
            QTest::qWait(4);
        }
    }
    expectVersions({"renamed", "in place"});

    // Gone for a while, with a lock file beside it.
    writeFile(document.parent_path() / ".~lock.Zorbel-Report-report_1.docx#", "me");
    fs::remove(document);
    ASSERT_TRUE(waitFor([&] { return workflow->active()->isDocumentMissing(); }));
    replace(document, wordDocument("back again"));
    expectVersions({"renamed", "in place", "back again"});

    // Its folder removed under it: the next save finds one.
    fs::remove_all(document.parent_path());
    ASSERT_TRUE(waitFor([&] { return fs::is_directory(document.parent_path()); }));
    replace(document, wordDocument("from memory"));
    expectVersions({"renamed", "in place", "back again", "from memory"});
    EXPECT_EQ(workflow->active()->record().versions, 5);
    EXPECT_EQ(events.count(QStringLiteral("DESKTOP_WORD_REPORT_SAVE_CONFIRMED")), 4);
}

TEST_F(WordReportSavingTest, whatIsSavedDuringAnUploadGoesNextAndOnlyTheNewest) {
    service->hold(true);
    replace(document, wordDocument("first"));
    ASSERT_TRUE(waitFor([&] { return service->saves() == 1; }));
    for (const char* text : {"second", "third", "fourth"})
        replace(document, wordDocument(text));
    service->hold(false);
    expectVersions({"first", "fourth"});
}

TEST_F(WordReportSavingTest, whatDidNotArriveIsTriedAgainAsItsFailureSays) {
    service->failNext(Fault::NoAnswer);
    service->failNext(Fault::Refuse, 503);
    replace(document, wordDocument("outage"));
    expectVersions({"outage"}); // by itself
    EXPECT_TRUE(said.contains(QStringLiteral(
        "Word Save is still local; Zorbel sync failed: It said no. The Word report remains open locally. Fix "
        "the issue and save again.")))
        << said.join('\n').toStdString();

    service->failNext(Fault::Stored);
    replace(document, wordDocument("no duplicate"));
    expectVersions({"outage", "no duplicate"});

    reader.signsIn = false;
    service->failNext(Fault::Refuse, 401);
    replace(document, wordDocument("signed in again"));
    ASSERT_TRUE(becomes(State::Failed));
    reader.signsIn = true;
    service->failNext(Fault::Refuse, 401);
    workflow->retry(); // asks again
    expectVersions({"outage", "no duplicate", "signed in again"});

    service->failNext(Fault::Refuse, 413);
    replace(document, wordDocument("too large"));
    ASSERT_TRUE(becomes(State::Failed));
    replace(document, wordDocument("smaller"));
    expectVersions({"outage", "no duplicate", "signed in again", "smaller"});

    service->failNext(Fault::Refuse, 422);
    replace(document, wordDocument("refused once"));
    ASSERT_TRUE(becomes(State::Failed));
    workflow->retry();
    expectVersions({"outage", "no duplicate", "signed in again", "smaller", "refused once"});
}

TEST_F(WordReportSavingTest, whatIsNoWordDocumentIsSaidUntilTheNextGoodSave) {
    const QString failed = QStringLiteral("The saved file is not a Word document that Zorbel can take.");
    int changes = 0;
    replace(document, "saved with a password");
    ASSERT_TRUE(becomes(State::Failed));
    EXPECT_TRUE(said.last().contains(failed)) << said.last().toStdString();
    EXPECT_TRUE(workflow->active()->isOverdue());
    QObject::connect(workflow->active(), &WordReport::stateChanged, [&] { ++changes; });
    settleDown(); // it ends, too
    workflow->begin(requestFor("4.5.6"));
    ASSERT_TRUE(waitFor([&] { return reader.opened.size() == 2; })); // the reader was asked
    EXPECT_EQ(reader.asked, QStringList{QStringLiteral("Switch Word report")});
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(service->saves(), 0);
    ASSERT_EQ(workflow->waiting().size(), 1u);
    replace(document, wordDocument("without it"));
    workflow->retry();
    expectVersions({"without it"});
}

TEST_F(WordReportSavingTest, anotherVersionIsNotPassedOverWithoutTheReadersWord) {
    service->failNext(Fault::Refuse, 409);
    replace(document, wordDocument("mine"));
    ASSERT_TRUE(waitFor([&] { return bool(reader.conflict); }));
    reader.conflict(false);
    replace(document, wordDocument("mine, saved again"));
    ASSERT_TRUE(waitFor([&] { // it has been looked at
        replace(document, wordDocument("mine, once more"));
        return workflow->state() == State::Failed;
    }));
    EXPECT_EQ(service->saves(), 1);
    EXPECT_EQ(reader.asked, QStringList{QStringLiteral("conflict")});
    settleDown(); // as when the window closes
    EXPECT_EQ(service->saves(), 1);
    workflow->retry();
    ASSERT_TRUE(waitFor([&] { return reader.asked.size() == 2; })); // again, and not sent without an answer
    EXPECT_EQ(service->saves(), 1);
    reader.conflict(true);
    expectVersions({"mine, once more"});

    // One that the service does not speak of, but holds.
    service->failNext(Fault::NoAnswer);
    service->addVersion(wordDocument("theirs"));
    replace(document, wordDocument("mine again"));
    ASSERT_TRUE(waitFor([&] { return reader.asked.size() == 3; }));
    reader.conflict(true);
    expectVersions({"mine, once more", "theirs", "mine again"});
}

TEST_F(WordReportSavingTest, aWildSequenceOfSavesEndsInWhatWasSavedLast) {
    const int saves = qEnvironmentVariableIntValue("ZORBEL_WORD_SAVES") > 0
                          ? qEnvironmentVariableIntValue("ZORBEL_WORD_SAVES")
                          : 60;
    const int longest = qEnvironmentVariableIntValue("ZORBEL_WORD_SAVES") > 0 ? 500 : 20; // milliseconds
    std::mt19937 random(20);
    const auto upTo = [&](int most) { return std::uniform_int_distribution(0, most)(random); };
    QByteArray last;
    for (int save = 0; save < saves; ++save) {
        last = wordDocument("save " + QByteArray::number(save));
        if (upTo(2) == 0) {
            const std::array<std::pair<Fault, int>, 4> faults{
                {{Fault::NoAnswer, 0}, {Fault::Stored, 0}, {Fault::Refuse, 500}, {Fault::Refuse, 429}}};
            const auto [fault, status] = faults[static_cast<std::size_t>(upTo(3))];
            service->failNext(fault, status);
        }
        if (upTo(1) == 0) {
            replace(document, last);
        } else {
            writeFile(document, {last.constData(), static_cast<std::size_t>(last.size() / 2)});
            QTest::qWait(upTo(10));
            writeFile(document, {last.constData(), static_cast<std::size_t>(last.size())});
        }
        QTest::qWait(upTo(longest));
    }
    ASSERT_TRUE(
        waitFor([&] { return workflow->state() == State::Synced && service->versions().back() == last; }));
    const auto versions = service->versions();
    for (std::size_t i = 0; i < versions.size(); ++i) {
        EXPECT_TRUE(isWholePackage(versions[i])) << i;
        EXPECT_EQ(std::count(versions.begin(), versions.end(), versions[i]), 1) << i;
    }
}

} // namespace zorbel::test
