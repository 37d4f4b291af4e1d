#pragma once

#include "cache/volume/VolumeCacheManifest.h"

#include <cstddef>
#include <filesystem>
#include <span>
#include <vector>

namespace zorbel {

class ChunkDecompressor {
public:
    /// The chunk's uncompressedByteLength bytes. Reads no more of the file than its compressedByteLength.
    /// Throws ZorbelError (Decoding) or std::bad_alloc. Any thread.
    static std::vector<std::byte> decompress(const std::filesystem::path& chunkFile, const ChunkEntry& chunk);
    /// The same into memory of exactly uncompressedByteLength bytes, which a failure leaves half filled.
    static void decompressInto(
        std::span<std::byte> output, const std::filesystem::path& chunkFile, const ChunkEntry& chunk);
};

} // namespace zorbel
