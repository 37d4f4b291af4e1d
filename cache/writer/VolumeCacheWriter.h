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
        int chunkSlices = 32;         ///< at least 1; fewer where a chunk would pass 1 GiB
        bool sha256 = true;
        int compressionLevel = 6; ///< zlib's, 0 to 9
    };

    /// Creates the folder when it is missing; folder and files are private. An earlier cache in the folder
    /// stays whole until every new chunk is on the disk, and is then replaced. The manifest is put in its
    /// place last, so that a write that fails leaves no cache that could be taken for a whole one.
    ///
    /// The voxel type is int16 for images whose values surely fit (8 bits, int16, uint16 up to 32767), int32
    /// for other uint16, and else the image's own; values are always exactly the image's. The third column of
    /// the direction is the unit vector of the slices' step and the third spacing that step's length, so that
    /// a sheared grid stays one.
    ///
    /// Compresses on all cores; holds a few chunks besides the image. Throws std::runtime_error, with the
    /// path and the reason, on a failing disk and for an image that the format cannot hold (more than one
    /// component a voxel, values that are not finite, slices of more than 1 GiB).
    static void
    write(const imaging::Image& image, const std::filesystem::path& cacheDirectory, const Options& options);
};

} // namespace zorbel
