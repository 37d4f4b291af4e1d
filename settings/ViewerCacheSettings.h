#pragma once

#include "cache/storage/ViewerStorage.h"

#include <cstdint>
#include <filesystem>

class QSettings;

namespace zorbel {

/// Where studies are kept on this computer, how long and how many, as the user chose.
struct ViewerCacheSettings {
    std::filesystem::path cacheDir; ///< empty only when the setting is
    std::uint32_t retentionDays = 0;
    std::uint64_t maxGiB = 0;

    /// What is missing or makes no sense has its default: numbers that are none or negative, less than 1 GiB,
    /// a folder whose place would depend on where the program was started. A retention that is too long is
    /// left for the policy to refuse.
    static ViewerCacheSettings read(const QSettings& settings);

    /// Nothing outlives the session.
    bool isSessionOnly() const { return retentionDays == 0; }
    StoragePolicy policy() const;
};

} // namespace zorbel
