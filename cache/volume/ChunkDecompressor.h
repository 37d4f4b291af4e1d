#pragma once

#include "cache/volume/VolumeCacheManifest.h"

#include <cstddef>
#include <filesystem>
#include <vector>

namespace zorbel {

class ChunkDecompressor {
public:
    /// The chunk's uncompressedByteLength bytes. Throws ZorbelError (Decoding). Any thread.
    static std::vector<std::byte> decompress(const std::filesystem::path& chunkFile, const ChunkEntry& chunk);
};

} // namespace zorbel
