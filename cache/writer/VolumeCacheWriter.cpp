#include "cache/writer/VolumeCacheWriter.h"

#include "base/WorkerPool.h"
#include "base/digest/Sha256.h"
#include "cache/volume/VolumeCacheManifest.h"
#include "imaging/display/VisitVoxels.h"
#include "platform/PrivateFile.h"

#include <nlohmann/json.hpp>
#include <zlib.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <vector>

namespace zorbel {

namespace {

namespace fs = std::filesystem;
using imaging::Image;
using imaging::VoxelType;

static_assert(std::endian::native == std::endian::little, "a volume cache is little-endian");

/// Bounds the memory for a chunk and keeps every count within zlib's 32 bits.
constexpr std::uint64_t largestChunkBytes = 1ULL << 30;
/// Chunks that are in memory at the same time.
constexpr std::size_t chunksAtATime = 4;
constexpr std::string_view unfinished = ".new";

VoxelType cachedType(const Image& image) {
    return imaging::visitVoxels(image, [&]<class T>(const T* values, std::size_t count) {
        if constexpr (std::is_same_v<T, std::uint16_t>)
            return std::all_of(values, values + count, [](T value) { return value <= 32767; })
                       ? VoxelType::Int16
                       : VoxelType::Int32;
        else if constexpr (std::is_same_v<T, float>)
            if (!std::all_of(values, values + count, [](T value) { return std::isfinite(value); }))
                throw std::runtime_error("The image has voxels whose value is not finite");
        return sizeof(T) == 1 ? VoxelType::Int16 : image.voxelType();
    });
}

template <class To, class From>
std::vector<std::byte> converted(const From* values, std::size_t count) {
    std::vector<std::byte> bytes(count * sizeof(To));
    std::transform(values, values + count, reinterpret_cast<To*>(bytes.data()), [](From value) {
        return static_cast<To>(value);
    });
    return bytes;
}

/// One gzip member.
std::string compressed(std::span<const std::byte> bytes, int level) {
    z_stream stream{};
    constexpr int gzipWindowBits = 15 + 16;
    if (deflateInit2(&stream, level, Z_DEFLATED, gzipWindowBits, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::runtime_error("zlib cannot be initialised");
    std::string result(deflateBound(&stream, static_cast<uLong>(bytes.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    const int status = deflate(&stream, Z_FINISH);
    result.resize(stream.total_out);
    deflateEnd(&stream);
    if (status != Z_STREAM_END)
        throw std::runtime_error("zlib deflate failed (code " + std::to_string(status) + ")");
    return result;
}

/// The files of a cache that is being written: they bear other names until all are there, and go again when
/// the write fails.
class ChunkFiles {
public:
    explicit ChunkFiles(fs::path folder) : folder_(std::move(folder)) { removeChunks(true); }
    ~ChunkFiles() {
        if (!kept_)
            remove();
    }
    ChunkFiles(const ChunkFiles&) = delete;
    ChunkFiles& operator=(const ChunkFiles&) = delete;

    /// Any thread.
    void write(std::int32_t index, std::string_view bytes) const { writePrivateFile(newFile(index), bytes); }

    /// Puts all in place; from here on there is no earlier cache.
    void replaceEarlier(std::int32_t count) {
        fs::remove(folder_ / "manifest.json");
        removeChunks(false);
        placed_ = true;
        for (std::int32_t index = 0; index < count; ++index)
            fs::rename(newFile(index), folder_ / chunkFileName(index));
    }

    void keep() { kept_ = true; }

private:
    fs::path newFile(std::int32_t index) const {
        return folder_ / (chunkFileName(index) + std::string(unfinished));
    }

    void remove() noexcept {
        try {
            removeChunks(true);
            if (placed_)
                removeChunks(false);
        } catch (const std::exception&) {
            // Without a manifest they are no cache, and the next write removes them.
        }
    }

    /// Those that are in place, or those that an unfinished write left, a killed one's temporary files
    /// included.
    void removeChunks(bool unfinishedOnes) const {
        std::vector<fs::path> old;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder_)) {
            const std::string name = entry.path().filename().string();
            const bool isUnfinished = ((name.starts_with("chunk-") || name.starts_with(".chunk-")) &&
                                       name.find(".bin.gz" + std::string(unfinished)) != std::string::npos) ||
                                      name.starts_with(".manifest.json.") ||
                                      name.starts_with("manifest.json.");
            const bool isPlaced = name.starts_with("chunk-") && name.ends_with(".bin.gz");
            if (unfinishedOnes ? isUnfinished : isPlaced)
                old.push_back(entry.path());
        }
        for (const fs::path& file : old)
            fs::remove_all(file);
    }

    fs::path folder_;
    bool placed_ = false;
    bool kept_ = false;
};

VolumeCacheManifest layOut(const Image& image, VoxelType type, const VolumeCacheWriter::Options& options) {
    const imaging::ImageGeometry& geometry = image.geometry();
    VolumeCacheManifest manifest;
    manifest.version = "volume-cache-manifest.v1";
    manifest.studyInstanceUID =
        options.studyInstanceUid.empty() ? image.metadata().studyInstanceUID : options.studyInstanceUid;
    if (manifest.studyInstanceUID.empty())
        throw std::runtime_error("The image does not name its study");
    manifest.dtype = imaging::voxelTypeName(type);
    manifest.dimensions = geometry.dimensions();
    const double step = imaging::length(geometry.sliceStep());
    if (!(step > 0.0))
        throw std::runtime_error("The image's slices have no distance");
    manifest.spacing = {geometry.spacing()[0], geometry.spacing()[1], step};
    manifest.origin = geometry.origin();
    for (std::size_t axis = 0; axis < 3; ++axis) {
        manifest.direction[3 * axis] = geometry.row()[axis];
        manifest.direction[3 * axis + 1] = geometry.column()[axis];
        manifest.direction[3 * axis + 2] = geometry.sliceStep()[axis] / step;
    }

    const auto [columns, rows, slices] = manifest.dimensions;
    const std::uint64_t sliceBytes = imaging::bytesPerComponent(type) * static_cast<std::uint64_t>(columns) *
                                     static_cast<std::uint64_t>(rows);
    if (sliceBytes > largestChunkBytes)
        throw std::runtime_error("The image's slices are too large for a volume cache");
    const auto chunkSlices = static_cast<std::int32_t>(std::min<std::uint64_t>(
        static_cast<std::uint64_t>(options.chunkSlices), largestChunkBytes / sliceBytes));
    for (std::int32_t start = 0; start < slices; start += chunkSlices) {
        ChunkEntry chunk;
        chunk.index = static_cast<std::int32_t>(manifest.chunks.size());
        chunk.startSlice = start;
        chunk.endSlice = std::min(slices - start, chunkSlices) + start - 1;
        chunk.uncompressedByteLength =
            static_cast<std::uint64_t>(chunk.endSlice - chunk.startSlice + 1) * sliceBytes;
        manifest.totalUncompressedByteLength += chunk.uncompressedByteLength;
        manifest.chunks.push_back(chunk);
    }
    return manifest;
}

void writeChunk(
    const Image& image, VoxelType type, const VolumeCacheWriter::Options& options, const ChunkFiles& files,
    ChunkEntry& chunk) {
    const auto& dimensions = image.geometry().dimensions();
    const std::size_t sliceVoxels =
        static_cast<std::size_t>(dimensions[0]) * static_cast<std::size_t>(dimensions[1]);
    const std::size_t first = static_cast<std::size_t>(chunk.startSlice) * sliceVoxels;
    const std::size_t count = static_cast<std::size_t>(chunk.endSlice - chunk.startSlice + 1) * sliceVoxels;
    const std::string bytes = imaging::visitVoxels(image, [&]<class T>(const T* values, std::size_t) {
        if (type == image.voxelType())
            return compressed(std::as_bytes(std::span(values + first, count)), options.compressionLevel);
        if (type == VoxelType::Int16)
            return compressed(converted<std::int16_t>(values + first, count), options.compressionLevel);
        return compressed(converted<std::int32_t>(values + first, count), options.compressionLevel);
    });
    chunk.compressedByteLength = bytes.size();
    if (options.sha256)
        chunk.sha256 = sha256Hex(std::as_bytes(std::span(bytes)));
    files.write(chunk.index, bytes);
}

std::string jsonText(const VolumeCacheManifest& manifest) {
    using Json = nlohmann::ordered_json;
    Json chunks = Json::array();
    for (const ChunkEntry& chunk : manifest.chunks) {
        chunks.push_back(
            {{"index", chunk.index},
             {"startSlice", chunk.startSlice},
             {"endSlice", chunk.endSlice},
             {"compressedByteLength", chunk.compressedByteLength},
             {"uncompressedByteLength", chunk.uncompressedByteLength},
             {"compression", chunk.compression}});
        if (!chunk.sha256.empty())
            chunks.back()["sha256"] = chunk.sha256;
    }
    const Json json{
        {"version", manifest.version},
        {"studyInstanceUID", manifest.studyInstanceUID},
        {"dtype", manifest.dtype},
        {"dimensions", manifest.dimensions},
        {"spacing", manifest.spacing},
        {"origin", manifest.origin},
        {"direction", manifest.direction},
        {"chunks", std::move(chunks)},
        {"totalCompressedByteLength", manifest.totalCompressedByteLength},
        {"totalUncompressedByteLength", manifest.totalUncompressedByteLength}};
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace

void VolumeCacheWriter::write(const Image& image, const fs::path& cacheDirectory, const Options& options) {
    if (image.components() != 1)
        throw std::runtime_error("A volume cache holds grey values only, and the image is in colour");
    if (options.chunkSlices < 1 || options.compressionLevel < 0 || options.compressionLevel > 9)
        throw std::runtime_error("Impossible chunk size or compression level");
    const VoxelType type = cachedType(image);
    VolumeCacheManifest manifest = layOut(image, type, options);

    createPrivateFolder(cacheDirectory);
    ChunkFiles files(cacheDirectory);
    std::vector<ChunkEntry>& chunks = manifest.chunks;
    for (std::size_t first = 0; first < chunks.size(); first += chunksAtATime)
        runOnAllCores(
            std::min(chunksAtATime, chunks.size() - first),
            [&](std::size_t i, std::size_t) { writeChunk(image, type, options, files, chunks[first + i]); },
            nullptr, {});
    for (const ChunkEntry& chunk : chunks)
        manifest.totalCompressedByteLength += chunk.compressedByteLength;
    const std::string text = jsonText(manifest);

    files.replaceEarlier(static_cast<std::int32_t>(chunks.size()));
    writePrivateFile(cacheDirectory / "manifest.json", text);
    files.keep();
}

} // namespace zorbel
