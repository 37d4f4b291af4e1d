#include "settings/model/ViewerCacheSettings.h"

#include "settings/store/SettingsStore.h"

#include <QDir>
#include <QFileInfo>

namespace zorbel {

namespace {

constexpr unsigned bitsOfGiB = 30;

} // namespace

ViewerCacheSettings ViewerCacheSettings::read(const SettingsStore& store) {
    ViewerCacheSettings result;
    result.cacheDir = folderOf(store.folder(settings_table::cacheDir));
    result.retentionDays = store.number(settings_table::cacheRetentionDays);
    result.maxGiB = store.number(settings_table::cacheMaxGiB);
    return result;
}

void ViewerCacheSettings::write(SettingsStore& store) const {
    store.set(settings_table::cacheDir, QString::fromStdU16String(cacheDir.generic_u16string()));
    store.set(settings_table::cacheRetentionDays, retentionDays);
    store.set(settings_table::cacheMaxGiB, maxGiB);
}

std::filesystem::path ViewerCacheSettings::folderOf(const QString& text) {
    return text.isEmpty() ? std::filesystem::path() : QFileInfo(QDir::cleanPath(text)).filesystemFilePath();
}

QString ViewerCacheSettings::folderText() const {
    return QDir::toNativeSeparators(QString::fromStdU16String(cacheDir.u16string()));
}

StoragePolicy ViewerCacheSettings::policy() const {
    return {static_cast<std::uint32_t>(retentionDays), static_cast<std::uint64_t>(maxGiB) << bitsOfGiB};
}

} // namespace zorbel
