#pragma once

#include "imaging/Image.h"

#include <array>
#include <atomic>
#include <memory>

namespace zorbel::imaging {

/// The smallest whole factors that bring each side down to at most maxSide voxels.
std::array<int, 3> downsampleFactors(const Image& image, int maxSide);

/// A coarser copy of a volume of one component for the 3D view: each new voxel is the mean of factors[0] ×
/// factors[1] × factors[2] voxels (fewer at the far borders). Values outside the padding alone are averaged;
/// a block of padding alone takes the image's lowest value that is none. int16 where the image's values fit,
/// else float32. Uses all cores; blocks. Null when cancelled.
std::shared_ptr<const Image>
downsample(const Image& image, const std::array<int, 3>& factors, const std::atomic<bool>* cancel = nullptr);

} // namespace zorbel::imaging
