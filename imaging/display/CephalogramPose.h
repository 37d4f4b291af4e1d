#pragma once

#include "imaging/Image.h"
#include "imaging/display/ImageOrientation2D.h"

namespace zorbel::imaging {

/// How to show a lateral cephalogram upright whose file names no orientation, as scanned films often do not:
/// by a quarter turn when it plainly lies on its side. The vault absorbs most, so a lying skull is brighter
/// at the one end of its rows than at the other while top and bottom are about equal; anything less plain is
/// left as it is. Never mirrors. A guess from the picture: whoever shows it must say so. Any thread.
ImageOrientation2D uprightCephalogram(const Image& image);

} // namespace zorbel::imaging
