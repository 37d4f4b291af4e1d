#include "cache/storage/RemovalRetry.h"
#include "cache/storage/StorageSession.h"
#include "tests/cache/storage/OtherProcess.h"
#include "tests/cache/storage/StorageFixture.h"

#include <optional>

namespace zorbel::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class StorageSessionTest : public StorageFixture {
protected:
    bool hasStudy() const { return fs::exists(storage().studyDirectory("1.1")); }
    /// Names in the cache root but for the scope directory.
    Names claims() const {
        Names names = namesIn(folder / "cache");
        std::erase(names, storage().scopeDirectory().filename().string());
        return names;
    }
};

fs::perms permissionsOf(const fs::path& path) {
    return fs::status(path).permissions();
}

TEST_F(StorageSessionTest, KeepsStudiesUnlessTheSettingAtTheEndSaysOtherwise) {
    {
        StorageSession session(storage(), false);
        addStudy("1.1", 100, 1h);
        EXPECT_EQ(claims().size(), 1U);
    }
    EXPECT_TRUE(hasStudy());
    EXPECT_TRUE(claims().empty());

    StorageSession session(storage(), false);
    session.setSessionOnly(true);
    session.end();
    EXPECT_FALSE(fs::exists(storage().scopeDirectory()));
    addStudy("1.1", 100, 1h);
    session.end();
    EXPECT_TRUE(hasStudy()) << "a session ends once";
}

TEST_F(StorageSessionTest, IsPrivateButLeavesTheUsersFolderAsItIs) {
    const auto root = folder / "cache";
    {
        StorageSession session(storage(), false);
        EXPECT_EQ(permissionsOf(root), fs::perms(0700));
        EXPECT_EQ(permissionsOf(root / claims().at(0)), fs::perms(0600));
    }
    fs::permissions(root, fs::perms(0755));
    write(root / "letter.txt", 10);
    addStudy("1.1", 100, 1h);
    fs::permissions(storage().scopeDirectory(), fs::perms(0755));
    StorageSession session(storage(), false);
    EXPECT_EQ(permissionsOf(root), fs::perms(0755));
    EXPECT_EQ(permissionsOf(storage().scopeDirectory()), fs::perms(0700));
    session.setSessionOnly(true);
    session.end();
    EXPECT_EQ(namesIn(root), Names{"letter.txt"});
}

TEST_F(StorageSessionTest, SessionOnlyClearsWhatACrashLeft) {
    {
        OtherProcess crashing([this](const auto& ready, const auto& mayEnd) {
            const StorageSession session(storage(), true);
            addStudy("1.1", 100, 1h);
            ready();
            mayEnd();
        });
        crashing.waitUntilReady();
        crashing.kill();
    }
    ASSERT_TRUE(hasStudy());
    ASSERT_EQ(claims().size(), 1U);
    const StorageSession session(storage(), true);
    EXPECT_FALSE(hasStudy());
    EXPECT_EQ(claims().size(), 1U) << "the new claim alone";
}

TEST_F(StorageSessionTest, SessionOnlyIsClearedByTheLastOneToLeave) {
    OtherProcess other([this](const auto& ready, const auto& mayEnd) {
        StorageSession session(storage(), true);
        addStudy("1.1", 100, 1h);
        ready();
        mayEnd();
        EXPECT_TRUE(hasStudy());
        session.end();
        EXPECT_FALSE(hasStudy());
        ready();
    });
    other.waitUntilReady();
    StorageSession session(storage(), true);
    EXPECT_TRUE(hasStudy()) << "a start does not clear what another works with";
    session.end();
    EXPECT_TRUE(hasStudy()) << "nor does an end";
    StorageSession ofAnotherUser(storage("user-2"), true);
    other.letEnd();
    EXPECT_TRUE(other.succeeds());
}

TEST_F(StorageSessionTest, NobodysStorageIsClearedAfterHeBegan) {
    const auto comeAndGo = [this](const std::string& uid) {
        for (int round = 0; round < 150; ++round) {
            StorageSession session(storage(), true);
            const auto file = storage().studyDirectory(uid) / "manifest.json";
            write(file, 1);
            for (int look = 0; look < 20; ++look)
                ASSERT_TRUE(fs::exists(file)) << "round " << round;
            session.end();
        }
    };
    OtherProcess first([&](const auto&, const auto&) { comeAndGo("1.1"); });
    OtherProcess second([&](const auto&, const auto&) { comeAndGo("1.2"); });
    EXPECT_TRUE(first.succeeds());
    EXPECT_TRUE(second.succeeds());
    EXPECT_TRUE(namesIn(folder / "cache").empty());
}

TEST_F(StorageSessionTest, TriesTenTimesWhileInUse) {
    int attempts = 0;
    const auto failing = [&attempts](int failures, std::errc error) {
        attempts = 0;
        return removeWithRetry(
            [&attempts, failures, error] {
                return ++attempts <= failures ? std::make_error_code(error) : std::error_code();
            },
            0ms);
    };
    EXPECT_FALSE(failing(9, std::errc::directory_not_empty));
    EXPECT_EQ(attempts, 10);
    EXPECT_EQ(failing(99, std::errc::permission_denied), std::errc::permission_denied);
    EXPECT_EQ(attempts, 10);
    EXPECT_TRUE(failing(99, std::errc::read_only_file_system));
    EXPECT_EQ(attempts, 1);
}

TEST_F(StorageSessionTest, SaysWhenItCannotClear) {
    EXPECT_TRUE(succeedsWithoutPrivileges(folder.c_str(), [this] {
        StorageSession session(storage(), true);
        const auto closed = addStudy("1.1", 100, 1h) / "series";
        fs::permissions(closed, fs::perms(0500));
        EXPECT_EQ(
            failureOf<std::runtime_error>([&] { session.end(); }),
            "Unable to clear session-only viewer cache");
        EXPECT_TRUE(claims().empty());

        EXPECT_NO_THROW(StorageSession(storage(), true)) << "the program starts all the same";
        for (const auto& entry : fs::recursive_directory_iterator(storage().scopeDirectory()))
            if (entry.path().filename() == "series")
                fs::permissions(entry.path(), fs::perms(0700));
        EXPECT_NO_THROW(StorageSession(storage(), true));
        EXPECT_FALSE(fs::exists(storage().scopeDirectory()));
    }));
}

TEST_F(StorageSessionTest, RefusesARootThatIsNone) {
    write(folder / "cache", 1);
    EXPECT_EQ(
        failureOf<std::runtime_error>([this] { StorageSession(storage(), true); }),
        "The viewer cache root is not a folder");
    EXPECT_TRUE(succeedsWithoutPrivileges(folder.c_str(), [this] {
        fs::remove(folder / "cache");
        fs::permissions(folder, fs::perms(0500));
        const auto failure = failureOf<std::runtime_error>([this] { StorageSession(storage(), false); });
        EXPECT_NE(failure.find("Permission denied"), std::string::npos) << failure;
    }));
}

TEST_F(StorageSessionTest, SurvivesTheRemovalOfItsFolder) {
    StorageSession session(storage(), true);
    addStudy("1.1", 100, 1h);
    fs::remove_all(folder / "cache");
    EXPECT_NO_THROW(session.end());
}

} // namespace
} // namespace zorbel::test
