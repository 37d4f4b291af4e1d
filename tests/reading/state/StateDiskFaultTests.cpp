#include "tests/faults/DiskFaults.h"
#include "tests/reading/state/StateFixture.h"
#include "viewer/reading/state/RecentStudiesFile.h"
#include "viewer/reading/state/SessionFile.h"

namespace zorbel::tests {
namespace {

namespace fs = std::filesystem;

class StateDiskFaultTest : public StateFixture {
protected:
    /// Does it with the fault at each call in turn, until there is none left, on what `before` has left; the
    /// action throws the text that it got, if any.
    template <class Before, class Action, class After>
    void sweep(const DiskFaultKind& kind, const Before& before, const Action& action, const After& after) {
        for (unsigned long at = 1;; ++at) {
            ASSERT_LT(at, 200U);
            fs::remove_all(folder);
            before();
            const auto run = runWithDiskFault(
                {.at = at, .error = kind.error, .lasting = kind.lasting, .under = root}, [&] {
                    if (const std::string text = action(); !text.empty())
                        throw std::runtime_error(text);
                });
            SCOPED_TRACE(
                std::string(kind.name) + " at call " + std::to_string(at) + ": " + run.call + run.exception);
            after(run);
            if (!run.reached || HasFailure())
                return;
        }
    }
    std::size_t unfinishedCount() const {
        const auto all = names();
        return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), [](const std::string& name) {
            return fs::path(name).filename().string().front() == '.';
        }));
    }
};

TEST_F(StateDiskFaultTest, aSavedListIsWhollyTheOldOrWhollyTheNew) {
    for (const DiskFaultKind& kind : diskFaultKinds) {
        for (const bool hadOne : {true, false}) {
            sweep(
                kind,
                [&] {
                    StateFiles files(root);
                    if (hadOne)
                        ReadingStateStore(files).save(uid, sampleFindings("old"));
                },
                [&] {
                    StateFiles files(root);
                    return ReadingStateStore(files).save(uid, sampleFindings("new"));
                },
                [&](const FaultyRun& run) {
                    EXPECT_TRUE(run.exception.empty() || run.exception == "Could not save findings");
                    StateFiles files(root);
                    const auto found = ReadingStateStore(files).findings(uid);
                    const auto old = hadOne ? sampleFindings("old") : FindingList();
                    if (!run.killed && run.exception.empty())
                        EXPECT_EQ(found, sampleFindings("new"));
                    else if (!run.killed)
                        EXPECT_EQ(found, old);
                    else
                        EXPECT_TRUE(found == old || found == sampleFindings("new"));
                    EXPECT_EQ(damagedCount(), 0U);
                    EXPECT_EQ(unfinishedCount(), 0U);
                });
        }
    }
}

TEST_F(StateDiskFaultTest, aFailedCaptureLeavesTheListAndNoFile) {
    const auto png = pngBytes(std::string(10000, 'p'));
    const KeyImageList old({{"key-1.png", "old", 2, 2}});
    const auto capture = [&](KeyImageList& list, const char* caption) {
        StateFiles files(root);
        return KeyImageStore(files).add(uid, list, {png, 2, 2, caption});
    };
    for (const DiskFaultKind& kind : diskFaultKinds) {
        sweep(
            kind,
            [&] {
                KeyImageList list;
                ASSERT_TRUE(capture(list, "old").captured);
            },
            [&] {
                KeyImageList list = old;
                const auto result = capture(list, "new");
                if (!result.captured && list != old)
                    return std::string("the list has changed");
                return result.captured ? std::string() : result.text;
            },
            [&](const FaultyRun& run) {
                static const std::set<std::string> texts{
                    "", "The key image folder could not be created", "The key image could not be written",
                    "Could not save key images"};
                EXPECT_TRUE(texts.contains(run.exception));
                const std::string folderName = "keyimages/" + std::string(uid);
                const std::set<std::string> oldNames{folderName + "/index.json", folderName + "/key-1.png"};
                // On a disk that takes no change any more a picture cannot be removed either.
                if (!run.exception.empty() && !(kind.lasting && kind.error != ENOSPC)) {
                    EXPECT_EQ(names(), oldNames);
                }
                StateFiles files(root);
                KeyImageStore store(files);
                const auto list = store.load(uid);
                const bool isNew = list.images().size() == 2;
                EXPECT_TRUE(isNew || list == old);
                if (!run.killed) {
                    EXPECT_EQ(isNew, run.exception.empty());
                }
                for (const auto& image : list.images())
                    EXPECT_EQ(store.png(uid, image), png);
                EXPECT_EQ(names().size(), isNew ? 3U : 2U);
            });
    }
}

