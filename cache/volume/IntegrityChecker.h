#pragma once

#include "cache/volume/VolumeCacheManifest.h"
#include "cache/volume/VolumeCacheOptions.h"
#include "cache/volume/ZorbelError.h"

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
    /// requestedStudyUid: empty when any study will do. Any thread; throws std::bad_alloc at most.
    static std::variant<ValidatedLayout, IntegrityFailure> check(
        const VolumeCacheManifest& manifest, const std::string& requestedStudyUid,
        const VolumeCacheOptions& options, const std::filesystem::path& cacheDirectory);
};

} // namespace zorbel
