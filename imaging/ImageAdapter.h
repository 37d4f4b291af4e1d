#pragma once

#include "imaging/Image.h"
#include "imaging/volume/ZorbelVolumeData.h"

#include <memory>

namespace zorbel::imaging {

/// Makes a decoded volume an image for the viewer, without copying its voxels.
class ImageAdapter {
public:
    /// Null when the volume cannot be shown as it is: an unknown voxel type, a size that its buffer does not
    /// have, spacings that are not positive, directions that are no axes, values that are not finite. The
    /// cache knows nothing of rescale, windows or units: values stand as they are, and never as Hounsfield
    /// units. Scans all voxels for their range, on all cores. Any thread.
    static std::shared_ptr<const Image> adapt(const ZorbelVolumeData& volume);
};

} // namespace zorbel::imaging
