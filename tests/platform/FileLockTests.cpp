#include "platform/FileLock.h"
#include "platform/PrivateFile.h"
#include "platform/ProgramClaims.h"
#include "tests/platform/TestFolder.h"
#include "tests/support/ErrorOf.h"

#include <atomic>
#include <cstdlib>
#include <thread>

namespace {

using namespace zorbel;
namespace fs = std::filesystem;

class FileLockTest : public TestFolder {
protected:
    void SetUp() override {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        TestFolder::SetUp();
    }
    void TearDown() override {
        fs::remove(shared);
        TestFolder::TearDown();
    }

    /// Beside the folder, which the second process of a death test makes anew.
    const fs::path shared = fs::path(folder) += ".lock";
};

TEST_F(FileLockTest, HasOneHolderInThisProcessToo) {
    const fs::path file = folder / fs::path(u8"Röntgen.lock");
    auto first = FileLock::tryAcquire(file);
    ASSERT_TRUE(first);
    EXPECT_FALSE(FileLock::tryAcquire(file));

    FileLock moved = std::move(*first);
    first.reset();
    EXPECT_FALSE(FileLock::tryAcquire(file)) << "the moved lock still holds";
    {
        const auto other = FileLock::tryAcquire(folder / "other.lock");
        EXPECT_TRUE(other);
    }
    moved.removeFile();
    EXPECT_FALSE(fs::exists(file));
    EXPECT_TRUE(FileLock::tryAcquire(file));
}

TEST_F(FileLockTest, MayBeSharedAndThenKeepsOutWhoWantsItAlone) {
    const fs::path file = folder / "shared.lock";
    auto alone = FileLock::tryAcquire(file);
    EXPECT_FALSE(FileLock::tryShare(file));
    alone.reset();
    auto one = FileLock::tryShare(file);
    const auto other = FileLock::tryShare(file);
    EXPECT_TRUE(one && other);
    one.reset();
    EXPECT_FALSE(FileLock::tryAcquire(file)) << "the other still holds";
}

TEST_F(FileLockTest, HoldsAgainstAnotherProcess) {
    const auto tryIt = [this] { std::exit(FileLock::tryAcquire(shared) ? 10 : 11); };
    {
        const auto lock = FileLock::tryAcquire(shared);
        EXPECT_TRUE(lock); // not ASSERT: the second process comes by here too, and does not get it
        EXPECT_EXIT(tryIt(), testing::ExitedWithCode(11), "");
    }
    EXPECT_EXIT(tryIt(), testing::ExitedWithCode(10), "");
}

TEST_F(FileLockTest, EndsWithACrashedProcess) {
    EXPECT_DEATH(
        {
            const auto lock = FileLock::tryAcquire(shared);
            if (lock) {
                std::abort();
            }
            std::exit(0);
        },
        "");
    EXPECT_TRUE(fs::exists(shared));
    EXPECT_TRUE(FileLock::tryAcquire(shared));
}

TEST_F(FileLockTest, NeverHasTwoHoldersWhileTheFileComesAndGoes) {
    const fs::path file = folder / "busy.lock";
    std::atomic<int> holders = 0;
    std::atomic<int> taken = 0;
    std::atomic<bool> twoHolders = false;
    const auto work = [&] {
        while (taken < 300) {
            if (auto lock = FileLock::tryAcquire(file)) {
                twoHolders = twoHolders || ++holders != 1;
                ++taken;
                --holders;
                lock->removeFile();
            }
        }
    };
    std::thread one(work);
    std::thread two(work);
    one.join();
    two.join();
    EXPECT_FALSE(twoHolders);
}

TEST_F(FileLockTest, ClaimsTellTheLivingFromTheDead) {
    const ProgramClaims claims(folder / "session-");
    auto dying = std::make_optional(claims.take());
    const auto alive = claims.take();
    const std::string dead = dying->second;
    dying.reset(); // as a process that ends without a word
    std::ofstream(folder / "session-ffffffffffffffff.socket") << "no claim";
    for (const auto& claim : {dead, alive.second}) {
        const auto found = claims.find();
        EXPECT_EQ(found.living, std::vector{alive.second});
        EXPECT_EQ(found.dead.size(), claim == dead ? 1U : 0U);
        claims.removeDead(claim);
    }
    EXPECT_EQ(claims.find().living.size(), 1U);
}

TEST_F(FileLockTest, FailureNamesTheFile) {
    const auto error = test::errorOf([this] { FileLock::tryAcquire(folder / "absent" / "x.lock"); });
    EXPECT_NE(error.find("x.lock"), std::string::npos);
}

TEST_F(FileLockTest, OwnFolderIsAFolderOfOnesOwn) {
    createPrivateFolder(folder / "own");
    createPrivateFile(folder / "file");
    EXPECT_TRUE(isOwnFolder(folder / "own"));
    EXPECT_FALSE(isOwnFolder(folder / "file"));
    EXPECT_FALSE(isOwnFolder(folder / "absent"));
}

} // namespace
