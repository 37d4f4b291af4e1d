#pragma once

#include "cache/volume/LoadError.h"
#include "cache/volume/VolumeCacheOptions.h"
#include "imaging/volume/ZorbelVolumeData.h"

#include <atomic>
#include <filesystem>
#include <string>
#include <variant>

namespace zorbel {

using VolumeCacheResult = std::variant<ZorbelVolumeData, LoadError>;

/// Turns one volume cache into a decoded volume, or into a failure that says whether another source may be
/// tried. Worker thread.
class VolumeCacheReader {
public:
    /// studyInstanceUid: of the study asked for; empty accepts any. schemaPath: the manifest's JSON Schema.
    VolumeCacheReader(
        std::filesystem::path cacheDirectory, std::filesystem::path schemaPath, VolumeCacheOptions options,
        std::string studyInstanceUid);

    /// Never throws. A set cancel flag ends the load between two chunks, as a degraded failure.
    VolumeCacheResult load(const std::atomic<bool>* cancel = nullptr) const;

private:
    std::filesystem::path cacheDirectory_;
    std::filesystem::path schemaPath_;
    VolumeCacheOptions options_;
    std::string studyInstanceUid_;
};

/// What the study load does with a result.
struct CacheLoadOutcome {
    enum class Kind { Loaded = 0, FallBackToDicom = 1, Abort = 2 };
    Kind kind = Kind::Loaded;
    std::string userMessage; ///< UTF-8
    bool missing = false;    ///< there simply is no cache of this study: nothing that a user need hear of
};

/// Logs the outcome as well. User-interface thread.
CacheLoadOutcome mapCacheResult(const VolumeCacheResult& result);

} // namespace zorbel
