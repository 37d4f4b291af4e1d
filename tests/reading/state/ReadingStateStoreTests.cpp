#include "tests/reading/state/StateFixture.h"
#include "viewer/reading/state/RecentStudiesFile.h"
#include "viewer/reading/state/SessionFile.h"

#include <csignal>
#include <thread>

#include <sys/stat.h>

namespace zorbel::tests {
namespace {

namespace fs = std::filesystem;

class ReadingStateStoreTest : public StateFixture {};

/// Everything of a study, through one store.
void saveAll(ReadingStateStore& store, const std::string& uid) {
    EXPECT_EQ(store.save(samplePosition(uid)), "");
    EXPECT_EQ(store.save(uid, sampleHanging()), "");
    EXPECT_EQ(store.save(uid, sampleFindings()), "");
    EXPECT_EQ(store.saveMeasurements(uid, "[1]"), "");
}

void expectAll(ReadingStateStore& store, const std::string& uid) {
    EXPECT_EQ(store.readingPosition(uid), samplePosition(uid));
    EXPECT_EQ(store.hanging(uid), sampleHanging());
    EXPECT_EQ(store.findings(uid), sampleFindings());
    EXPECT_EQ(store.measurements(uid), "[1]");
}

TEST_F(ReadingStateStoreTest, keepsEachKindInAPrivateFileOfItsOwn) {
    {
        StateFiles files(root);
        ReadingStateStore store(files);
        EXPECT_FALSE(store.readingPosition(uid));
        EXPECT_EQ(store.measurements(uid), "[]");
        EXPECT_FALSE(fs::exists(folder)) << "reading creates nothing";
        saveAll(store, std::string(" ") + uid + "\n");
    }
    StateFiles files(root);
    ReadingStateStore store(files);
    expectAll(store, uid);
    EXPECT_FALSE(store.readingPosition("1.2.840.99"));
    const std::string file = std::string(uid) + ".json";
    EXPECT_EQ(
        names(), (std::set<std::string>{
                     "reading/" + file, "hanging/" + file, "findings/" + file, "measurements/" + file}));
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        struct stat info {};
        ASSERT_EQ(stat(entry.path().c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 077U, 0U) << entry.path();
    }
}

TEST_F(ReadingStateStoreTest, withoutARootTheSessionRemembersAndNothingIsWritten) {
    fs::create_directories(folder);
    fs::current_path(folder);
    {
        StateFiles files({});
        ReadingStateStore store(files);
        saveAll(store, uid);
        expectAll(store, uid);
        RecentStudiesFile recent(files);
        recent.recordOpened({.studyInstanceUid = uid});
        EXPECT_EQ(recent.load().studies().size(), 1U);
        SessionFile session(files);
        session.studyOpened({.orthancId = "id", .studyInstanceUid = uid});
        KeyImageStore images(files);
        KeyImageList list;
        const auto png = pngBytes("x");
        EXPECT_TRUE(images.add(uid, list, {png, 1, 1, "c"}).captured);
        EXPECT_EQ(images.load(uid), list);
        EXPECT_EQ(images.png(uid, list.images()[0]), png);
    }
    EXPECT_TRUE(fs::is_empty(folder));
    fs::current_path("/");
    StateFiles next({});
    EXPECT_FALSE(ReadingStateStore(next).readingPosition(uid));
    EXPECT_TRUE(SessionFile(next).recoverable(true).empty());
}

TEST_F(ReadingStateStoreTest, refusesWhatIsNoUid) {
    StateFiles files(root);
    ReadingStateStore store(files);
    for (const char* bad : {"", "../1", "1/../2", "UID unavailable", ".."}) {
        EXPECT_EQ(store.save(bad, sampleFindings()), "Could not save findings");
        EXPECT_EQ(store.save(samplePosition(bad)), "Could not save the reading position");
        EXPECT_EQ(store.save(bad, StudyHanging()), "Could not save the hanging protocol");
        EXPECT_EQ(store.saveMeasurements(bad, "[]"), "Could not save measurements");
        EXPECT_EQ(store.findings(bad), FindingList());
    }
    EXPECT_EQ(store.saveMeasurements(uid, "{"), "Could not save measurements");
    ReadingPosition flat = samplePosition(uid);
    flat.series["1.9"].axes = {};
    EXPECT_EQ(store.save(flat), "Could not save the reading position")
        << "planes that are none would be in the way of the next start";
    EXPECT_TRUE(names().empty());
}

TEST_F(ReadingStateStoreTest, aDamagedFileIsSetAsideAndOnlyTheLastOneKept) {
    const std::string name = std::string("findings/") + uid + ".json";
    StateFiles files(root);
    ReadingStateStore store(files);
    for (const std::string damage : {"{\"findings\": [", "", "[]", "\x80\x80"}) {
        put(name, damage);
        EXPECT_EQ(store.findings(uid), FindingList());
        EXPECT_FALSE(fs::exists(root / name));
        ASSERT_EQ(damagedCount(), 1U);
        EXPECT_EQ(contents(*names().begin()), damage);
    }
    EXPECT_EQ(store.save(uid, sampleFindings()), "");
    EXPECT_EQ(store.findings(uid), sampleFindings());
    EXPECT_EQ(damagedCount(), 1U) << "kept for who wants to look at it";
}

TEST_F(ReadingStateStoreTest, whatIsTooLargeOrNoFileIsNotReadAndNotLost) {
    const std::string name = std::string("reading/") + uid + ".json";
    StateFiles files(root);
    ReadingStateStore store(files);
    put(name, "");
    fs::resize_file(root / name, StateFiles::largestText + 1);
    EXPECT_FALSE(store.readingPosition(uid));
    EXPECT_EQ(damagedCount(), 1U);
    EXPECT_EQ(
        store.save(uid, sampleFindings(std::string(StateFiles::largestText, 'x'))),
        "Could not save findings");

    put("elsewhere", "precious");
    fs::create_symlink(root / "elsewhere", root / name);
    EXPECT_FALSE(store.readingPosition(uid));
    EXPECT_EQ(store.save(samplePosition(uid)), "");
    EXPECT_EQ(contents("elsewhere"), "precious");
    EXPECT_TRUE(store.readingPosition(uid));

    fs::remove(root / name);
    ASSERT_EQ(mkfifo((root / name).c_str(), 0600), 0);
    EXPECT_FALSE(store.readingPosition(uid)) << "and does not wait for a writer";
}

TEST_F(ReadingStateStoreTest, aPositionOfAnotherStudyIsNotApplied) {
    StateFiles files(root);
    ReadingStateStore store(files);
    EXPECT_EQ(store.save(samplePosition("1.2.3")), "");
    fs::rename(root / "reading/1.2.3.json", root / ("reading/" + std::string(uid) + ".json"));
    EXPECT_FALSE(store.readingPosition(uid));
}

TEST_F(ReadingStateStoreTest, unfinishedWritesGoUnlessSomebodyIsWriting) {
    put("findings/.1.2.json.AbCdEf", "{");
    put(".session.json.000000", "{");
    put("findings/1.2.json", "{\"findings\": []}");
    {
        StateFiles other(root);
        put("findings/.1.2.json.AbCdEf", "{");
        const auto writing = other.lock();
        ASSERT_TRUE(writing);
        StateFiles next(root);
        EXPECT_EQ(names().size(), 2U);
    }
    StateFiles files(root);
    EXPECT_EQ(names(), std::set<std::string>{"findings/1.2.json"});
}

TEST_F(ReadingStateStoreTest, studiesOpenedByTwoProgramsAtOnceAreAllRecent) {
    const auto open = [&](int program) {
        StateFiles files(root);
        RecentStudiesFile recent(files);
        for (int study = 0; study < 10; ++study) {
            const auto name = std::to_string(program) + "." + std::to_string(study);
            EXPECT_EQ(recent.recordOpened({.studyInstanceUid = name}), "");
        }
    };
    std::thread first([&] { open(1); });
    std::thread second([&] { open(2); });
    first.join();
    second.join();
    StateFiles files(root);
    const auto studies = RecentStudiesFile(files).load().studies();
    EXPECT_EQ(studies.size(), 20U);
    EXPECT_EQ(studies[0].lastOpenedAt.size(), 24U);
}

} // namespace
} // namespace zorbel::tests
