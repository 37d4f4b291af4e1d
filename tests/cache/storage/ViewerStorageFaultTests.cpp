#include "platform/FileLock.h"
#include "tests/cache/storage/OtherProcess.h"
#include "tests/cache/storage/StorageFixture.h"

#include <atomic>
#include <thread>

#include <unistd.h>

namespace zorbel::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr auto day = std::chrono::hours(24);
constexpr std::uint64_t plenty = std::uint64_t{10} << 30;

class ViewerStorageFaultTest : public StorageFixture {};

TEST_F(ViewerStorageFaultTest, LeavesStudiesThatAWriterIsAtWorkIn) {
    const auto busy = addStudy("1.1", 100, 300 * day);
    const auto crashed = addStudy("1.2", 100, 200 * day);
    addStudy("1.3", 100, 1h);
    write(crashed / "series" / "1.9.lock", 0);
    fs::last_write_time(busy, now - 300 * day);
    fs::last_write_time(crashed, now - 200 * day);
    auto lock = FileLock::tryAcquire(busy / "series" / "1.9.lock");
    ASSERT_TRUE(lock);

    auto result = storage().applyPolicy({1, plenty}, now);
    EXPECT_EQ(kept(), (Names{"1.1", "1.3"})) << "the lock file of a dead writer holds nobody off";
    EXPECT_EQ(result.remainingBytes, 200U);
    result = storage().applyPolicy({0, 100}, now);
    EXPECT_EQ(kept(), Names{"1.1"});
    EXPECT_EQ(result.remainingBytes, 100U);

    lock.reset();
    EXPECT_EQ(storage().applyPolicy({1, plenty}, now).removedDirectories, 1U);
    EXPECT_TRUE(kept().empty());
}

TEST_F(ViewerStorageFaultTest, KilledInTheMiddleOfARemovalLeavesAWholeStudyOrNone) {
    constexpr int files = 200;
    int cutShort = 0;
    for (int round = 0; round < 25; ++round) {
        const auto study = storage().studyDirectory("1.1");
        for (int i = 0; i < files; ++i)
            write(study / ("chunk-" + std::to_string(i)), 1);
        fs::last_write_time(study, now - 2 * day);
        OtherProcess remover([this](const auto& ready, const auto&) {
            ready();
            storage().applyPolicy({1, plenty}, now);
        });
        remover.waitUntilReady();
        std::this_thread::sleep_for(round * 100us);
        remover.kill();
        const auto left = kept();
        if (fs::exists(study)) {
            ASSERT_EQ(namesIn(study).size(), std::size_t{files}) << "round " << round;
        } else {
            cutShort += left.empty() ? 0 : 1;
        }
        storage().applyPolicy({1, plenty}, now);
        ASSERT_TRUE(kept().empty()) << "round " << round;
    }
    RecordProperty("cutShort", cutShort);
}

TEST_F(ViewerStorageFaultTest, TwoViewersApplyThePolicyAtOnce) {
    for (int i = 0; i < 300; ++i)
        addStudy("1." + std::to_string(i), 10, 2 * day);
    std::atomic<std::size_t> removed = 0;
    const auto apply = [&] {
        EXPECT_NO_THROW(removed += storage().applyPolicy({1, plenty}, now).removedDirectories);
    };
    std::thread other(apply);
    apply();
    other.join();
    EXPECT_EQ(removed, 300U);
    EXPECT_TRUE(kept().empty());
}

TEST_F(ViewerStorageFaultTest, WhatCannotBeRemovedStopsThePolicyAndIsCounted) {
    EXPECT_TRUE(succeedsWithoutPrivileges(folder.c_str(), [this] {
        const auto closed = addStudy("1.2", 100, 3 * day) / "series" / "1.9";
        addStudy("1.1", 100, 4 * day);
        addStudy("1.3", 100, 2 * day);
        addStudy("1.4", 100, 1h);
        fs::permissions(closed, fs::perms(0500));
        EXPECT_EQ(
            failureOf<std::runtime_error>([this] {
                storage().applyPolicy({1, plenty}, now);
            }),
            "Unable to remove an expired viewer cache entry");
        EXPECT_FALSE(fs::exists(storage().studyDirectory("1.1"))) << "what was removed stays removed";
        EXPECT_FALSE(fs::exists(storage().studyDirectory("1.2"))) << "half of a study is none";
        EXPECT_TRUE(fs::exists(storage().studyDirectory("1.3")));

        const auto result = storage().applyPolicy({1, plenty}, now);
        EXPECT_EQ(result.removedDirectories, 1U);
        EXPECT_GE(result.remainingBytes, 150U) << "the closed half of the study is still there";
    }));
}

TEST_F(ViewerStorageFaultTest, SaysWhatAReadOnlyFolderRefuses) {
    EXPECT_TRUE(succeedsWithoutPrivileges(folder.c_str(), [this] {
        const auto scope = storage().scopeDirectory();
        addStudy("1.1", 100, 2 * day);
        fs::permissions(scope, fs::perms(0500));
        const auto failure = [](auto call) { return failureOf<std::runtime_error>(call); };
        EXPECT_EQ(
            failure([this] {
                storage().applyPolicy({1, plenty}, now);
            }),
            "Unable to remove an expired viewer cache entry");
        EXPECT_EQ(
            failure([this] {
                storage().applyPolicy({0, 1}, now);
            }),
            "Unable to enforce the viewer cache quota");
        EXPECT_EQ(failure([this] { storage().clear(); }), "Unable to clear the viewer cache");
        EXPECT_EQ(storage().usage().studies, 1U) << "nothing is lost";
        fs::permissions(scope, fs::perms(0));
        EXPECT_EQ(
            failure([this] { storage().usage(); }), "Unable to read the viewer cache: Permission denied");
        fs::permissions(scope, fs::perms(0700));
    }));
}

TEST_F(ViewerStorageFaultTest, TouchFailsOnAnotherAccountsStudy) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs an administrator to make one";
    const auto study = addStudy("1.1", 100, 2 * day);
    EXPECT_TRUE(succeedsWithoutPrivileges(folder.c_str(), [&] {
        EXPECT_EQ(
            failureOf<std::runtime_error>([&] { storage().touch(study); }),
            "Unable to update viewer cache access time");
    }));
}

TEST_F(ViewerStorageFaultTest, ALinkInTheScopesPlaceLeadsNowhere) {
    const auto outside = folder / "outside";
    write(outside / "1.1" / "a.dcm", 10);
    fs::last_write_time(outside / "1.1", now - 2 * day);
    fs::create_directories(folder / "cache");
    fs::create_directory_symlink(outside, storage().scopeDirectory());
    EXPECT_THROW(storage().applyPolicy({1, 0}, now), std::runtime_error);
    EXPECT_THROW(storage().usage(), std::runtime_error);
    storage().clear();
    EXPECT_FALSE(fs::is_symlink(storage().scopeDirectory()));
    EXPECT_TRUE(fs::exists(outside / "1.1" / "a.dcm"));
}

} // namespace
} // namespace zorbel::test
