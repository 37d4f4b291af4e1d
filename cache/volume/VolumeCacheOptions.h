#pragma once

#include <cstdint>

namespace zorbel {

enum class Sha256Policy { Optional = 0, Required = 1 };

struct VolumeCacheOptions {
    std::uint64_t decodedVolumeLimit = 2'147'483'648; ///< bytes
    Sha256Policy sha256Policy = Sha256Policy::Optional;
};

} // namespace zorbel
