#include "app/SessionLock.h"
#include "app/SettingsMigration.h"

#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace zorbel {
namespace {

TEST(SessionLock, tellsACrashedSessionFromAnEndedOne) {
    QTemporaryDir folder;
    const std::filesystem::path config =
        std::filesystem::path(folder.path().toStdString()) / "new" / "config";
    const SessionLock first(config);
    EXPECT_FALSE(first.exists());
    first.create();
    EXPECT_TRUE(std::filesystem::exists(config / "session.lock"));
    EXPECT_TRUE(SessionLock(config).exists()) << "the next start sees a crash";
    EXPECT_NO_THROW(SessionLock(config).create());
    first.remove();
    first.remove(); // both aboutToQuit and the end of the event loop remove it
    EXPECT_FALSE(SessionLock(config).exists());
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
