#include "tests/cache/storage/StorageFixture.h"

namespace zorbel::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr auto day = std::chrono::hours(24);
constexpr std::uint64_t plenty = std::uint64_t{10} << 30;

class ViewerStorageTest : public StorageFixture {};

TEST(StorageScopeTest, namesAUserOfAnOrganization) {
    // printf 'org-1|user-1' | sha256sum
    EXPECT_EQ(StorageScope::of("org-1", "user-1").identifier(), "c772953e835ed74f5f52de88");
    EXPECT_NE(StorageScope::of("org-1", "user-2"), StorageScope::of("org-1", "user-1"));
    EXPECT_NE(StorageScope::of("org-2", "user-1"), StorageScope::of("org-1", "user-1"));
    EXPECT_THROW(StorageScope::of("", "user-1"), std::invalid_argument);
    EXPECT_THROW(StorageScope::of("org-1", ""), std::invalid_argument);

    const std::string good = "0123456789abcdef01234567";
    EXPECT_EQ(StorageScope::fromIdentifier(good).identifier(), good);
    for (const auto& bad :
         {std::string(), good + "0", good.substr(1), "../" + good.substr(3), "A" + good.substr(1)})
        EXPECT_THROW(StorageScope::fromIdentifier(bad), std::invalid_argument) << bad;
}

TEST_F(ViewerStorageTest, givesEachUserAndStudyAFolder) {
    const auto mine = storage();
    EXPECT_EQ(mine.scopeDirectory().parent_path(), folder / "cache");
    EXPECT_NE(storage("user-2").scopeDirectory(), mine.scopeDirectory());
    EXPECT_EQ(mine.archiveDirectory("1.2", "1.3"), mine.studyDirectory("1.2") / "series" / "1.3");

    EXPECT_NO_THROW(mine.studyDirectory(std::string(64, '1')));
    for (const auto& uid :
         {std::string(), std::string(65, '1'), std::string("."), std::string(".."), std::string("1..2"),
          std::string(".1"), std::string("1."), std::string("../1"), std::string("1/2"), std::string("1 "),
          std::string("1\0", 2)}) {
        EXPECT_THROW(mine.studyDirectory(uid), std::invalid_argument) << uid;
        EXPECT_THROW(mine.archiveDirectory("1.2", uid), std::invalid_argument) << uid;
    }
}

TEST_F(ViewerStorageTest, removesWhatIsOlderThanTheRetention) {
    addStudy("1.1", 100, 2 * day + 1s);
    addStudy("1.2", 100, 2 * day);
    addStudy("1.3", 100, 1h);
    const auto result = storage().applyPolicy({2, plenty}, now);
    EXPECT_EQ(kept(), (Names{"1.2", "1.3"}));
    EXPECT_EQ(result.removedDirectories, 1U);
    EXPECT_EQ(result.remainingBytes, 200U);
}

TEST_F(ViewerStorageTest, withoutRetentionKeepsOldStudiesUntilTheQuotaForcesTheOldestOut) {
    addStudy("1.1", 100, 10 * day);
    addStudy("1.2", 100, 4000 * day);
    addStudy("1.3", 100, 1h);
    EXPECT_EQ(storage().applyPolicy({0, 300}, now).removedDirectories, 0U);
    const auto result = storage().applyPolicy({0, 299}, now);
    EXPECT_EQ(kept(), (Names{"1.1", "1.3"}));
    EXPECT_EQ(result.removedDirectories, 1U);
    EXPECT_EQ(result.remainingBytes, 200U);
    EXPECT_EQ(storage().applyPolicy({0, 0}, now).remainingBytes, 0U);
}

TEST_F(ViewerStorageTest, refusesARetentionOutOfRangeBeforeAnythingIsTouched) {
    addStudy("1.1", 100, 4000 * day);
    EXPECT_EQ(
        failureOf<std::invalid_argument>([this] {
            storage().applyPolicy({366, 0}, now);
        }),
        "Viewer cache retention is outside the allowed range");
    EXPECT_EQ(kept(), Names{"1.1"});
    EXPECT_EQ(storage().applyPolicy({365, plenty}, now).removedDirectories, 1U);
}

TEST_F(ViewerStorageTest, createsNothing) {
    const auto result = storage().applyPolicy({1, 0}, now);
    EXPECT_EQ(result.remainingBytes, 0U);
    EXPECT_EQ(result.removedDirectories, 0U);
    EXPECT_EQ(storage().usage().studies, 0U);
    EXPECT_NO_THROW(storage().clear());
    EXPECT_FALSE(fs::exists(folder / "cache"));
}

