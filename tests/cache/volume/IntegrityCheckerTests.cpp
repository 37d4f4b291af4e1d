#include "TestVolumeCache.h"
#include "base/WorkCancelled.h"
#include "cache/volume/IntegrityChecker.h"
#include "cache/volume/ManifestParser.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include <sys/stat.h>

namespace zorbel {
namespace {

using test::TestVolumeCache;
using enum CacheErrorCode;

/// What a check is given.
struct Request {
    VolumeCacheManifest manifest;
    VolumeCacheOptions options;
    std::string study;

    ChunkEntry& chunk(std::size_t index) { return manifest.chunks[index]; }
    /// Moves a chunk's span, and its length with it.
    void span(std::size_t index, std::int32_t first, std::int32_t last) {
        chunk(index).startSlice = first;
        chunk(index).endSlice = last;
        chunk(index).uncompressedByteLength = static_cast<std::uint64_t>(last - first + 1) * 24;
    }
};

struct Rule {
    std::function<void(Request&)> breakIt;
    std::string message;
    CacheErrorCode code;
    std::int32_t chunk = -1;
};

class IntegrityCheckerTest : public testing::Test {
protected:
    Request request() const {
        return {ManifestParser::parse(cache.manifestPath(), test::schemaPath()), {}, "1.2.3"};
    }
    static std::variant<ValidatedLayout, IntegrityFailure>
    check(const Request& request, const test::fs::path& folder) {
        return IntegrityChecker::check(request.manifest, request.study, request.options, folder);
    }
    static void expectFailure(
        const Request& request, const test::fs::path& folder, const Rule& rule, const std::string& what) {
        const test::LogCapture log;
        const auto result = check(request, folder);
        const auto* const failure = std::get_if<IntegrityFailure>(&result);
        ASSERT_TRUE(failure) << what << ": " << rule.message;
        EXPECT_EQ(failure->message, rule.message) << what;
        EXPECT_EQ(failure->code, rule.code) << what << ": " << rule.message;
        EXPECT_EQ(failure->chunkIndex, rule.chunk) << what << ": " << rule.message;
        EXPECT_EQ(log.count("Integrity check failed - "), 1U);
    }

