#include "app/SessionLock.h"
#include "app/SettingsMigration.h"

#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>

namespace zorbel {
namespace {

class SessionLockTest : public testing::Test {
protected:
    /// A program that starts; one that is destroyed without an end is one that was killed.
    std::unique_ptr<SessionLock> start(bool seesCrash) const {
        auto program = std::make_unique<SessionLock>(config_);
        const auto begun = program->begin();
        EXPECT_EQ(begun.previousRunCrashed, seesCrash);
        EXPECT_EQ(begun.failure, "");
        EXPECT_TRUE(exists());
        return program;
    }
    bool exists() const { return std::filesystem::exists(config_ / "session.lock"); }

    QTemporaryDir folder_;
    const std::filesystem::path config_ =
        std::filesystem::path(folder_.path().toStdString()) / "new" / "config";
};

TEST_F(SessionLockTest, tellsACrashedSessionFromAnEndedOne) {
    start(false);
    auto next = start(true);
    EXPECT_EQ(std::filesystem::file_size(config_ / "session.lock"), 0U);
    next->end();
    next->end(); // both aboutToQuit and the end of the event loop end it
    EXPECT_TRUE(std::filesystem::is_empty(config_));
    start(false)->end();

    std::ofstream(config_ / "session.lock").put('x'); // by an older version
    next = start(true);
    EXPECT_EQ(std::filesystem::file_size(config_ / "session.lock"), 0U);
}

TEST_F(SessionLockTest, ofSeveralProgramsTheLastLivingOneRemovesIt) {
    auto first = start(false);
    auto second = start(false);
    second->end();
    EXPECT_TRUE(exists()) << "the first still runs";
    first.reset();
    first = start(true);
    second = start(false);
    first.reset();
    first = start(true); // noticed while the second runs
    second.reset();
    first->end();
    EXPECT_TRUE(exists()) << "nobody has noticed the second's crash";
    start(true)->end();
    EXPECT_FALSE(exists());
}

TEST(SettingsMigration, carriesTheCacheFolderOverAndForgetsTheArchive) {
    QTemporaryDir folder;
    QSettings settings(folder.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
    settings.setValue(QStringLiteral("orthanc/url"), QStringLiteral("http://pacs"));
    settings.setValue(QStringLiteral("orthanc/user"), QStringLiteral("u"));
    settings.setValue(QStringLiteral("orthanc/pass"), QStringLiteral("p"));
    settings.setValue(QStringLiteral("orthanc/cacheDir"), QStringLiteral("/old"));
    migrateSettings(settings);
    EXPECT_EQ(settings.allKeys(), QStringList{QStringLiteral("viewer/cacheDir")});
    EXPECT_EQ(settings.value(QStringLiteral("viewer/cacheDir")).toString(), QStringLiteral("/old"));

    settings.setValue(QStringLiteral("viewer/cacheDir"), QStringLiteral("/chosen"));
    settings.setValue(QStringLiteral("orthanc/cacheDir"), QStringLiteral("/old"));
    migrateSettings(settings);
    EXPECT_EQ(settings.value(QStringLiteral("viewer/cacheDir")).toString(), QStringLiteral("/chosen"));
    EXPECT_FALSE(settings.contains(QStringLiteral("orthanc/cacheDir")));
}

} // namespace
} // namespace zorbel
