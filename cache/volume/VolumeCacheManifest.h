#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace zorbel {

struct ChunkEntry {
    std::int32_t index = 0;
    std::int32_t startSlice = 0;
    std::int32_t endSlice = 0; ///< inclusive
    std::uint64_t compressedByteLength = 0;
    std::uint64_t uncompressedByteLength = 0;
    std::string sha256; ///< hexadecimal; empty when the manifest has none
    std::string compression = "gzip";
};

/// "manifest.json" of a volume cache as it was read; IntegrityChecker says whether it holds together.
struct VolumeCacheManifest {
    std::string version;
    std::string studyInstanceUID;
    std::string dtype;
    std::array<std::int32_t, 3> dimensions{0, 0, 0}; ///< columns, rows, slices
    std::array<double, 3> spacing{0.0, 0.0, 0.0};    ///< millimetres
    std::array<double, 3> origin{0.0, 0.0, 0.0};     ///< LPS millimetres
    std::array<double, 9> direction{};               ///< 3 × 3, row-major
    std::vector<ChunkEntry> chunks;
    bool hasTotalCompressedByteLength = false;
    std::uint64_t totalCompressedByteLength = 0;
    bool hasTotalUncompressedByteLength = false;
    std::uint64_t totalUncompressedByteLength = 0;
};

/// "volume-cache-manifest.v1" is the only one.
bool isSupportedVersion(const std::string& version);
/// "chunk-12.bin.gz"
std::string chunkFileName(std::int32_t index);

} // namespace zorbel
