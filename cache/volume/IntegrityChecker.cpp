#include "cache/volume/IntegrityChecker.h"

#include "app/log/Logger.h"
#include "base/PathText.h"
#include "base/WorkCancelled.h"
#include "base/digest/Sha256.h"
#include "platform/RegularFile.h"
#include "platform/threads/StackGuard.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <limits>
#include <mutex>
#include <optional>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

namespace zorbel {

namespace {

using Failure = std::optional<IntegrityFailure>;

std::optional<std::uint64_t> product(std::uint64_t a, std::uint64_t b) {
    if (b != 0 && a > std::numeric_limits<std::uint64_t>::max() / b)
        return std::nullopt;
    return a * b;
}

std::optional<std::uint64_t> sum(std::uint64_t a, std::uint64_t b) {
    if (a > std::numeric_limits<std::uint64_t>::max() - b)
        return std::nullopt;
    return a + b;
}

Failure invalidLayout(std::string message, std::int32_t chunk = -1) {
    return IntegrityFailure{CacheErrorCode::InvalidLayout, std::move(message), chunk};
}

Failure sizeMismatch(std::string message, std::int32_t chunk = -1) {
    return IntegrityFailure{CacheErrorCode::SizeMismatch, std::move(message), chunk};
}

Failure integrity(std::string message, std::int32_t chunk = -1) {
    return IntegrityFailure{CacheErrorCode::Integrity, std::move(message), chunk};
}

Failure chunkMissing(std::string message, std::int32_t chunk) {
    return IntegrityFailure{CacheErrorCode::ChunkMissing, std::move(message), chunk};
}

Failure checkVolume(
    const VolumeCacheManifest& manifest, const std::string& requestedStudyUid,
    const VolumeCacheOptions& options, ValidatedLayout& layout) {
    if (!requestedStudyUid.empty() && requestedStudyUid != manifest.studyInstanceUID)
        return integrity("Manifest study identity does not match the requested study");
    const auto& [x, y, z] = manifest.dimensions;
    if (x <= 0 || y <= 0 || z <= 0)
        return invalidLayout("Volume dimensions must all be positive");
    if (options.decodedVolumeLimit == 0)
        return invalidLayout("Decoded-volume limit must be positive");

    const std::uint64_t bytesPerVoxel = manifest.dtype == "int16" ? 2 : 4;
    const auto rowBytes = product(bytesPerVoxel, static_cast<std::uint64_t>(x));
    const auto sliceBytes = rowBytes ? product(*rowBytes, static_cast<std::uint64_t>(y)) : std::nullopt;
    const auto volumeBytes = sliceBytes ? product(*sliceBytes, static_cast<std::uint64_t>(z)) : std::nullopt;
    if (!volumeBytes || *volumeBytes > std::numeric_limits<std::size_t>::max())
        return invalidLayout("Volume byte geometry overflows size_t");
    if (*volumeBytes > options.decodedVolumeLimit)
        return invalidLayout(
            "Decoded volume exceeds configured limit: " + std::to_string(*volumeBytes) + " > " +
            std::to_string(options.decodedVolumeLimit));
    if (manifest.chunks.empty())
        return invalidLayout("Volume has no chunks");
    layout.sliceBytes = *sliceBytes;
    layout.volumeBytes = *volumeBytes;
    return std::nullopt;
}

bool isSha256(const std::string& text) {
    return text.size() == 64 && std::all_of(text.begin(), text.end(), [](char digit) {
               return (digit >= '0' && digit <= '9') || (digit >= 'a' && digit <= 'f') ||
                      (digit >= 'A' && digit <= 'F');
           });
}

/// The sums over the chunk table so far.
struct Totals {
    std::uint64_t compressed = 0;
    std::uint64_t uncompressed = 0;

