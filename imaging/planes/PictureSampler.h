#pragma once

#include "imaging/planes/PlaneFrame.h"
#include "imaging/planes/PlaneValues.h"

#include <cstddef>

namespace zorbel::imaging {

/// Fills the pictures of a view with grey values: what lies under each of its pixels, be it on a flat plane
/// or on another surface through the image. Immutable; any thread.
class PictureSampler {
public:
    virtual ~PictureSampler() = default;

    /// A picture is made of tiles of this many pixels a side, which can be computed in any order and by any
    /// thread; small enough that the voxels around a tile of a slab stay in a core's cache.
    static constexpr int tileSide = 64;
    static std::size_t tileCount(const PlaneFrame& frame);

    /// values must have the frame's size. Where there is no image the value is no number.
    virtual void sampleTile(const PlaneFrame& frame, std::size_t tile, PlaneValues& values) const = 0;
    /// The whole picture, on all cores of TilePool::shared(); waits for it.
    void sample(const PlaneFrame& frame, PlaneValues& values) const;
};

} // namespace zorbel::imaging
