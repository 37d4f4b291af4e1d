// A manifest's members made of the bytes, mostly ones that nearly fit together, for the checker alone.
#include "fuzz/LayoutOracle.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>

namespace {

using namespace zorbel;

/// Mostly what is right, and otherwise anything.
template <class T>
T nearly(FuzzedDataProvider& bytes, T right) {
    switch (bytes.ConsumeIntegralInRange(0, 15)) {
    case 0:
        return bytes.ConsumeIntegral<T>();
    case 1:
        return static_cast<T>(right + T{1});
    case 2:
        return static_cast<T>(right - T{1});
    default:
        return right;
    }
}

VolumeCacheManifest manifestOf(FuzzedDataProvider& bytes) {
    VolumeCacheManifest manifest;
    manifest.dtype = bytes.ConsumeBool() ? "int16" : bytes.ConsumeRandomLengthString(8);
    // Powers of two are the ones whose products overflow to something small.
    for (std::int32_t& dimension : manifest.dimensions)
        dimension = bytes.ConsumeIntegralInRange(0, 3) == 0
                        ? 1 << bytes.ConsumeIntegralInRange(0, 30)
                        : nearly(bytes, bytes.ConsumeIntegralInRange<std::int32_t>(1, 40));
    // The oracle looks at every slice.
    manifest.dimensions[2] = std::clamp(manifest.dimensions[2], -1, 1 << 16);

    const std::uint64_t sliceBytes = (manifest.dtype == "int16" ? 2ULL : 4ULL) *
                                     static_cast<std::uint32_t>(manifest.dimensions[0]) *
                                     static_cast<std::uint32_t>(manifest.dimensions[1]);
    std::uint64_t compressed = 0, uncompressed = 0;
    for (std::int32_t next = 0; bytes.remaining_bytes() > 0 && manifest.chunks.size() < 50;) {
        ChunkEntry chunk;
        chunk.index = nearly(bytes, static_cast<std::int32_t>(manifest.chunks.size()));
        chunk.startSlice = nearly(bytes, next);
        const std::int32_t last = next + bytes.ConsumeIntegralInRange(0, 20);
        chunk.endSlice = nearly(bytes, std::min(last, manifest.dimensions[2] - 1));
        const auto slices = static_cast<std::uint64_t>(std::int64_t{chunk.endSlice} - chunk.startSlice + 1);
        chunk.uncompressedByteLength = nearly(bytes, slices * sliceBytes);
        chunk.compressedByteLength = nearly<std::uint64_t>(bytes, 100);
        if (bytes.ConsumeBool())
            chunk.sha256 =
                std::string(nearly<std::uint8_t>(bytes, 64), bytes.ConsumeIntegralInRange('F', 'G'));
        if (bytes.ConsumeIntegralInRange(0, 15) == 0)
            chunk.compression = bytes.ConsumeRandomLengthString(4);
        compressed += chunk.compressedByteLength;
        uncompressed += chunk.uncompressedByteLength;
        manifest.chunks.push_back(chunk);
        if (chunk.endSlice < 0 || chunk.endSlice >= manifest.dimensions[2] - 1)
            break;
        next = chunk.endSlice + 1;
    }
    std::reverse(manifest.chunks.begin(), manifest.chunks.end());
    manifest.hasTotalCompressedByteLength = bytes.ConsumeBool();
    manifest.totalCompressedByteLength = nearly(bytes, compressed);
    manifest.hasTotalUncompressedByteLength = bytes.ConsumeBool();
    manifest.totalUncompressedByteLength = nearly(bytes, uncompressed);
    return manifest;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::ScratchFolder cache;
    FuzzedDataProvider bytes(data, size);
    VolumeCacheOptions options;
    options.decodedVolumeLimit = nearly(bytes, options.decodedVolumeLimit);
    options.sha256Policy = bytes.ConsumeBool() ? Sha256Policy::Required : Sha256Policy::Optional;
    fuzz::checkAgainstOracle(manifestOf(bytes), options, cache.path());
    return 0;
}