    bool add(const ChunkEntry& chunk) {
        const auto moreCompressed = sum(compressed, chunk.compressedByteLength);
        const auto moreUncompressed = sum(uncompressed, chunk.uncompressedByteLength);
        if (!moreCompressed || !moreUncompressed)
            return false;
        compressed = *moreCompressed;
        uncompressed = *moreUncompressed;
        return true;
    }
};

Failure checkChunk(
    const ChunkEntry& chunk, std::int32_t depth, const ValidatedLayout& layout, Sha256Policy policy,
    std::set<std::int32_t>& seen, Totals& totals) {
    if (chunk.index < 0 || !seen.insert(chunk.index).second)
        return invalidLayout(
            "Duplicate or negative chunk index: " + std::to_string(chunk.index), chunk.index);
    if (chunk.startSlice < 0 || chunk.endSlice < chunk.startSlice || chunk.endSlice >= depth)
        return invalidLayout("Chunk slice span is reversed or outside volume depth", chunk.index);
    if (chunk.compression != "gzip")
        return integrity("Unsupported chunk compression: " + chunk.compression, chunk.index);
    const auto slices = static_cast<std::uint64_t>(chunk.endSlice - chunk.startSlice) + 1;
    const auto expected = product(slices, layout.sliceBytes);
    if (!expected)
        return invalidLayout("Chunk byte geometry overflows size_t", chunk.index);
    if (chunk.uncompressedByteLength != *expected)
        return sizeMismatch(
            "Chunk uncompressed length does not match its slice span: expected " + std::to_string(*expected) +
                ", got " + std::to_string(chunk.uncompressedByteLength),
            chunk.index);
    constexpr std::uint64_t zlibLimit = std::numeric_limits<std::uint32_t>::max();
    if (chunk.compressedByteLength > zlibLimit || chunk.uncompressedByteLength > zlibLimit)
        return invalidLayout("Chunk exceeds the zlib single-stream byte limit", chunk.index);
    if (!totals.add(chunk))
        return invalidLayout("Chunk byte totals overflow size_t");
    if (policy == Sha256Policy::Required && chunk.sha256.empty())
        return integrity("SHA-256 is required but missing", chunk.index);
    if (!chunk.sha256.empty() && !isSha256(chunk.sha256))
        return integrity("SHA-256 must contain exactly 64 hexadecimal characters", chunk.index);
    return std::nullopt;
}

/// chunks: in ascending slice order.
Failure checkCoverage(const std::vector<ChunkEntry>& chunks, std::int32_t depth) {
    std::int32_t next = 0; // no overflow: every last slice is below the depth
    for (const ChunkEntry& chunk : chunks) {
        if (chunk.startSlice < next)
            return invalidLayout("Chunk slice coverage overlaps", chunk.index);
        if (chunk.startSlice > next)
            return invalidLayout("Chunk slice coverage contains a gap", chunk.index);
        next = chunk.endSlice + 1;
    }
    if (next != depth)
        return invalidLayout("Chunk coverage does not reach volume depth");
    return std::nullopt;
}

Failure
checkTotals(const VolumeCacheManifest& manifest, const Totals& totals, const ValidatedLayout& layout) {
    if (totals.uncompressed != layout.volumeBytes)
        return sizeMismatch("Chunk byte total does not equal volume size");
    if (manifest.hasTotalCompressedByteLength && manifest.totalCompressedByteLength != totals.compressed)
        return sizeMismatch("Manifest compressed-byte total is inconsistent");
    if (manifest.hasTotalUncompressedByteLength &&
        manifest.totalUncompressedByteLength != totals.uncompressed)
        return sizeMismatch("Manifest uncompressed-byte total is inconsistent");
    return std::nullopt;
}

/// The rules of the manifest alone; fills the layout.
Failure checkLayout(
    const VolumeCacheManifest& manifest, const std::string& requestedStudyUid,
    const VolumeCacheOptions& options, ValidatedLayout& layout) {
    if (Failure failure = checkVolume(manifest, requestedStudyUid, options, layout))
        return failure;
    const std::int32_t depth = manifest.dimensions[2];
    std::set<std::int32_t> seen;
    Totals totals;
    for (const ChunkEntry& chunk : manifest.chunks) {
        if (Failure failure = checkChunk(chunk, depth, layout, options.sha256Policy, seen, totals))
            return failure;
    }
    layout.chunks = manifest.chunks;
    std::stable_sort(
        layout.chunks.begin(), layout.chunks.end(),
        [](const ChunkEntry& a, const ChunkEntry& b) { return a.startSlice < b.startSlice; });
    if (Failure failure = checkCoverage(layout.chunks, depth))
        return failure;
    return checkTotals(manifest, totals, layout);
}

std::string hashFile(const std::filesystem::path& path, const std::atomic<bool>* cancel) {
    std::optional<RegularFile> file;
    try {
        file.emplace(path);
    } catch (const std::system_error&) {
        throw std::runtime_error("Cannot open chunk for SHA-256: " + pathText(path));
    }
    Sha256 hash;
    if (!hash.isReady())
        throw std::runtime_error("Cannot initialize SHA-256 for: " + pathText(path));
    std::vector<std::byte> block(65'536);
    for (std::size_t count = block.size(); count == block.size();) {
        throwIfCancelled(cancel);
        try {
            count = file->read(block);
        } catch (const std::system_error&) {
            throw std::runtime_error("Cannot read chunk for SHA-256: " + pathText(path));
        }
        if (!hash.update(std::span(block).first(count)))
            throw std::runtime_error("Cannot update SHA-256 for: " + pathText(path));
    }
    std::string digest = hash.finish();
    if (digest.empty())
        throw std::runtime_error("Cannot finalize SHA-256 for: " + pathText(path));
    return digest;
}

bool isDigestOf(const std::string& digest, std::string expected) {
    std::transform(expected.begin(), expected.end(), expected.begin(), [](char digit) {
        return digit >= 'A' && digit <= 'F' ? static_cast<char>(digit - 'A' + 'a') : digit;
    });
    return digest == expected;
}

Failure checkFile(
    const ChunkEntry& chunk, const std::filesystem::path& cacheDirectory, const std::atomic<bool>* cancel) {
    throwIfCancelled(cancel);
    const std::filesystem::path path = cacheDirectory / chunkFileName(chunk.index);
    std::error_code error;
    const auto type = std::filesystem::symlink_status(path, error).type();
    if (type == std::filesystem::file_type::none)
        return chunkMissing("Cannot stat chunk file: " + pathText(path), chunk.index);
    if (type != std::filesystem::file_type::regular)
        return chunkMissing("Chunk file is missing or is not a regular file: " + pathText(path), chunk.index);
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error)
        return chunkMissing("Cannot stat chunk file: " + pathText(path), chunk.index);
    if (size != chunk.compressedByteLength)
        return sizeMismatch("Chunk compressed length does not match file size", chunk.index);
    if (chunk.sha256.empty())
        return std::nullopt;
    try {
        if (!isDigestOf(hashFile(path, cancel), chunk.sha256))
            return integrity("Chunk SHA-256 mismatch", chunk.index);
    } catch (const WorkCancelled&) {
        throw;
    } catch (const std::runtime_error& failure) {
        return integrity(failure.what(), chunk.index);
    }
    return std::nullopt;
}

/// Several files at a time; of several faults, the one that comes first in slice order counts.
class FileChecks {
public:
    FileChecks(
        const std::vector<ChunkEntry>& chunks, const std::filesystem::path& cacheDirectory,
        const std::atomic<bool>* cancel)
        : chunks_(chunks), cacheDirectory_(cacheDirectory), cancel_(cancel), end_(chunks.size()) {}

