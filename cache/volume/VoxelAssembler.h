#pragma once

#include "cache/volume/IntegrityChecker.h"
#include "imaging/volume/ZorbelVolumeData.h"

namespace zorbel {

class VoxelAssembler {
public:
    /// Needs the memory of the volume, and of one compressed chunk at a time. Throws ZorbelError,
    /// WorkCancelled once the flag is set, or std::bad_alloc. Any thread.
    static ZorbelVolumeData assemble(
        const ValidatedLayout& layout, const VolumeCacheManifest& manifest,
        const std::filesystem::path& cacheDirectory, const std::atomic<bool>* cancel = nullptr);
};

} // namespace zorbel
