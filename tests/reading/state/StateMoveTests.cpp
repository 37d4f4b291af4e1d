#include "StateFixture.h"
#include "viewer/reading/state/ReadingSaver.h"

#include <future>

namespace zorbel::tests {
namespace {

namespace fs = std::filesystem;

/// The cache folder is changed while a study is open.
class StateMove : public StateFixture {
protected:
    static std::string moveTo(ReadingSaver& saver, const fs::path& place) {
        std::promise<std::string> failure;
        saver.moveTo(place, StudyIdentity{.studyInstanceUid = uid}, [&](const std::string& text) {
            failure.set_value(text);
        });
        return failure.get_future().get();
    }
    static StoredReading load(ReadingSaver& saver) {
        std::promise<StoredReading> stored;
        saver.load(uid, [&](StoredReading reading) { stored.set_value(std::move(reading)); });
        return stored.get_future().get();
    }
    static void capture(ReadingSaver& saver, const std::string& picture) {
        std::promise<void> done;
        saver.run([&](ReadingSaver::Stores& stores) {
            KeyImageList list = stores.keyImages.load(uid);
            EXPECT_TRUE(stores.keyImages.add(uid, list, {pngBytes(picture), 4, 4, "view"}).captured);
            stores.recent.recordOpened({.studyInstanceUid = uid, .patientName = "Doe"});
            stores.session.studyOpened({.studyInstanceUid = uid});
            done.set_value();
        });
        done.get_future().get();
    }
    static void record(ReadingSaver& saver, const std::string& note) {
        saver.save(uid, "CT", sampleFindings(note));
        saver.save(uid, "CT", sampleHanging());
    }

    const fs::path other = folder / "other" / "scope";
};

TEST_F(StateMove, takesEverythingAlongFromTheDiskAndFromMemory) {
    for (const fs::path& from : {root, fs::path()}) {
        fs::remove_all(other);
        {
            ReadingSaver saver(from, false, {});
            record(saver, "first");
            capture(saver, "one");
            EXPECT_EQ(moveTo(saver, other), "");
            EXPECT_EQ(load(saver).findings, sampleFindings("first"));
            EXPECT_EQ(load(saver).keyImages.images().size(), 1U);
            EXPECT_EQ(load(saver).hanging, sampleHanging());
            record(saver, "second");
        }
        ReadingSaver next(other, false, {});
        EXPECT_EQ(load(next).findings, sampleFindings("second"));
        const std::string file = stateFolder(StateKind::KeyImages).data() + ("/" + std::string(uid)) + "/" +
                                 load(next).keyImages.images().front().fileName;
        EXPECT_EQ(test::readFile(other / file), pngBytes("one"));
        EXPECT_NE(test::readFile(other / "session.json").find(uid), std::string::npos) << "it is open there";
        EXPECT_NE(test::readFile(other / "recent-studies.json").find("Doe"), std::string::npos);
    }
    EXPECT_EQ(contents("session.json").find(uid), std::string::npos) << "and no longer here";
}

TEST_F(StateMove, whatLiesThereIsSetAsideAndNotLost) {
    {
        ReadingSaver earlier(other, false, {});
        record(earlier, "theirs");
        capture(earlier, "theirs");
    }
    ReadingSaver saver(root, false, {});
    record(saver, "ours");
    capture(saver, "ours");
    EXPECT_EQ(moveTo(saver, other), "");
    EXPECT_EQ(load(saver).findings, sampleFindings("ours"));
    std::size_t aside = 0;
    for (const auto& entry : fs::recursive_directory_iterator(other))
        if (entry.is_regular_file() && entry.path().string().find(".damaged-") != std::string::npos)
            aside += test::readFile(entry.path()).find("theirs") != std::string::npos ? 1 : 0;
    EXPECT_EQ(aside, 2U) << "findings and picture";
}

TEST_F(StateMove, aFolderThatRefusesChangesNothing) {
    ReadingSaver saver(root, false, {});
    record(saver, "first");
    test::writeFile(folder / "file", "in the way");
    EXPECT_NE(moveTo(saver, folder / "file" / "scope"), "");
    record(saver, "second");
    EXPECT_EQ(load(saver).findings, sampleFindings("second"));
    EXPECT_NE(contents(std::string("findings/") + uid + ".json").find("second"), std::string::npos);
}

} // namespace
} // namespace zorbel::tests
