#include "imaging/planes/PictureSampler.h"

#include "imaging/TilePool.h"

#include <algorithm>

namespace zorbel::imaging {

namespace {

std::size_t tilesAlong(int pixels) {
    return static_cast<std::size_t>(
        (std::max(pixels, 0) + PictureSampler::tileSide - 1) / PictureSampler::tileSide);
}

} // namespace

std::size_t PictureSampler::tileCount(const PlaneFrame& frame) {
    return tilesAlong(frame.width) * tilesAlong(frame.height);
}

void PictureSampler::sample(const PlaneFrame& frame, PlaneValues& values) const {
    values.resize(frame.width, frame.height);
    TilePool::shared().run(tileCount(frame), [&](std::size_t tile) { sampleTile(frame, tile, values); });
}

} // namespace zorbel::imaging