TEST_F(StateDiskFaultTest, aRemovedPictureIsInTheListWithItsFileOrInNeither) {
    const auto png = pngBytes(std::string(10000, 'p'));
    KeyImageList before;
    for (const DiskFaultKind& kind : diskFaultKinds) {
        sweep(
            kind,
            [&] {
                StateFiles files(root);
                before = {};
                for (const char* caption : {"goes", "stays"})
                    ASSERT_TRUE(KeyImageStore(files).add(uid, before, {png, 2, 2, caption}).captured);
            },
            [&] {
                StateFiles files(root);
                KeyImageList list = before;
                list.remove("key-1.png");
                KeyImageEdits edits;
                edits.note(before, list);
                return KeyImageStore(files).edit(uid, list, edits);
            },
            [&](const FaultyRun& run) {
                EXPECT_TRUE(run.exception.empty() || run.exception == "Could not save key images");
                const std::string folderName = "keyimages/" + std::string(uid);
                EXPECT_TRUE(names().contains(folderName + "/key-2.png"));
                StateFiles files(root);
                KeyImageStore store(files);
                const auto list = store.load(uid);
                const bool isRemoved = list.images().size() == 1;
                EXPECT_TRUE(isRemoved || list == before);
                if (!run.killed) {
                    EXPECT_EQ(isRemoved, run.exception.empty());
                }
                for (const auto& image : list.images())
                    EXPECT_EQ(store.png(uid, image), png);
                EXPECT_EQ(names().contains(folderName + "/key-1.png"), !isRemoved);
                EXPECT_EQ(damagedCount() + unfinishedCount(), 0U);
            });
    }
}

TEST_F(StateDiskFaultTest, theRecentStudiesSurviveAFailure) {
    const auto open = [&](const char* study) {
        StateFiles files(root);
        return RecentStudiesFile(files).recordOpened({.studyInstanceUid = study});
    };
    for (const DiskFaultKind& kind : diskFaultKinds) {
        sweep(
            kind, [&] { open("1.1"); }, [&] { return open("1.2"); },
            [&](const FaultyRun& run) {
                StateFiles files(root);
                const auto studies = RecentStudiesFile(files).load().studies();
                ASSERT_FALSE(studies.empty());
                EXPECT_EQ(studies.back().study.studyInstanceUid, "1.1");
                if (!run.killed) {
                    EXPECT_EQ(studies.size(), run.exception.empty() ? 2U : 1U);
                }
                EXPECT_EQ(names(), std::set<std::string>{"recent-studies.json"});
            });
    }
}

TEST_F(StateDiskFaultTest, aStudyThatWasClosedIsNotRecoverable) {
    for (const DiskFaultKind& kind : diskFaultKinds) {
        sweep(
            kind, [] {},
            [&] {
                StateFiles files(root);
                SessionFile session(files);
                const auto opening = session.studyOpened({.orthancId = "id", .studyInstanceUid = uid});
                const auto closing = session.studyClosed();
                return kind.error == ENOSPC ? closing : opening + closing;
            },
            [&](const FaultyRun& run) {
                StateFiles files(root);
                const auto left = SessionFile(files).recoverable(true);
                const bool mayBeLeft = run.killed || !run.exception.empty();
                EXPECT_TRUE(left.empty() || (mayBeLeft && left[0].studyInstanceUid == uid));
                if (kind.error == ENOSPC) {
                    EXPECT_TRUE(left.empty()) << "a full disk is no reason";
                }
            });
    }
}

} // namespace
} // namespace zorbel::tests
