#include "cache/volume/VoxelAssembler.h"

#include "app/log/Logger.h"
#include "base/WorkCancelled.h"
#include "cache/volume/ChunkDecompressor.h"
#include "imaging/volume/VoxelBuffer.h"
#include "platform/threads/StackGuard.h"

#include <algorithm>
#include <chrono>
#include <span>
#include <system_error>
#include <thread>

namespace zorbel {

namespace {

/// Where a chunk belongs in the volume; throws where it does not fit.
std::span<std::byte>
placeOf(const ChunkEntry& chunk, std::uint64_t sliceBytes, const ZorbelVolumeData& volume) {
    const std::int64_t slices = std::int64_t{chunk.endSlice} - chunk.startSlice + 1;
    const std::uint64_t bytes = chunk.uncompressedByteLength;
    // The product may wrap; not so once the quotient is right.
    if (slices <= 0 || sliceBytes == 0 || bytes != static_cast<std::uint64_t>(slices) * sliceBytes ||
        bytes / sliceBytes != static_cast<std::uint64_t>(slices))
        throw ZorbelError(
            CacheStage::Decoding, CacheErrorCode::SizeMismatch,
            "Chunk decompressed length changed after integrity validation", chunk.index);
    const auto start = static_cast<std::uint64_t>(chunk.startSlice);
    if (chunk.startSlice < 0 || start > volume.byteLength / sliceBytes ||
        bytes > volume.byteLength - start * sliceBytes)
        throw ZorbelError(
            CacheStage::Assembly, CacheErrorCode::InvalidLayout,
            "Validated chunk copy bounds overflowed during assembly", chunk.index);
    return {volume.voxels.get() + start * sliceBytes, static_cast<std::size_t>(bytes)};
}

/// Prepares the volume's memory ahead of the chunks, until it is destroyed; without a thread to be had, each
/// page comes when it is first written to.
std::jthread prepareMemory(const ZorbelVolumeData& volume) {
    const auto prepare = [begin = volume.voxels.get(),
                          length = volume.byteLength](const std::stop_token& stop) {
        guardThreadStack();
        constexpr std::size_t step = std::size_t{8} << 20U;
        for (std::size_t offset = 0; offset < length && !stop.stop_requested(); offset += step)
            imaging::provideMemory(begin + offset, std::min(step, length - offset));
    };
    try {
        return std::jthread(prepare);
    } catch (const std::system_error&) {
        return {};
    }
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
    volume.voxels = imaging::newVoxelBuffer(volume.byteLength);

    const std::jthread memory = prepareMemory(volume);
    for (const ChunkEntry& chunk : layout.chunks) {
        throwIfCancelled(cancel);
        // Straight to its place: no second buffer to fill and to copy.
        ChunkDecompressor::decompressInto(
            placeOf(chunk, layout.sliceBytes, volume), cacheDirectory / chunkFileName(chunk.index), chunk);
    }
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    Logger::instance().info(
        "VoxelAssembler", "Volume assembled",
        {{"chunks", std::to_string(layout.chunks.size())}, {"duration", std::to_string(elapsed.count())}});
    return volume;
}

} // namespace zorbel
