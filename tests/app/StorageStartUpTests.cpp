#include "api/UserProfile.h"
#include "app/StorageStartUp.h"
#include "settings/model/ViewerCacheSettings.h"
#include "tests/support/LogCapture.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace zorbel {
namespace {

namespace fs = std::filesystem;

class StorageStartUp : public testing::Test {
protected:
    QTemporaryDir folder;
    const fs::path root = fs::path(folder.path().toStdString()) / "cache";
    ViewerCacheSettings settings{root, 1, 10};
    const test::LogCapture log;
    UserProfile profile = [] {
        UserProfile user;
        user.id = QStringLiteral("user-1");
        user.organizationId = QStringLiteral("org-1");
        return user;
    }();
};

TEST_F(StorageStartUp, AppliesThePolicyToTheUsersStudies) {
    const auto study = root / StorageScope::of("org-1", "user-1").identifier() / "1.2";
    fs::create_directories(study);
    std::ofstream(study / "manifest.json") << "12345";
    const auto expired = study.parent_path() / "1.3";
    fs::create_directories(expired);
    fs::last_write_time(expired, ViewerStorage::Time::clock::now() - std::chrono::hours(49));
    settings.retentionDays = 2;
    const auto opened = openStorage(profile, settings);
    ASSERT_TRUE(opened.storage && opened.session);
    EXPECT_TRUE(fs::exists(study));
    EXPECT_FALSE(fs::exists(expired));
    EXPECT_TRUE(log.contains(R"("Viewer cache policy applied")")) << log.text();
    EXPECT_TRUE(log.contains(R"("removedDirectories":"1")")) << log.text();
    EXPECT_TRUE(log.contains(R"("remainingBytes":"5")")) << log.text();
    EXPECT_TRUE(log.contains(R"("retentionDays":"2")")) << log.text();
}

TEST_F(StorageStartUp, SessionOnlyLeavesNothing) {
    settings.retentionDays = 0;
    auto opened = openStorage(profile, settings);
    const auto study = opened.storage->studyDirectory("1.2");
    fs::create_directories(study);
    opened.session.reset();
    EXPECT_FALSE(fs::exists(study.parent_path()));
}

TEST_F(StorageStartUp, GoesOnWithoutWhatFails) {
    settings.retentionDays = 366;
    EXPECT_TRUE(openStorage(profile, settings).session);
    EXPECT_TRUE(log.contains(R"("Viewer cache policy could not be applied")")) << log.text();
    EXPECT_TRUE(log.contains("Viewer cache retention is outside the allowed range")) << log.text();

    fs::remove_all(root);
    std::ofstream(root) << "in the way";
    EXPECT_FALSE(openStorage(profile, settings).session);
    EXPECT_TRUE(log.contains(R"("Viewer cache is unavailable")")) << log.text();

    settings.cacheDir.clear();
    EXPECT_FALSE(openStorage(profile, settings).storage);
    EXPECT_TRUE(log.contains("Viewer cache root is empty")) << log.text();

    profile.id.clear();
    EXPECT_FALSE(openStorage(profile, settings).storage);
    EXPECT_TRUE(log.contains("Viewer storage requires organization and user identity")) << log.text();
}

} // namespace
} // namespace zorbel
