#pragma once

#include "imaging/Image.h"
#include "imaging/VoiTransform.h"

#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

namespace zorbel::imaging {

/// Eight-bit pixels ready for the screen, rows from the top, without gaps; 1 channel (grey) or 3 (red, green,
/// blue).
struct Raster8 {
    int width = 0;
    int height = 0;
    int channels = 1;
    std::vector<std::uint8_t> pixels;
};

/// Which value of interest function maps a grey image to the screen.
using VoiChoice = std::variant<LevelWindow, VoiTable>;

/// The file's own choice: its first usable table, else initialWindow().
VoiChoice initialVoi(const Image& image);

/// One slice of an image under a function; black and white change places when `inverted` (pass the image's
/// own `inverted`, or its opposite). Colour images keep their colours; `inverted` then gives the negative.
/// Uses all cores.
Raster8 mapToScreen(const Image& image, const VoiChoice& voi, bool inverted, int slice = 0);

/// Half as wide and half as high (rounded up): each pixel the mean of up to 2 × 2. Uses all cores.
Raster8 halved(const Raster8& raster);

/// A raster, or a part of it, read in any of the eight orientations: pixel (x, y) lies at
/// data + x · xStep + y · yStep.
struct RasterView {
    const std::uint8_t* data = nullptr;
    int width = 0;
    int height = 0;
    int channels = 1;
    std::ptrdiff_t xStep = 1;
    std::ptrdiff_t yStep = 0;
};

/// Which part of a view is drawn, along one axis: output pixel i covers origin + i · step to origin + (i + 1)
/// · step, in pixels of the view, whose first pixel covers 0 to 1.
struct ResampleAxis {
    double origin = 0.0;
    double step = 1.0;
    int count = 0;
};

/// Draws a part of a view in another size, each axis for itself: by the mean over the covered area where it
/// shrinks, by Catmull-Rom interpolation where it grows; an exact copy at step 1 and a whole origin. Beyond
/// the border the border's pixels go on. out: rows of outStride bytes, vertical.count of them. Uses all
/// cores.
void resample(
    const RasterView& view, const ResampleAxis& horizontal, const ResampleAxis& vertical, std::uint8_t* out,
    std::ptrdiff_t outStride);

} // namespace zorbel::imaging
