#pragma once

#include "cache/volume/IntegrityChecker.h"
#include "imaging/ZorbelVolumeData.h"

namespace zorbel {

class VoxelAssembler {
public:
    /// Throws ZorbelError, or std::bad_alloc. Any thread.
    static ZorbelVolumeData assemble(
        const ValidatedLayout& layout, const VolumeCacheManifest& manifest,
        const std::filesystem::path& cacheDirectory);
};

} // namespace zorbel
