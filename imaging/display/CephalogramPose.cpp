#include "imaging/display/CephalogramPose.h"

#include "imaging/display/Raster8.h"

#include <cmath>

namespace zorbel::imaging {

namespace {

/// Mean brightness of a part of the raster, given in hundredths of its width and height.
double mean(const Raster8& raster, int left, int top, int right, int bottom) {
    double sum = 0.0;
    std::size_t count = 0;
    for (int y = raster.height * top / 100; y < raster.height * bottom / 100; ++y)
        for (int x = raster.width * left / 100; x < raster.width * right / 100; ++x, ++count)
            sum += raster.pixels
                       [static_cast<std::size_t>(y) * static_cast<std::size_t>(raster.width) +
                        static_cast<std::size_t>(x)];
    return count > 0 ? sum / static_cast<double>(count) : 0.0;
}

} // namespace

ImageOrientation2D uprightCephalogram(const Image& image) {
    ImageOrientation2D orientation;
    const auto& [alongRow, alongColumn] = image.metadata().patientOrientation;
    if (image.components() != 1 || !alongRow.empty() || !alongColumn.empty())
        return orientation;
    Raster8 raster = mapToScreen(image, initialVoi(image), image.metadata().inverted);
    constexpr int fineEnough = 200;
    while (raster.width > fineEnough && raster.height > fineEnough)
        raster = halved(raster);

    constexpr int border = 8; // a scanned film's frame and name plate say nothing
    const double left = mean(raster, border, border, 50, 100 - border);
    const double right = mean(raster, 50, border, 100 - border, 100 - border);
    const double top = mean(raster, border, border, 100 - border, 50);
    const double bottom = mean(raster, border, 50, 100 - border, 100 - border);
    const double whole = (left + right) / 2.0;
    constexpr double plain = 0.2;
    constexpr double negligible = 0.1;
    if (std::abs(left - right) < plain * whole || std::abs(top - bottom) > negligible * whole)
        return orientation;
    if (left > right)
        orientation.rotateClockwise();
    else
        orientation.rotateCounterClockwise();
    return orientation;
}

} // namespace zorbel::imaging
