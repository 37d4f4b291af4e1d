#pragma once

#include "cache/storage/ViewerStorage.h"

#include <QString>

#include <filesystem>

namespace zorbel {

class SettingsStore;

/// Where studies are kept on this computer, how long and how many, as the user chose.
struct ViewerCacheSettings {
    std::filesystem::path cacheDir; ///< empty only when the setting is
    int retentionDays = 0;          ///< 0 to 30
    int maxGiB = 1;                 ///< 1 to 100

    static ViewerCacheSettings read(const SettingsStore& store);
    void write(SettingsStore& store) const;
    /// A folder as the user wrote it: of two ways to write it, such as with a slash at the end, one.
    static std::filesystem::path folderOf(const QString& text);
    QString folderText() const;

    /// Nothing outlives the session.
    bool isSessionOnly() const { return retentionDays == 0; }
    StoragePolicy policy() const;
    friend bool operator==(const ViewerCacheSettings&, const ViewerCacheSettings&) = default;
};

} // namespace zorbel
