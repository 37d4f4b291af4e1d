#include "api/UserProfile.h"
#include "app/SessionStorage.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace zorbel {
namespace {

namespace fs = std::filesystem;

class SessionStorageTest : public testing::Test {
protected:
    fs::path scopeIn(const fs::path& cache) const {
        return cache / StorageScope::of("org-1", "user-1").identifier();
    }
    fs::path keep(const fs::path& cache, const char* uid, const char* bytes = "12345") const {
        const auto study = scopeIn(cache) / uid;
        fs::create_directories(study);
        std::ofstream(study / "manifest.json") << bytes;
        return study;
    }
    /// What went wrong, once it is done.
    static QString change(SessionStorage& storage, const ViewerCacheSettings& chosen, bool removeOld = true) {
        QEventLoop loop;
        QString told;
        bool done = false;
        storage.change(chosen, removeOld, [&](const QString& failure) {
            told = failure;
            done = true;
            loop.quit();
        });
        if (!done)
            loop.exec();
        return told;
    }

    int argc = 0;
    QCoreApplication application{argc, nullptr};
    QTemporaryDir folder;
    const fs::path top = folder.path().toStdString();
    const fs::path root = top / "cache";
    ViewerCacheSettings settings{root, 1, 10};
    const test::LogCapture log;
    UserProfile profile = [] {
        UserProfile user;
        user.id = QStringLiteral("user-1");
        user.organizationId = QStringLiteral("org-1");
        return user;
    }();
};

TEST_F(SessionStorageTest, AppliesThePolicyToTheUsersStudies) {
    const auto study = keep(root, "1.2");
    const auto expired = keep(root, "1.3");
    fs::last_write_time(expired, ViewerStorage::Time::clock::now() - std::chrono::hours(49));
    settings.retentionDays = 2;
    const SessionStorage storage(profile, settings);
    EXPECT_TRUE(fs::exists(study));
    EXPECT_FALSE(fs::exists(expired));
    for (const char* part :
         {R"("Viewer cache policy applied")", R"("removedDirectories":"1")", R"("remainingBytes":"5")",
          R"("retentionDays":"2")"})
        EXPECT_TRUE(log.contains(part)) << log.text();
}

TEST_F(SessionStorageTest, GoesOnWithoutWhatFails) {
    std::ofstream(root) << "in the way";
    EXPECT_TRUE(SessionStorage(profile, settings).loads());
    EXPECT_TRUE(log.contains(R"("Viewer cache is unavailable")")) << log.text();
    settings.retentionDays = 0;
    EXPECT_FALSE(SessionStorage(profile, settings).loads()) << "nobody would clear it";
    settings.cacheDir.clear();
    EXPECT_FALSE(SessionStorage(profile, settings).storage());
    EXPECT_TRUE(log.contains("Viewer cache root is empty")) << log.text();
    profile.id.clear();
    EXPECT_FALSE(SessionStorage(profile, settings).storage());
    EXPECT_TRUE(log.contains("Viewer storage requires organization and user identity")) << log.text();
}

TEST_F(SessionStorageTest, AChangeHoldsAtOnceAndWhatWasLeftGoesAtTheEnd) {
    const auto before = keep(root, "1.2");
    SessionStorage storage(profile, settings);
    std::vector<fs::path> used;
    storage.setWindow({.use = [&used](const fs::path& state, const SessionStorage::Done& done) {
        used.push_back(state);
        done({});
    }});
    const auto expired = keep(top / "b", "1.3");
    fs::last_write_time(expired, ViewerStorage::Time::clock::now() - std::chrono::hours(49));
    EXPECT_EQ(change(storage, {top / "b", 1, 100}), QString());
    EXPECT_EQ(storage.loads()->cacheRoot(), top / "b");
    EXPECT_EQ(storage.policy().quotaBytes, 107'374'182'400U);
    EXPECT_FALSE(fs::exists(expired)) << "the policy is applied at once";
    EXPECT_TRUE(fs::exists(before)) << "it may be in use";
    const auto kept = keep(top / "b", "1.4");
    // A second change that leaves no folder says nothing new about the one that was left.
    EXPECT_EQ(change(storage, {top / "b", 2, 100}, false), QString());
    EXPECT_EQ(change(storage, {top / "c", 2, 100}, false), QString());
    EXPECT_EQ(used, (std::vector{scopeIn(top / "b"), fs::path(), scopeIn(top / "c")}));
    storage.end();
    EXPECT_FALSE(fs::exists(before));
    EXPECT_TRUE(fs::exists(kept));
}

TEST_F(SessionStorageTest, SessionOnlyLeavesNothingInAnyFolder) {
    SessionStorage storage(profile, settings);
    const auto one = keep(root, "1.2");
    EXPECT_EQ(change(storage, {top / "b", 1, 10}, false), QString());
    const auto other = keep(top / "b", "1.2");
    EXPECT_EQ(change(storage, {top / "b", 0, 10}, false), QString());
    EXPECT_TRUE(storage.isSessionOnly());
    EXPECT_TRUE(fs::exists(other)) << "until the end";
    storage.end();
    EXPECT_FALSE(fs::exists(scopeIn(root)) || fs::exists(scopeIn(top / "b")));
}

TEST_F(SessionStorageTest, AChangeThatFailsLeavesEverythingAsItWas) {
    SessionStorage storage(profile, settings);
    const auto study = keep(root, "1.2");
    std::ofstream(top / "file") << "in the way";
    EXPECT_NE(change(storage, {top / "file", 0, 10}), QString());
    EXPECT_EQ(change(storage, {{}, 0, 10}), QStringLiteral("Viewer cache root is empty"));
    storage.setWindow({.use = [](const fs::path&, const SessionStorage::Done& done) {
        done(QStringLiteral("disk full"));
    }});
    EXPECT_EQ(change(storage, {top / "b", 0, 10}), QStringLiteral("disk full"));
    EXPECT_EQ(storage.loads()->cacheRoot(), root);
    EXPECT_FALSE(storage.isSessionOnly());
    storage.end();
    EXPECT_TRUE(fs::exists(study));
}

} // namespace
} // namespace zorbel
