#include "imaging/rendering/PictureTiles.h"

#include <algorithm>
#include <cmath>

namespace zorbel::imaging {

namespace {

/// Software OpenGL draws blocks of this side, one thread each.
constexpr int blockSide = 64;

} // namespace

QRect PictureTiles::next(double pixels) {
    if (isDone())
        return {};
    const double wanted = std::clamp(pixels, 256.0, 1e9);
    if (left_ == 0) {
        const auto rows = static_cast<int>(std::min(wanted / picture_.width(), 1e6));
        const int lowest = wanted < blockSide * blockSide ? blockSide / 2 : blockSide;
        stripHeight_ = std::min(std::max(rows, lowest), picture_.height() - top_);
    }
    const int rest = picture_.width() - left_;
    int width = std::min(std::max(static_cast<int>(wanted / stripHeight_), 1), rest);
    if (rest - width < width / 4)
        width = rest;
    const QRect part(left_, picture_.height() - top_ - stripHeight_, width, stripHeight_);
    left_ += width;
    if (left_ == picture_.width()) {
        left_ = 0;
        top_ += stripHeight_;
    }
    return part;
}

} // namespace zorbel::imaging
