#pragma once

#include "cache/storage/StorageScope.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

namespace zorbel {

struct StoragePolicy {
    std::uint32_t retentionDays = 1; ///< 0 to 365; 0 sets no age limit
    std::uint64_t quotaBytes = std::uint64_t{10} << 30;
};

struct PolicyResult {
    std::uint64_t remainingBytes = 0;
    std::size_t removedDirectories = 0;
};

struct StorageUsage {
    std::size_t studies = 0;
    std::uint64_t bytes = 0;
};

/// What the viewer keeps on disk for one user:
///
///     cache root / scope identifier / study UID /            manifest.json and chunk files of a volume cache
///                                               / series / series UID /   the archive of a series
///
/// Folders are private to the user. A study's age is that of its folder's modification time, which touch()
/// keeps current: the access time would be renewed by every look into the folder, this class's own included.
/// Any thread; other programs may work in the same folders. Whatever else lies in a scope directory is left
/// alone but by clear(). Failures are std::runtime_error, those of arguments std::invalid_argument; the texts
/// are for the log and for the user, the system's reason is logged.
class ViewerStorage {
public:
    using Time = std::filesystem::file_time_type;

    /// Touches no disk. Throws std::invalid_argument "Viewer cache root is empty".
    ViewerStorage(std::filesystem::path cacheRoot, StorageScope scope);

    const std::filesystem::path& cacheRoot() const { return cacheRoot_; }
    std::filesystem::path scopeDirectory() const;
    /// Throws std::invalid_argument "Invalid viewer cache study directory" for what is no UID (digits in
    /// groups separated by dots, at most 64 characters).
    std::filesystem::path studyDirectory(const std::string& studyInstanceUid) const;
    /// The same for both; "Invalid viewer cache series directory" for the series.
    /// Of all archived series of a study.
    std::filesystem::path archivesDirectory(const std::string& studyInstanceUid) const;
    std::filesystem::path
    archiveDirectory(const std::string& studyInstanceUid, const std::string& seriesInstanceUid) const;

    /// Removes expired studies, then the oldest until the quota holds. Studies that a writer is at work in,
    /// and those opened meanwhile, are left alone. A time stamp in the future (the clock was set back) counts
    /// as `now` and is put right. Nothing is created. Throws std::invalid_argument "Viewer cache retention is
    /// outside the allowed range" before anything is touched, std::runtime_error "Unable to remove an expired
    /// viewer cache entry" or "Unable to enforce the viewer cache quota" at the first failure.
    PolicyResult applyPolicy(const StoragePolicy& policy, Time now) const;
    /// Makes the study the youngest. Throws std::invalid_argument "Invalid viewer cache study directory" for
    /// what is no study's folder of this scope, std::runtime_error "Viewer cache study directory is
    /// unavailable" when it is missing, "Unable to update viewer cache access time" otherwise.
    void touch(const std::filesystem::path& studyDirectory) const;
    StorageUsage usage() const;
    /// Removes the whole scope directory; one that is missing is no failure. Throws std::runtime_error
    /// "Unable to clear the viewer cache".
    void clear() const;
    /// clear() with the system's reason in place of the exception.
    std::error_code tryClear() const;

private:
    std::filesystem::path cacheRoot_;
    StorageScope scope_;
};

} // namespace zorbel
