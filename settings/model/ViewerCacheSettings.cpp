#include "settings/model/ViewerCacheSettings.h"

#include "settings/store/SettingsStore.h"

#include <QFileInfo>

namespace zorbel {

namespace {

constexpr unsigned bitsOfGiB = 30;

} // namespace

ViewerCacheSettings ViewerCacheSettings::read(const SettingsStore& store) {
    ViewerCacheSettings result;
    // QFileInfo would make the current folder of an empty path.
    if (const QString folder = store.folder(settings_table::cacheDir); !folder.isEmpty())
        result.cacheDir = QFileInfo(folder).filesystemFilePath();
    result.retentionDays = store.number(settings_table::cacheRetentionDays);
    result.maxGiB = store.number(settings_table::cacheMaxGiB);
    return result;
}

void ViewerCacheSettings::write(SettingsStore& store) const {
    store.set(settings_table::cacheDir, QString::fromStdU16String(cacheDir.u16string()));
    store.set(settings_table::cacheRetentionDays, retentionDays);
    store.set(settings_table::cacheMaxGiB, maxGiB);
}

StoragePolicy ViewerCacheSettings::policy() const {
    return {static_cast<std::uint32_t>(retentionDays), static_cast<std::uint64_t>(maxGiB) << bitsOfGiB};
}

} // namespace zorbel