TEST_F(ViewerStorageTest, leavesWhatIsNoStudyAloneAndFollowsNoLink) {
    const auto outside = folder / "outside";
    write(outside / "1.dcm", 5000);
    fs::last_write_time(outside, now - 400 * day);
    const auto study = addStudy("1.1", 100, 1h);
    fs::create_directory_symlink(outside, study / "series" / "link");
    fs::create_symlink(outside / "1.dcm", study / "link.dcm");
    fs::last_write_time(study, now - 1h);
    const auto scope = storage().scopeDirectory();
    fs::create_directory_symlink(outside, scope / "1.2");
    write(scope / "1.3", 70);
    write(scope / "notes" / "a.txt", 70);
    write(storage("user-2").scopeDirectory() / "1.1" / "manifest.json", 70);
    fs::last_write_time(storage("user-2").scopeDirectory() / "1.1", now - 400 * day);

    EXPECT_EQ(storage().usage().studies, 1U);
    EXPECT_EQ(storage().applyPolicy({1, plenty}, now).remainingBytes, 100U);
    EXPECT_EQ(storage().applyPolicy({1, 0}, now).removedDirectories, 1U);
    EXPECT_EQ(kept(), (Names{"1.2", "1.3", "notes"}));
    EXPECT_EQ(fs::file_size(outside / "1.dcm"), 5000U);
    EXPECT_TRUE(fs::exists(storage("user-2").studyDirectory("1.1")));
}

TEST_F(ViewerStorageTest, putsStampsInTheFutureRightInTheirOrder) {
    addStudy("1.1", 100, -300 * day);
    addStudy("1.2", 100, -200 * day);
    addStudy("1.3", 100, 1h);
    EXPECT_EQ(storage().applyPolicy({1, 200}, now).removedDirectories, 1U);
    EXPECT_EQ(kept(), (Names{"1.1", "1.2"}));
    EXPECT_EQ(storage().applyPolicy({0, 100}, now).removedDirectories, 1U);
    EXPECT_EQ(kept(), Names{"1.1"}) << "opened last, by its stamp";
    EXPECT_EQ(storage().applyPolicy({1, plenty}, now + day + 1h).removedDirectories, 1U) << "it ages";
}

TEST_F(ViewerStorageTest, touchMakesAStudyTheYoungest) {
    const auto old = addStudy("1.1", 100, 300 * day);
    addStudy("1.2", 100, 1h);
    storage().touch(old);
    storage().applyPolicy({1, 100}, Time::clock::now());
    EXPECT_EQ(kept(), Names{"1.1"});
}

TEST_F(ViewerStorageTest, touchRefusesWhatIsNoStudyOfTheScope) {
    const auto scope = storage().scopeDirectory();
    const auto study = addStudy("1.1", 100, 1h);
    write(scope / "1.2", 1);
    fs::create_directory_symlink(study, scope / "1.3");
    write(storage("user-2").studyDirectory("1.1") / "manifest.json", 1);
    const auto refusal = [this](const fs::path& path) {
        return failureOf<std::exception>([&] { storage().touch(path); });
    };
    EXPECT_EQ(refusal(scope / "1.4"), "Viewer cache study directory is unavailable");
    for (const auto& path :
         {scope, study / "series", scope / ".." / scope.filename() / "1.1", scope / "..",
          study / ".." / "1.1", scope / "1.2", scope / "1.3", storage("user-2").studyDirectory("1.1"),
          fs::path("1.1"), fs::path()})
        EXPECT_EQ(refusal(path), "Invalid viewer cache study directory") << path;
}

TEST_F(ViewerStorageTest, countsAndClearsOneUsersStudies) {
    addStudy("1.1", 100, 1h);
    addStudy("1.2", 50, 1h);
    write(storage("user-2").studyDirectory("1.3") / "manifest.json", 70);
    write(folder / "cache" / "of the user's own.txt", 1);
    EXPECT_EQ(storage().usage().studies, 2U);
    EXPECT_EQ(storage().usage().bytes, 150U);
    storage().clear();
    EXPECT_FALSE(fs::exists(storage().scopeDirectory()));
    EXPECT_EQ(storage().usage().bytes, 0U);
    EXPECT_EQ(storage("user-2").usage().bytes, 70U);
    EXPECT_TRUE(fs::exists(folder / "cache" / "of the user's own.txt"));
}

} // namespace
} // namespace zorbel::test
