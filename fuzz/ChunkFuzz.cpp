// A chunk file of the bytes behind the first three, which say how long it claims to be when inflated.
#include "cache/volume/ChunkDecompressor.h"
#include "cache/volume/ZorbelError.h"
#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zorbel;
    if (size < 3)
        return 0;
    static const fuzz::ScratchFolder folder;
    ChunkEntry chunk;
    chunk.uncompressedByteLength = static_cast<std::uint64_t>(data[0] | data[1] << 8 | (data[2] & 15) << 16);
    // The file may have another length than the manifest says, when it changed after the check.
    chunk.compressedByteLength = size - 3 + (data[2] >> 6 & 1U) - (size > 3 ? data[2] >> 7 & 1U : 0U);
    try {
        const auto bytes = ChunkDecompressor::decompress(folder.file("chunk", {data + 3, size - 3}), chunk);
        fuzz::require(bytes.size() == chunk.uncompressedByteLength, "a chunk has its length");
    } catch (const ZorbelError& error) {
        fuzz::require(error.stage == CacheStage::Decoding, "a chunk is refused while decoding");
    }
    return 0;
}
