#include "imaging/display/Raster8.h"

#include <gtest/gtest.h>

#include <numeric>

using namespace zorbel::imaging;

namespace {

Raster8 noise(int width, int height, int channels) {
    Raster8 raster{width, height, channels, {}};
    unsigned state = 12345;
    for (int index = 0; index < width * height * channels; ++index) {
        state = state * 1664525U + 1013904223U;
        raster.pixels.push_back(static_cast<std::uint8_t>(state >> 24U));
    }
    return raster;
}

RasterView viewOf(const Raster8& raster) {
    return {raster.pixels.data(), raster.width,
            raster.height,        raster.channels,
            raster.channels,      static_cast<std::ptrdiff_t>(raster.width) * raster.channels};
}

std::vector<std::uint8_t>
resized(const RasterView& view, const ResampleAxis& across, const ResampleAxis& down) {
    const auto stride = static_cast<std::size_t>(across.count) * static_cast<std::size_t>(view.channels);
    std::vector<std::uint8_t> out(stride * static_cast<std::size_t>(down.count));
    resample(view, across, down, out.data(), static_cast<std::ptrdiff_t>(stride));
    return out;
}

TEST(Raster8, CopiesExactlyAtFullSizeInEveryOrientation) {
    for (const int channels : {1, 3}) {
        const Raster8 raster = noise(37, 150, channels);
        EXPECT_EQ(resized(viewOf(raster), {0.0, 1.0, 37}, {0.0, 1.0, 150}), raster.pixels);
        // Transposed and read backwards.
        RasterView turned = viewOf(raster);
        std::swap(turned.width, turned.height);
        std::swap(turned.xStep, turned.yStep);
        turned.data += turned.xStep * (turned.width - 1);
        turned.xStep = -turned.xStep;
        const auto out = resized(turned, {0.0, 1.0, 150}, {0.0, 1.0, 37});
        for (const auto& [x, y] : {std::pair{0, 0}, {149, 36}, {31, 12}}) {
            for (int channel = 0; channel < channels; ++channel)
                EXPECT_EQ(
                    out[static_cast<std::size_t>((y * 150 + x) * channels + channel)],
                    raster.pixels[static_cast<std::size_t>(((149 - x) * 37 + y) * channels + channel)]);
        }
    }
}

TEST(Raster8, KeepsTheMeanWhenItShrinks) {
    const Raster8 raster = noise(120, 90, 1);
    const double mean = std::accumulate(raster.pixels.begin(), raster.pixels.end(), 0.0) / (120.0 * 90.0);
    const auto third = resized(viewOf(raster), {0.0, 120.0 / 43.0, 43}, {0.0, 90.0 / 29.0, 29});
    EXPECT_NEAR(std::accumulate(third.begin(), third.end(), 0.0) / third.size(), mean, 0.6);
    const Raster8 half = halved(raster);
    EXPECT_NEAR(std::accumulate(half.pixels.begin(), half.pixels.end(), 0.0) / half.pixels.size(), mean, 0.6);
    EXPECT_EQ(halved(noise(5, 1, 3)).width, 3);
}

TEST(Raster8, EnlargesSmoothlyAndWithoutShift) {
    // A straight ramp stays straight, and its middle in the middle.
    Raster8 ramp{40, 3, 1, {}};
    for (int index = 0; index < 120; ++index)
        ramp.pixels.push_back(static_cast<std::uint8_t>(6 * (index % 40)));
    const auto out = resized(viewOf(ramp), {0.0, 0.125, 320}, {0.0, 0.5, 6});
    for (int x = 16; x < 300; ++x)
        EXPECT_NEAR(out[static_cast<std::size_t>(x)], 6.0 * ((x + 0.5) / 8.0 - 0.5), 0.51);
    // A sharp edge may overshoot, but never wraps around.
    Raster8 edge{8, 1, 1, {0, 0, 0, 0, 255, 255, 255, 255}};
    const auto wide = resized(viewOf(edge), {0.0, 0.1, 80}, {0.0, 1.0, 1});
    EXPECT_LE(*std::max_element(wide.begin(), wide.begin() + 35), 1);
    EXPECT_GE(*std::min_element(wide.begin() + 45, wide.end()), 254);
}

} // namespace
