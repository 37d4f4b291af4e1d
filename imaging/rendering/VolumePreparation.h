#pragma once

#include "imaging/Image.h"
#include "imaging/display/TissueScale.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

namespace zorbel::imaging {

/// The largest volume that may be handed to OpenGL as it is.
struct VolumeLimits {
    int maxSide = 0; ///< voxels; 0: what OpenGL takes, or less where the processor draws
    std::size_t maxBytes = std::size_t{1} << 30;
    /// Whether a 3D texture of that size can be had; asked with the context current. Unset: OpenGL is asked.
    std::function<bool(const std::array<int, 3>& dimensions, VoxelType type)> fits;
};

/// A volume as the 3D view draws it.
struct PreparedVolume {
    std::shared_ptr<const Image> volume; ///< null when it failed (logged) or was cancelled
    TissueScale scale;                   ///< of the volume in full resolution
    bool reduced = false;                ///< coarser than the image
    std::optional<double> outside; ///< the value that the air around the patient was given, if asked for
};

/// The image itself or, where it is too large, VTK has no texture for its voxels or the air around the
/// patient is to be left out, a copy. Blocks; any thread.
PreparedVolume prepareVolume(
    const std::shared_ptr<const Image>& image, int maxSide, std::size_t maxBytes, bool leaveOutsideAirOut,
    const std::shared_ptr<std::atomic<bool>>& cancel);

} // namespace zorbel::imaging
