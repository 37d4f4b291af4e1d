#pragma once

#include "cache/volume/VolumeCacheManifest.h"
#include "cache/volume/VolumeCacheOptions.h"
#include "cache/volume/ZorbelError.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

namespace zorbel {

/// What a cached volume must look like in memory; only a checked manifest has one.
struct ValidatedLayout {
    std::vector<ChunkEntry> chunks; ///< in ascending slice order
    std::uint64_t sliceBytes = 0;
    std::uint64_t volumeBytes = 0;
};

struct IntegrityFailure {
    CacheErrorCode code;
    std::string message;
    std::int32_t chunkIndex = -1;
};

/// Every rule by which a cached volume is accepted or refused before a voxel is decoded, first of the
/// manifest alone, then of the chunk files.
class IntegrityChecker {
public:
    /// requestedStudyUid: empty when any study will do. Chunk files are hashed several at a time; the failure
    /// is that of the first bad chunk in slice order all the same. Any thread; throws WorkCancelled once
    /// the flag is set, and std::bad_alloc.
    static std::variant<ValidatedLayout, IntegrityFailure> check(
        const VolumeCacheManifest& manifest, const std::string& requestedStudyUid,
        const VolumeCacheOptions& options, const std::filesystem::path& cacheDirectory,
        const std::atomic<bool>* cancel = nullptr);
};

} // namespace zorbel
