#pragma once

#include "imaging/Image.h"
#include "imaging/VoiTransform.h"

#include <cstddef>
#include <vector>

namespace zorbel::imaging {

/// At most about `limit` values spread evenly over the image (first component), without padding and without
/// values that are not finite; sorted.
std::vector<float> sampleValues(const Image& image, std::size_t limit = 250'000);

/// A window computed from the values alone: from their 1st to their 99th percentile, at least one unit wide
/// (for floating-point voxels that span less than that: as wide as they span).
LevelWindow defaultWindow(const Image& image);

/// The first usable window of the file (finite, width above 0), else defaultWindow().
LevelWindow initialWindow(const Image& image);

} // namespace zorbel::imaging
