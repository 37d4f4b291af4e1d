// The bytes of a manifest.json, parsed, and checked where they are a manifest.
#include "cache/volume/ManifestParser.h"
#include "fuzz/LayoutOracle.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zorbel;
    static const fuzz::ScratchFolder folder;
    static const fuzz::ScratchFolder cache;
    const auto manifestPath = folder.file("manifest.json", {data, size});
    VolumeCacheManifest manifest;
    try {
        manifest = ManifestParser::parse(
            manifestPath, ZORBEL_SOURCE_DIR "/resources/contracts/volume-cache-manifest.v1.0.json");
    } catch (const ZorbelError& error) {
        fuzz::require(
            error.stage == CacheStage::Manifest && error.code == CacheErrorCode::ManifestInvalid &&
                error.what()[0] != '\0',
            "a manifest is refused with its own code and a reason");
        return 0;
    }
    // Slices of a byte or two: the oracle looks at every one of them.
    if (manifest.dimensions[2] <= 1 << 20)
        fuzz::checkAgainstOracle(manifest, {}, cache.path());
    return 0;
}
