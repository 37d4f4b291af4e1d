#pragma once

#include "cache/volume/IntegrityChecker.h"
#include "fuzz/FuzzSupport.h"

#include <cctype>
#include <set>
#include <vector>

namespace zorbel::fuzz {

/// Whether a manifest describes a volume that may be decoded once its chunk files are there: the rules in
/// another form than the checker's, so that a slip in one shows.
inline bool describesAVolume(const VolumeCacheManifest& manifest, const VolumeCacheOptions& options) {
    __extension__ using Wide = unsigned __int128;
    const auto [x, y, z] = manifest.dimensions;
    if (x <= 0 || y <= 0 || z <= 0)
        return false;
    const Wide sliceBytes = Wide(manifest.dtype == "int16" ? 2 : 4) * Wide(x) * Wide(y);
    if (sliceBytes * Wide(z) > options.decodedVolumeLimit)
        return false;
    // The limit keeps this within some megabytes where slices are large, and the fuzzer's own bound where
    // not.
    std::vector<bool> covered(static_cast<std::size_t>(z), false);
    std::set<std::int32_t> seen;
    Wide compressed = 0;
    for (const ChunkEntry& chunk : manifest.chunks) {
        if (chunk.index < 0 || !seen.insert(chunk.index).second || chunk.startSlice < 0 ||
            chunk.startSlice > chunk.endSlice || chunk.endSlice >= z)
            return false;
        for (auto slice = chunk.startSlice; slice <= chunk.endSlice; ++slice) {
            if (covered[static_cast<std::size_t>(slice)])
                return false;
            covered[static_cast<std::size_t>(slice)] = true;
        }
        const Wide bytes = sliceBytes * Wide(chunk.endSlice - chunk.startSlice + 1);
        if (chunk.compression != "gzip" || bytes != chunk.uncompressedByteLength || bytes >> 32U != 0 ||
            chunk.compressedByteLength >> 32U != 0)
            return false;
        if (chunk.sha256.empty() ? options.sha256Policy == Sha256Policy::Required : chunk.sha256.size() != 64)
            return false;
        for (const char digit : chunk.sha256)
            if (std::isxdigit(static_cast<unsigned char>(digit)) == 0)
                return false;
        compressed += chunk.compressedByteLength;
    }
    for (const bool slice : covered)
        if (!slice)
            return false;
    return (!manifest.hasTotalCompressedByteLength || manifest.totalCompressedByteLength == compressed) &&
           (!manifest.hasTotalUncompressedByteLength ||
            manifest.totalUncompressedByteLength == sliceBytes * Wide(z));
}

/// Checks a manifest against a folder without any chunk: it must get as far as missing the first file exactly
/// when it describes a volume.
inline void checkAgainstOracle(
    const VolumeCacheManifest& manifest, const VolumeCacheOptions& options,
    const std::filesystem::path& emptyFolder) {
    const auto result = IntegrityChecker::check(manifest, {}, options, emptyFolder);
    const auto* failure = std::get_if<IntegrityFailure>(&result);
    require(failure != nullptr, "a cache without chunk files is refused");
    require(!failure->message.empty(), "a refusal says why");
    require(
        (failure->code == CacheErrorCode::ChunkMissing) == describesAVolume(manifest, options),
        "exactly the manifests of a volume are accepted");
}

} // namespace zorbel::fuzz
