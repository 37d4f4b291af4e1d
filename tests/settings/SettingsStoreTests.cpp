#include "settings/model/SourceSettings.h"
#include "settings/model/ViewerCacheSettings.h"
#include "settings/store/SettingsStore.h"
#include "tests/support/LogCapture.h"

#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace zorbel {
namespace {

namespace table = settings_table;

/// A settings file as it lies on the disk at the next start.
class StoredSettings : public testing::Test {
protected:
    void put(const QByteArray& text) const {
        QFile out(file);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(text);
    }
    ViewerCacheSettings cache() const { return ViewerCacheSettings::read(SettingsStore(file)); }
    QStringList keys() const { return QSettings(file, QSettings::IniFormat).allKeys(); }

    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("settings.ini"));
    const std::filesystem::path defaultFolder =
        QFileInfo(QStandardPaths::writableLocation(QStandardPaths::CacheLocation)).filesystemFilePath();
};

TEST_F(StoredSettings, areReadAsTheyWereWritten) {
    EXPECT_EQ(cache(), (ViewerCacheSettings{defaultFolder, 1, 10}));
    const ViewerCacheSettings chosen{
        QFileInfo(folder.filePath(QStringLiteral("Röntgen"))).filesystemFilePath(), 0, 100};
    const SourceSettings node{SourceKind::LocalNodeRequired, QStringLiteral("node-7")};
    {
        SettingsStore store(file);
        chosen.write(store);
        node.write(store, QStringLiteral("org-1"));
        EXPECT_TRUE(store.save());
    }
    EXPECT_FALSE(QFile::permissions(file) & (QFile::ReadGroup | QFile::ReadOther));
    EXPECT_EQ(cache(), chosen);
    EXPECT_TRUE(cache().isSessionOnly());
    EXPECT_EQ(cache().policy().quotaBytes, 107'374'182'400U);
    const SettingsStore store(file);
    EXPECT_EQ(SourceSettings::read(store, QStringLiteral("org-1")), node);
    EXPECT_EQ(SourceSettings::read(store, QStringLiteral("org-2")), SourceSettings());
}

TEST_F(StoredSettings, damagedOnesHaveTheirDefaultsAndTheOthersStay) {
    const test::LogCapture log;
    for (const char* garbage :
         {"-1", "", "many", "1.5", "1e3", "101", "366", "99999999999999999999", "1, 2", "@ByteArray(1)",
          "@Invalid()", "@Rect(0 0 1 1)", "true"}) {
        put("[viewer]\ncacheRetentionDays=" + QByteArray(garbage) + "\ncacheMaxGiB=" + garbage +
            "\ncacheDir=relative/folder\nlocalNode\\org\\sourcePreference=" + garbage +
            "\nlocalNode\\org\\clinicId=node-7\n");
        EXPECT_EQ(cache(), (ViewerCacheSettings{defaultFolder, 1, 10})) << garbage;
        EXPECT_EQ(
            SourceSettings::read(SettingsStore(file), QStringLiteral("org")),
            (SourceSettings{SourceKind::Automatic, QStringLiteral("node-7")}));
    }
    for (const char* key : {"cacheRetentionDays", "cacheMaxGiB", "cacheDir", "%1/sourcePreference"})
        EXPECT_EQ(log.count(std::string(key) + "\""), 1U) << "told once: " << log.text();

    put("[viewer]\ncacheMaxGiB=30\n\x01\xff this is no settings line\ncacheRetentionDays=7\n[unfinished");
    EXPECT_EQ(cache(), (ViewerCacheSettings{defaultFolder, 7, 30}));
    EXPECT_TRUE(log.contains("The settings are damaged")) << log.text();
}

TEST_F(StoredSettings, ofAnEarlierVersionAreCarriedOver) {
    put("[orthanc]\nurl=http://pacs\nuser=u\npass=p\ncacheDir=/old\n[viewer]\ncacheMaxGiB=3\n");
    SettingsStore(file).migrate();
    EXPECT_EQ(cache().cacheDir, "/old");
    EXPECT_EQ(keys(), (QStringList{QStringLiteral("viewer/cacheDir"), QStringLiteral("viewer/cacheMaxGiB")}));
    put("[orthanc]\ncacheDir=/old\n[viewer]\ncacheDir=/chosen\n");
    SettingsStore(file).migrate();
    EXPECT_EQ(cache().cacheDir, "/chosen");
    EXPECT_EQ(keys(), QStringList{QStringLiteral("viewer/cacheDir")});
}

TEST_F(StoredSettings, tellWhenTheyCannotBeWritten) {
    SettingsStore store(folder.path()); // a folder is no file
    store.set(table::cacheMaxGiB, 200);
    EXPECT_FALSE(store.save());
    EXPECT_EQ(store.number(table::cacheMaxGiB), 100) << "within its limits, for this run";
}

TEST_F(StoredSettings, aSwitchIsOnOrOffAndOtherwiseAsByDefault) {
    const auto isOn = [this] { return SettingsStore(file).isOn(table::telemetryEnabled); };
    EXPECT_TRUE(isOn());
    for (const char* off : {"false", "False", "0"}) {
        put("[telemetry]\nenabled=" + QByteArray(off));
        EXPECT_FALSE(isOn()) << off;
    }
    put("[telemetry]\nenabled=@Rect(0 0 1 1)");
    EXPECT_TRUE(isOn());
    {
        SettingsStore store(file);
        store.set(table::telemetryEnabled, false);
        EXPECT_TRUE(store.save());
    }
    EXPECT_FALSE(isOn());
}

} // namespace
} // namespace zorbel
