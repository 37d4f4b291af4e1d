#pragma once

#include "imaging/Image.h"

#include <filesystem>
#include <string>

namespace zorbel {

/// Writes a volume cache as the imaging service does; the viewer itself only reads them.
class VolumeCacheWriter {
public:
    struct Options {
        std::string studyInstanceUid; ///< of the image's own metadata when empty
        int chunkSlices = 32;
        bool sha256 = true;
        int compressionLevel = 6; ///< zlib's
    };

    /// Creates the folder when it is missing. The manifest is put in its place last, so that a write that
    /// fails leaves no cache that could be taken for a whole one; an earlier cache in the folder is replaced.
    /// Throws std::runtime_error, with the path and the reason, on a failing disk and for an image that the
    /// format cannot hold (more than one component a voxel).
    static void
    write(const imaging::Image& image, const std::filesystem::path& cacheDirectory, const Options& options);
};

} // namespace zorbel