    Failure run() {
        constexpr std::size_t mostThreads = 4; // more would only make the disk seek
        const auto threadCount =
            std::min<std::size_t>({std::thread::hardware_concurrency(), mostThreads, chunks_.size()});
        {
            std::vector<std::jthread> helpers;
            try {
                while (helpers.size() + 1 < threadCount)
                    helpers.emplace_back([this] {
                        guardThreadStack();
                        work();
                    });
            } catch (const std::system_error&) {
                // No further thread to be had: those that run do it all.
            }
            work();
        }
        if (exception_)
            std::rethrow_exception(exception_);
        return std::move(first_);
    }

private:
    void work() noexcept {
        // Files are taken in order, so that all before a bad one are looked at as well.
        for (std::size_t i = next_++; i < end_; i = next_++) {
            try {
                Failure failure = checkFile(chunks_[i], cacheDirectory_, cancel_);
                if (failure)
                    report(i, std::move(failure), nullptr);
            } catch (...) {
                report(i, std::nullopt, std::current_exception());
            }
        }
    }

    void report(std::size_t i, Failure failure, std::exception_ptr exception) {
        const std::lock_guard lock(mutex_);
        if (i >= end_)
            return;
        end_ = i;
        first_ = std::move(failure);
        exception_ = std::move(exception);
    }

    const std::vector<ChunkEntry>& chunks_;
    const std::filesystem::path& cacheDirectory_;
    const std::atomic<bool>* cancel_;
    std::atomic<std::size_t> next_ = 0;
    std::atomic<std::size_t> end_;
    std::mutex mutex_;
    Failure first_;
    std::exception_ptr exception_;
};

} // namespace

std::variant<ValidatedLayout, IntegrityFailure> IntegrityChecker::check(
    const VolumeCacheManifest& manifest, const std::string& requestedStudyUid,
    const VolumeCacheOptions& options, const std::filesystem::path& cacheDirectory,
    const std::atomic<bool>* cancel) {
    const auto begin = std::chrono::steady_clock::now();
    ValidatedLayout layout;
    Failure failure = checkLayout(manifest, requestedStudyUid, options, layout);
    if (!failure)
        failure = FileChecks(layout.chunks, cacheDirectory, cancel).run();
    if (failure) {
        LogMeta meta;
        if (failure->chunkIndex != -1)
            meta["chunkIndex"] = std::to_string(failure->chunkIndex);
        Logger::instance().warn("IntegrityChecker", "Integrity check failed - " + failure->message, meta);
        return *std::move(failure);
    }
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    Logger::instance().info(
        "IntegrityChecker", "Integrity check passed",
        {{"chunks", std::to_string(layout.chunks.size())},
         {"totalBytes", std::to_string(layout.volumeBytes)},
         {"duration", std::to_string(elapsed.count())}});
    return layout;
}

} // namespace zorbel
