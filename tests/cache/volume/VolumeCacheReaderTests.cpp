#include "TestVolumeCache.h"
#include "cache/volume/ChunkDecompressor.h"
#include "cache/volume/VolumeCacheReader.h"
#include "cache/volume/VoxelAssembler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <functional>

namespace zorbel {
namespace {

using test::Json;
using test::TestVolumeCache;

VolumeCacheResult load(const TestVolumeCache& cache, const std::atomic<bool>* cancel = nullptr) {
    return VolumeCacheReader(cache.folder, test::schemaPath(), {}, "1.2.3").load(cancel);
}

std::string voxelsOf(const ZorbelVolumeData& volume) {
    return {reinterpret_cast<const char*>(volume.voxels.get()), volume.byteLength};
}

TEST(VolumeCacheReader, LoadsTheVolumeWhateverTheOrderOfItsChunks) {
    TestVolumeCache cache;
    std::reverse(cache.manifest["chunks"].begin(), cache.manifest["chunks"].end());
    cache.manifest["chunks"][1].erase("compression");
    cache.manifest["chunks"][1].erase("sha256");
    auto& digest = cache.manifest["chunks"][0]["sha256"].get_ref<std::string&>();
    std::ranges::transform(digest, digest.begin(), [](unsigned char digit) { return std::toupper(digit); });
    cache.save();
    const VolumeCacheResult result = load(cache);
    const auto* const volume = std::get_if<ZorbelVolumeData>(&result);
    ASSERT_TRUE(volume) << std::get<LoadError>(result).message;
    EXPECT_EQ(voxelsOf(*volume), cache.voxels);
    EXPECT_EQ(volume->dimensions, (std::array<std::int32_t, 3>{4, 3, 6}));
    EXPECT_EQ(volume->spacing, (std::array<double, 3>{0.5, 0.25, 1.5}));
    EXPECT_EQ(volume->origin, (std::array<double, 3>{-10.0, 20.0, 30.5}));
    EXPECT_EQ(volume->direction, (std::array<double, 9>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
    const CacheLoadOutcome outcome = mapCacheResult(result);
    EXPECT_EQ(outcome.kind, CacheLoadOutcome::Kind::Loaded);
    EXPECT_EQ(outcome.userMessage, "Cache loaded successfully");
    EXPECT_FALSE(outcome.missing);
}

TEST(VolumeCacheReader, EveryFailureHasItsCodeAndItsWords) {
    struct Case {
        std::function<void(TestVolumeCache&)> damage;
        std::uint32_t code;
        std::string message; ///< the beginning of
        std::int32_t chunk;
        std::string userMessage;
    };
    const std::vector<Case> cases{
        {[](TestVolumeCache& c) { test::fs::remove_all(c.folder); }, 12, "Cache manifest not present: /", -1,
         "Study is not available in the local cache — falling back to DICOM."},
        {[](TestVolumeCache& c) { test::writeFile(c.manifestPath(), "{"); }, 12,
         "manifest.json is not valid JSON: ", -1, "Cache manifest invalid — falling back to DICOM."},
        {[](TestVolumeCache& c) { c.manifest["version"] = "volume-cache-manifest.v2"; }, 6,
         "Unsupported manifest version: volume-cache-manifest.v2", -1,
         "Cache version unsupported — falling back to DICOM. Update the desktop workstation to open cached "
         "studies."},
        {[](TestVolumeCache& c) { c.manifest["studyInstanceUID"] = "1.2.4"; }, 7,
         "Manifest study identity does not match the requested study", -1,
         "Cache integrity check failed — falling back to DICOM."},
        {[](TestVolumeCache& c) { test::fs::remove(c.chunk(1)); }, 8, "Chunk file is missing", 1,
         "Cache chunk missing — falling back to DICOM."},
        {[](TestVolumeCache& c) { test::fs::resize_file(c.chunk(2), 9); }, 9,
         "Chunk compressed length does not match file size", 2,
         "Cache chunk size mismatch — falling back to DICOM."},
        {[](TestVolumeCache& c) { c.putChunk(1, test::compressed(c.voxels.substr(0, 47))); }, 9,
         "Decompressed size mismatch for chunk 1: expected 48, got 47", 1,
         "Cache chunk size mismatch — falling back to DICOM."},
        {[](TestVolumeCache& c) { c.putChunk(1, test::compressed(c.voxels.substr(0, 49))); }, 10,
         "zlib inflate failed (code -5)", 1,
         "Cache chunk corrupt (decompression failed) — falling back to DICOM."},
        {[](TestVolumeCache& c) { c.putChunk(0, "this was never compressed"); }, 10,
         "zlib inflate failed (code -3): incorrect header check", 0,
         "Cache chunk corrupt (decompression failed) — falling back to DICOM."},
        {[](TestVolumeCache& c) { c.putChunk(0, ""); }, 10, "Chunk file is empty: /", 0,
         "Cache chunk corrupt (decompression failed) — falling back to DICOM."},
        {[](TestVolumeCache& c) { c.manifest["chunks"].erase(1); }, 11, "Chunk slice coverage contains a gap",
         2, "Cannot load study: Chunk slice coverage contains a gap"}};
    for (const Case& one : cases) {
        SCOPED_TRACE(one.message);
        TestVolumeCache cache;
        one.damage(cache);
        if (test::fs::exists(cache.folder) && !one.message.starts_with("manifest.json"))
            cache.save();
        const VolumeCacheResult result = load(cache);
        const auto* const error = std::get_if<LoadError>(&result);
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, one.code);
        EXPECT_TRUE(error->message.starts_with(one.message)) << error->message;
        EXPECT_EQ(error->chunkIndex, one.chunk);
        const CacheLoadOutcome outcome = mapCacheResult(result);
        EXPECT_EQ(outcome.userMessage, one.userMessage);
        EXPECT_EQ(outcome.missing, one.message.starts_with("Cache manifest not present"));
        const bool impossible = one.code == 11;
        EXPECT_EQ(error->severity, impossible ? CacheSeverity::Critical : CacheSeverity::Degraded);
        EXPECT_EQ(
            outcome.kind,
            impossible ? CacheLoadOutcome::Kind::Abort : CacheLoadOutcome::Kind::FallBackToDicom);
    }
}

TEST(VolumeCacheReader, EndsWhenCancelled) {
    const TestVolumeCache cache;
    const std::atomic<bool> cancel = true;
    const VolumeCacheResult result = load(cache, &cancel);
    ASSERT_TRUE(std::holds_alternative<LoadError>(result));
    EXPECT_EQ(std::get<LoadError>(result).severity, CacheSeverity::Degraded);
}

TEST(ChunkDecompressor, ReadsBothContainersAndNoMoreThanWasPlanned) {
    const TestVolumeCache cache;
    const std::string bytes = cache.voxels.substr(0, 48);
    for (const int window : {test::gzipWindow, test::zlibWindow}) {
        const std::string file = test::compressed(bytes, window, 9);
        // Something behind it, as in a file that grew after its check.
        test::writeFile(cache.chunk(0), file + std::string(1'000'000, 'x'));
        const auto result =
            ChunkDecompressor::decompress(cache.chunk(0), {0, 0, 1, file.size(), 48, "", "gzip"});
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(result.data()), result.size()), bytes);
    }
    test::fs::remove(cache.chunk(0));
    try {
        ChunkDecompressor::decompress(cache.chunk(0), {3, 0, 1, 71, 48, "", "gzip"});
        ADD_FAILURE();
    } catch (const ZorbelError& error) {
        EXPECT_EQ(error.stage, CacheStage::Decoding);
        EXPECT_EQ(error.code, CacheErrorCode::ChunkMissing);
        EXPECT_EQ(error.what(), "Cannot open chunk file: " + cache.chunk(0).string());
    }
}

TEST(VoxelAssembler, NeverWritesBeyondItsBuffer) {
    const TestVolumeCache cache;
    const auto failureOf = [&](std::int32_t startSlice, std::size_t sliceBytes, std::size_t volumeBytes) {
        const ChunkEntry chunk{0, startSlice, startSlice + 1, 71, 48, "", "gzip"};
        try {
            VoxelAssembler::assemble({{chunk}, sliceBytes, volumeBytes}, {}, cache.folder);
        } catch (const ZorbelError& error) {
            return error.code;
        }
        ADD_FAILURE() << "assembled at " << startSlice;
        return CacheErrorCode::Integrity;
    };
    for (const std::int32_t slice : {5, 2'000'000'000, -1})
        EXPECT_EQ(failureOf(slice, 24, 144), CacheErrorCode::InvalidLayout) << slice;
    EXPECT_EQ(failureOf(0, 24, 0), CacheErrorCode::InvalidLayout);
    EXPECT_EQ(failureOf(0, 12, 144), CacheErrorCode::SizeMismatch) << "another length than was checked";
}

} // namespace
} // namespace zorbel
