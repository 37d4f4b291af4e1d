#pragma once

#include "base/digest/Sha256.h"
#include "tests/support/Files.h"

#include <nlohmann/json.hpp>
#include <zlib.h>

#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace zorbel::test {

namespace fs = std::filesystem;
using Json = nlohmann::json;

constexpr int gzipWindow = 31;
constexpr int zlibWindow = 15;

inline std::string compressed(std::string bytes, int windowBits = gzipWindow, int level = 0) {
    z_stream stream{};
    if (deflateInit2(&stream, level, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::runtime_error("deflateInit2");
    std::string result(deflateBound(&stream, bytes.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    deflate(&stream, Z_FINISH);
    result.resize(stream.total_out);
    deflateEnd(&stream);
    return result;
}

/// A volume cache in a folder of its own, removed with it. Chunks are stored uncompressed in their gzip
/// members, so that all are of one size.
class TestVolumeCache {
public:
    TestVolumeCache() {
        constexpr std::size_t chunkBytes = 48; // 4 × 3 × 6 int16 in chunks of two slices
        for (std::size_t i = 0; i < 3 * chunkBytes; ++i)
            voxels += static_cast<char>(i * 31 + i / 7);
        manifest = {
            {"version", "volume-cache-manifest.v1"},
            {"studyInstanceUID", "1.2.3"},
            {"dtype", "int16"},
            {"dimensions", {4, 3, 6}},
            {"spacing", {0.5, 0.25, 1.5}},
            {"origin", {-10.0, 20, 30.5}},
            {"direction", {1, 0, 0, 0, 1, 0, 0, 0, 1}},
            {"chunks", Json::array()}};
        for (std::size_t chunk = 0; chunk < 3; ++chunk) {
            const std::string part = voxels.substr(chunk * chunkBytes, chunkBytes);
            manifest["chunks"].push_back(
                {{"index", chunk},
                 {"startSlice", 2 * chunk},
                 {"endSlice", 2 * chunk + 1},
                 {"uncompressedByteLength", part.size()},
                 {"compression", "gzip"}});
            putChunk(chunk, compressed(part));
        }
        save();
    }
    fs::path chunk(std::size_t index) const {
        return folder / ("chunk-" + std::to_string(index) + ".bin.gz");
    }
    /// Writes the file, and its length and digest into the manifest (not yet saved).
    void putChunk(std::size_t index, const std::string& bytes) {
        writeFile(chunk(index), bytes);
        manifest["chunks"][index]["compressedByteLength"] = bytes.size();
        manifest["chunks"][index]["sha256"] = sha256Hex(std::as_bytes(std::span(bytes)));
    }
    void save() const { writeFile(manifestPath(), manifest.dump()); }
    fs::path manifestPath() const { return folder / "manifest.json"; }

private:
    TemporaryFolder temporary_;

public:
    const fs::path folder = temporary_.path();
    Json manifest;
    std::string voxels;
};

inline fs::path schemaPath() {
    return ZORBEL_MANIFEST_SCHEMA;
}

} // namespace zorbel::test