    TestVolumeCache cache; // 4 × 3 × 6 int16 in chunks of two slices
};

/// In the order in which they are looked at; any two of them can be broken together, the later one first.
std::vector<Rule> manifestRules() {
    const auto sizeOverflows = [](Request& r) {
        constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
        r.manifest.dimensions = {most, most, most};
    };
    return {
        {[](Request& r) { r.study = "1.2.30"; }, "Manifest study identity does not match the requested study",
         Integrity},
        {[](Request& r) { r.manifest.dimensions[1] = 0; }, "Volume dimensions must all be positive",
         InvalidLayout},
        {[](Request& r) { r.options.decodedVolumeLimit = 0; }, "Decoded-volume limit must be positive",
         InvalidLayout},
        {sizeOverflows, "Volume byte geometry overflows size_t", InvalidLayout},
        {[](Request& r) { r.options.decodedVolumeLimit = 143; },
         "Decoded volume exceeds configured limit: 144 > 143", InvalidLayout},
        {[](Request& r) { r.manifest.chunks.clear(); }, "Volume has no chunks", InvalidLayout},
        {[](Request& r) { r.chunk(0).index = -1; }, "Duplicate or negative chunk index: -1", InvalidLayout,
         -1},
        {[](Request& r) { r.chunk(0).endSlice = 6; }, "Chunk slice span is reversed or outside volume depth",
         InvalidLayout, 0},
        {[](Request& r) { r.chunk(0).compression = "GZIP"; }, "Unsupported chunk compression: GZIP",
         Integrity, 0},
        {[](Request& r) { r.chunk(0).uncompressedByteLength = 47; },
         "Chunk uncompressed length does not match its slice span: expected 48, got 47", SizeMismatch, 0},
        {[](Request& r) { r.chunk(0).compressedByteLength = 4'294'967'296; },
         "Chunk exceeds the zlib single-stream byte limit", InvalidLayout, 0},
        {[](Request& r) {
             r.options.sha256Policy = Sha256Policy::Required;
             r.chunk(0).sha256.clear();
         },
         "SHA-256 is required but missing", Integrity, 0},
        {[](Request& r) { r.chunk(1).sha256.back() = 'g'; },
         "SHA-256 must contain exactly 64 hexadecimal characters", Integrity, 1},
        {[](Request& r) { r.chunk(2).index = 1; }, "Duplicate or negative chunk index: 1", InvalidLayout, 1},
        {[](Request& r) { r.span(1, 1, 3); }, "Chunk slice coverage overlaps", InvalidLayout, 1},
        {[](Request& r) { r.span(2, 5, 5); }, "Chunk slice coverage contains a gap", InvalidLayout, 2},
        {[](Request& r) { r.span(2, 4, 4); }, "Chunk coverage does not reach volume depth", InvalidLayout},
        {[](Request& r) {
             r.manifest.hasTotalCompressedByteLength = true; // of 0
         },
         "Manifest compressed-byte total is inconsistent", SizeMismatch},
        {[](Request& r) {
             r.manifest.hasTotalUncompressedByteLength = true;
             r.manifest.totalUncompressedByteLength = 145;
         },
         "Manifest uncompressed-byte total is inconsistent", SizeMismatch}};
}

TEST_F(IntegrityCheckerTest, TheFirstBrokenRuleIsToldAndTheDiskNotAsked) {
    const std::vector<Rule> rules = manifestRules();
    const auto nowhere = cache.folder / "not" / "there";
    for (std::size_t first = 0; first < rules.size(); ++first) {
        for (std::size_t second = first; second < rules.size(); ++second) {
            Request both = request();
            rules[second].breakIt(both);
            if (second != first)
                rules[first].breakIt(both);
            expectFailure(
                both, nowhere, rules[first],
                "rules " + std::to_string(first) + ", " + std::to_string(second));
        }
    }
}

TEST_F(IntegrityCheckerTest, FilesThatAreNotWhatTheManifestSays) {
    const auto file = cache.chunk(1);
    const std::string whole = test::readFile(file);
    const std::string notRegular = "Chunk file is missing or is not a regular file: " + file.string();
    const std::string wrongSize = "Chunk compressed length does not match file size";
    std::string flipped = whole;
    flipped[20] = static_cast<char>(flipped[20] ^ 1);
    const std::vector<std::pair<std::function<void()>, Rule>> faults{
        {[] {}, {{}, notRegular, ChunkMissing, 1}},
        {[&] { test::fs::create_directory(file); }, {{}, notRegular, ChunkMissing, 1}},
        {[&] { test::fs::create_symlink(cache.chunk(0), file); }, {{}, notRegular, ChunkMissing, 1}},
        {[&] { mkfifo(file.c_str(), 0600); }, {{}, notRegular, ChunkMissing, 1}},
        {[&] { test::writeFile(file, ""); }, {{}, wrongSize, SizeMismatch, 1}},
        {[&] { test::writeFile(file, whole.substr(1)); }, {{}, wrongSize, SizeMismatch, 1}},
        {[&] { test::writeFile(file, whole + "x"); }, {{}, wrongSize, SizeMismatch, 1}},
        {[&] { test::writeFile(file, flipped); }, {{}, "Chunk SHA-256 mismatch", Integrity, 1}},
        {[&] { test::fs::copy_file(cache.chunk(2), file); }, {{}, "Chunk SHA-256 mismatch", Integrity, 1}},
    };
    for (const auto& [fault, rule] : faults) {
        test::fs::remove_all(file);
        fault();
        // A later chunk's fault is not told instead, whichever file is looked at first.
        for (int attempt = 0; attempt < 20; ++attempt) {
            test::fs::resize_file(cache.chunk(2), attempt % 2 == 0 ? 3 : whole.size());
            expectFailure(request(), cache.folder, rule, "file");
        }
        test::writeFile(cache.chunk(2), test::compressed(cache.voxels.substr(96)));
    }
    const auto loop = cache.folder / "loop";
    test::fs::create_symlink(loop, loop);
    expectFailure(
        request(), loop,
        {{}, "Cannot stat chunk file: " + (loop / "chunk-0.bin.gz").string(), ChunkMissing, 0}, "loop");
}

TEST_F(IntegrityCheckerTest, StopsWhenCancelled) {
    const std::atomic<bool> cancel = true;
    const Request good = request();
    EXPECT_THROW(
        IntegrityChecker::check(good.manifest, good.study, good.options, cache.folder, &cancel),
        WorkCancelled);
}

} // namespace
} // namespace zorbel
