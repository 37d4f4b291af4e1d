#include "cache/volume/VolumeCacheManifest.h"

namespace zorbel {

bool isSupportedVersion(const std::string& version) {
    return version == "volume-cache-manifest.v1";
}

std::string chunkFileName(std::int32_t index) {
    return "chunk-" + std::to_string(index) + ".bin.gz";
}

} // namespace zorbel
