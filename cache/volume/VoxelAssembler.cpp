#include "cache/volume/VoxelAssembler.h"

#include "app/log/Logger.h"
#include "cache/volume/CacheLoadCancelled.h"
#include "cache/volume/ChunkDecompressor.h"

#include <chrono>
#include <cstring>

namespace zorbel {

namespace {

void copyChunk(
    const ChunkEntry& chunk, const std::vector<std::byte>& bytes, std::uint64_t sliceBytes,
    ZorbelVolumeData& volume) {
    // Unsigned arithmetic wraps without harm: whatever comes out is compared with what is really there.
    const auto slices = static_cast<std::uint64_t>(std::int64_t{chunk.endSlice} - chunk.startSlice + 1);
    if (bytes.size() != slices * sliceBytes)
        throw ZorbelError(
            CacheStage::Decoding, CacheErrorCode::SizeMismatch,
            "Chunk decompressed length changed after integrity validation", chunk.index);
    const auto start = static_cast<std::uint64_t>(chunk.startSlice);
    if (chunk.startSlice < 0 || (sliceBytes > 0 && start > volume.byteLength / sliceBytes) ||
        bytes.size() > volume.byteLength - start * sliceBytes)
        throw ZorbelError(
            CacheStage::Assembly, CacheErrorCode::InvalidLayout,
            "Validated chunk copy bounds overflowed during assembly", chunk.index);
    if (!bytes.empty())
        std::memcpy(volume.voxels.get() + start * sliceBytes, bytes.data(), bytes.size());
}

} // namespace

ZorbelVolumeData VoxelAssembler::assemble(
    const ValidatedLayout& layout, const VolumeCacheManifest& manifest,
    const std::filesystem::path& cacheDirectory, const std::atomic<bool>* cancel) {
    if (layout.chunks.empty() || layout.volumeBytes == 0)
        throw ZorbelError(
            CacheStage::Assembly, CacheErrorCode::InvalidLayout,
            "Volume assembly requires a validated non-empty layout");
    const auto begin = std::chrono::steady_clock::now();
    ZorbelVolumeData volume;
    volume.studyInstanceUID = manifest.studyInstanceUID;
    volume.dtype = manifest.dtype;
    volume.dimensions = manifest.dimensions;
    volume.spacing = manifest.spacing;
    volume.origin = manifest.origin;
    volume.direction = manifest.direction;
    volume.byteLength = static_cast<std::size_t>(layout.volumeBytes);
    volume.voxels = std::make_shared_for_overwrite<std::byte[]>(volume.byteLength);

    for (const ChunkEntry& chunk : layout.chunks) {
        CacheLoadCancelled::throwIfSet(cancel);
        copyChunk(
            chunk, ChunkDecompressor::decompress(cacheDirectory / chunkFileName(chunk.index), chunk),
            layout.sliceBytes, volume);
    }
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    Logger::instance().info(
        "VoxelAssembler", "Volume assembled",
        {{"chunks", std::to_string(layout.chunks.size())}, {"duration", std::to_string(elapsed.count())}});
    return volume;
}

} // namespace zorbel
