#include "cache/volume/ChunkDecompressor.h"

#include "app/log/Logger.h"
#include "base/PathText.h"
#include "cache/volume/ZorbelError.h"
#include "platform/RegularFile.h"

#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <system_error>

namespace zorbel {

namespace {

[[noreturn]] void fail(CacheErrorCode code, const std::string& message, const ChunkEntry& chunk) {
    throw ZorbelError(CacheStage::Decoding, code, message, chunk.index);
}

constexpr std::uint64_t zlibLimit = std::numeric_limits<uInt>::max();

std::vector<std::byte> readFile(const std::filesystem::path& path, const ChunkEntry& chunk) {
    std::vector<std::byte> bytes;
    try {
        RegularFile file(path);
        // A file that has grown since it was checked costs no more memory than was planned for it.
        const std::uint64_t length =
            std::min(file.size(), chunk.compressedByteLength > 0 ? chunk.compressedByteLength : zlibLimit);
        bytes.resize(static_cast<std::size_t>(length));
        bytes.resize(file.read(bytes));
    } catch (const std::system_error&) {
        fail(CacheErrorCode::ChunkMissing, "Cannot open chunk file: " + pathText(path), chunk);
    }
    if (bytes.empty())
        fail(CacheErrorCode::ChunkCorrupt, "Chunk file is empty: " + pathText(path), chunk);
    return bytes;
}

/// Returns how many bytes came out.
std::uint64_t inflateInto(std::span<std::byte> output, std::span<std::byte> input, const ChunkEntry& chunk) {
    constexpr int zlibOrGzipHeader = 47;
    z_stream stream{};
    const int begun = inflateInit2(&stream, zlibOrGzipHeader);
    if (begun != Z_OK)
        fail(CacheErrorCode::ChunkCorrupt, "inflateInit2 failed with code " + std::to_string(begun), chunk);
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(output.data());
    stream.avail_out = static_cast<uInt>(output.size());
    const int result = inflate(&stream, Z_FINISH);
    const std::uint64_t produced = output.size() - stream.avail_out;
    const std::string reason = stream.msg ? std::string(": ") + stream.msg : std::string();
    inflateEnd(&stream);
    if (result != Z_STREAM_END)
        fail(
            CacheErrorCode::ChunkCorrupt,
            "zlib inflate failed (code " + std::to_string(result) + ")" + reason, chunk);
    return produced;
}

void checkLimit(const ChunkEntry& chunk) {
    if (chunk.compressedByteLength > zlibLimit || chunk.uncompressedByteLength > zlibLimit)
        fail(CacheErrorCode::InvalidLayout, "Chunk exceeds the zlib single-stream byte limit", chunk);
}

} // namespace

std::vector<std::byte>
ChunkDecompressor::decompress(const std::filesystem::path& chunkFile, const ChunkEntry& chunk) {
    checkLimit(chunk);
    std::vector<std::byte> output(static_cast<std::size_t>(chunk.uncompressedByteLength));
    decompressInto(output, chunkFile, chunk);
    return output;
}

void ChunkDecompressor::decompressInto(
    std::span<std::byte> output, const std::filesystem::path& chunkFile, const ChunkEntry& chunk) {
    const auto begin = std::chrono::steady_clock::now();
    checkLimit(chunk);
    std::vector<std::byte> input = readFile(chunkFile, chunk);
    const std::uint64_t produced = inflateInto(output, input, chunk);
    if (produced != chunk.uncompressedByteLength)
        fail(
            CacheErrorCode::SizeMismatch,
            "Decompressed size mismatch for chunk " + std::to_string(chunk.index) + ": expected " +
                std::to_string(chunk.uncompressedByteLength) + ", got " + std::to_string(produced),
            chunk);
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    Logger::instance().info(
        "ChunkDecompressor", "Chunk decompressed",
        {{"chunkIndex", std::to_string(chunk.index)},
         {"compressedBytes", std::to_string(input.size())},
         {"outputBytes", std::to_string(produced)},
         {"duration", std::to_string(elapsed.count())}});
}

} // namespace zorbel
