#include "settings/SettingsKeys.h"
#include "settings/SourceSettings.h"
#include "settings/ViewerCacheSettings.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <limits>

namespace zorbel {
namespace {

class StoredSettings : public testing::Test {
protected:
    void set(const char* key, const QVariant& value) {
        settings.setValue(QLatin1String(key), value);
        // As read at the next start: the file knows texts only.
        settings.sync();
    }
    ViewerCacheSettings cache() const {
        const QSettings again(settings.fileName(), QSettings::IniFormat);
        return ViewerCacheSettings::read(again);
    }

    QTemporaryDir folder;
    QSettings settings{folder.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat};
};

std::filesystem::path defaultFolder() {
    return QFileInfo(QStandardPaths::writableLocation(QStandardPaths::CacheLocation)).filesystemFilePath();
}

TEST_F(StoredSettings, areReadAsChosen) {
    const QString chosen = folder.filePath(QStringLiteral("Röntgen"));
    set(cacheDirKey, chosen);
    set(cacheRetentionDaysKey, 0);
    set(cacheMaxGiBKey, 100);
    EXPECT_EQ(cache().cacheDir, QFileInfo(chosen).filesystemFilePath());
    EXPECT_TRUE(cache().isSessionOnly());
    EXPECT_EQ(cache().policy().quotaBytes, 107'374'182'400U);
}

TEST_F(StoredSettings, garbageCountsAsAbsent) {
    for (const char* garbage : {"-1", "", "many", "1.5", "1e3", "99999999999999999999999"}) {
        set(cacheRetentionDaysKey, QString::fromLatin1(garbage));
        set(cacheMaxGiBKey, QString::fromLatin1(garbage));
        EXPECT_EQ(cache().retentionDays, 1U) << garbage;
        EXPECT_EQ(cache().maxGiB, 10U) << garbage;
    }
    set(cacheMaxGiBKey, 0);
    EXPECT_EQ(cache().maxGiB, 10U);
    set(cacheDirKey, QStringLiteral("relative/folder"));
    EXPECT_EQ(cache().cacheDir, defaultFolder());
}

TEST_F(StoredSettings, tooMuchDoesNotWrapAround) {
    set(cacheRetentionDaysKey, (qint64{1} << 32) + 1);
    set(cacheMaxGiBKey, (qint64{1} << 34) + 1);
    EXPECT_GT(cache().retentionDays, 365U) << "for the policy to refuse";
    EXPECT_GT(cache().policy().quotaBytes, std::uint64_t{1} << 62);
    set(cacheDirKey, QString());
    EXPECT_TRUE(cache().cacheDir.empty()) << "for the storage to refuse";
}

TEST_F(StoredSettings, eachOrganizationHasItsSource) {
    const auto source = [this](const char* organization) {
        return SourceSettings::read(settings, QString::fromLatin1(organization));
    };
    settings.setValue(sourcePreferenceKey(QStringLiteral("org-1")), 2);
    settings.setValue(localNodeKey(QStringLiteral("org-1")), QStringLiteral("node-7"));
    settings.setValue(sourcePreferenceKey(QStringLiteral("org-2")), QStringLiteral("1"));
    EXPECT_EQ(source("org-1").kind, SourceKind::LocalNodeRequired);
    EXPECT_EQ(source("org-1").nodeId, QStringLiteral("node-7"));
    EXPECT_EQ(source("org-2").kind, SourceKind::CloudOnly);
    EXPECT_TRUE(source("org-2").nodeId.isEmpty());
    EXPECT_EQ(source("org-3").kind, SourceKind::Automatic);
    for (const char* unknown : {"3", "-1", "cloud", ""}) {
        settings.setValue(sourcePreferenceKey(QStringLiteral("org-2")), QString::fromLatin1(unknown));
        EXPECT_EQ(source("org-2").kind, SourceKind::Automatic) << unknown;
    }
}

} // namespace
} // namespace zorbel
