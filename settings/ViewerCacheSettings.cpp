#include "settings/ViewerCacheSettings.h"

#include "settings/SettingsKeys.h"

#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

#include <algorithm>
#include <limits>

namespace zorbel {

namespace {

constexpr unsigned bitsOfGiB = 30;

/// The number stored, or the default where it is none or smaller than `least`.
std::uint64_t numberOf(
    const QSettings& settings, const char* key, qint64 least, qint64 defaultValue, std::uint64_t greatest) {
    bool isNumber = false;
    const qint64 number = settings.value(QLatin1String(key), defaultValue).toLongLong(&isNumber);
    const qint64 sane = isNumber && number >= least ? number : defaultValue;
    return std::min(static_cast<std::uint64_t>(sane), greatest);
}

QString folderOf(const QSettings& settings) {
    const QString defaultFolder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    const QString folder = settings.value(QLatin1String(cacheDirKey), defaultFolder).toString();
    return folder.isEmpty() || QFileInfo(folder).isAbsolute() ? folder : defaultFolder;
}

} // namespace

ViewerCacheSettings ViewerCacheSettings::read(const QSettings& settings) {
    ViewerCacheSettings result;
    const QString folder = folderOf(settings);
    if (!folder.isEmpty())
        result.cacheDir = QFileInfo(folder).filesystemFilePath();
    result.retentionDays = static_cast<std::uint32_t>(numberOf(
        settings, cacheRetentionDaysKey, 0, defaultCacheRetentionDays,
        std::numeric_limits<std::uint32_t>::max()));
    result.maxGiB = numberOf(
        settings, cacheMaxGiBKey, 1, defaultCacheMaxGiB,
        std::numeric_limits<std::uint64_t>::max() >> bitsOfGiB);
    return result;
}

StoragePolicy ViewerCacheSettings::policy() const {
    return {retentionDays, maxGiB << bitsOfGiB};
}

} // namespace zorbel
