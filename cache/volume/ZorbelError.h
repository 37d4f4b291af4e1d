#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace zorbel {

/// Why a volume cache could not be loaded. 2, 3 and 5 are transient failures that the cache itself never has.
enum class CacheErrorCode : std::uint32_t {
    UnsupportedVersion = 6,
    Integrity = 7,
    ChunkMissing = 8,
    SizeMismatch = 9,
    ChunkCorrupt = 10,
    InvalidLayout = 11,
    ManifestInvalid = 12
};

/// Where in the pipeline an error arose.
enum class CacheStage : std::uint32_t { Assembly = 1, Manifest = 2, Decoding = 3 };

/// Thrown by the steps of the volume cache. what() may hold a path, never anything of the patient.
class ZorbelError : public std::runtime_error {
public:
    ZorbelError(
        CacheStage errorStage, CacheErrorCode errorCode, const std::string& message, std::int32_t chunk = -1)
        : std::runtime_error(message), stage(errorStage), code(errorCode), chunkIndex(chunk) {}

    CacheStage stage;
    CacheErrorCode code;
    std::int32_t chunkIndex; ///< -1 when no chunk is concerned
};

} // namespace zorbel
