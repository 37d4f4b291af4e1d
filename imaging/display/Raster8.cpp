#include "imaging/display/Raster8.h"

#include "base/WorkerPool.h"
#include "imaging/display/DefaultWindow.h"
#include "imaging/display/VisitVoxels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <type_traits>

namespace zorbel::imaging {

namespace {

constexpr std::size_t lutSize = 65536;

/// Grey of every value between first and first + step · (lutSize − 1).
std::vector<std::uint8_t> greyLut(const VoiChoice& voi, bool inverted, double first, double step) {
    std::vector<std::uint8_t> lut(lutSize);
    parallelFor(lutSize, 8192, [&](std::size_t begin, std::size_t end) {
        for (std::size_t index = begin; index < end; ++index) {
            const double value = first + step * static_cast<double>(index);
            const double grey = std::holds_alternative<VoiTable>(voi)
                                    ? applyTable(std::get<VoiTable>(voi), value)
                                    : applyWindow(std::get<LevelWindow>(voi), value);
            lut[index] = static_cast<std::uint8_t>(std::lround(255.0 * (inverted ? 1.0 - grey : grey)));
        }
    });
    return lut;
}

constexpr std::size_t pixelGrain = 1U << 18;

template <class T>
void mapGrey(
    const T* values, Raster8& raster, const VoiChoice& voi, bool inverted, const ImageMetadata& about) {
    if constexpr (std::is_integral_v<T> && sizeof(T) <= 2) {
        const int first = std::numeric_limits<T>::min();
        const std::vector<std::uint8_t> lut = greyLut(voi, inverted, first, 1.0);
        parallelFor(raster.pixels.size(), pixelGrain, [&](std::size_t begin, std::size_t end) {
            for (std::size_t index = begin; index < end; ++index)
                raster.pixels[index] = lut[static_cast<std::size_t>(values[index] - first)];
        });
    } else {
        const double first = about.minimum;
        const double step = std::max(about.maximum - about.minimum, 1e-30) / (lutSize - 1);
        const std::vector<std::uint8_t> lut = greyLut(voi, inverted, first, step);
        parallelFor(raster.pixels.size(), pixelGrain, [&](std::size_t begin, std::size_t end) {
            for (std::size_t index = begin; index < end; ++index) {
                const double at = (static_cast<double>(values[index]) - first) / step + 0.5;
                // Written so that a value that is no number takes the first entry.
                raster.pixels[index] =
                    lut[at > 0.0 ? std::min(static_cast<std::size_t>(at), lutSize - 1) : 0];
            }
        });
    }
}

template <class T>
void mapColour(const T* values, Raster8& raster, bool inverted) {
    constexpr double full =
        std::is_floating_point_v<T> ? 1.0 : static_cast<double>(std::numeric_limits<T>::max());
    parallelFor(raster.pixels.size(), pixelGrain, [&](std::size_t begin, std::size_t end) {
        for (std::size_t index = begin; index < end; ++index) {
            const double part = std::clamp(static_cast<double>(values[index]) / full, 0.0, 1.0);
            raster.pixels[index] = static_cast<std::uint8_t>(255.0 * (inverted ? 1.0 - part : part) + 0.5);
        }
    });
}

/// The source pixels of each output pixel and their weights.
struct Taps {
    int first = 0;
    std::vector<float> weights;
};

std::array<double, 4> catmullRom(double t) {
    return {
        t * (-0.5 + t * (1.0 - 0.5 * t)), 1.0 + t * t * (-2.5 + 1.5 * t), t * (0.5 + t * (2.0 - 1.5 * t)),
        t * t * (-0.5 + 0.5 * t)};
}

/// Adds a weight to a source pixel; one beyond the border falls to the border's pixel.
void addTap(Taps& taps, int index, int size, double weight) {
    const auto slot = static_cast<std::size_t>(std::clamp(index, 0, size - 1) - taps.first);
    if (taps.weights.size() <= slot)
        taps.weights.resize(slot + 1, 0.0F);
    taps.weights[slot] += static_cast<float>(weight);
}

std::vector<Taps> tapsOf(const ResampleAxis& axis, int size) {
    std::vector<Taps> result(static_cast<std::size_t>(axis.count));
    for (int output = 0; output < axis.count; ++output) {
        Taps& taps = result[static_cast<std::size_t>(output)];
        const double from = axis.origin + output * axis.step;
        if (axis.step >= 1.0) {
            const double to = from + axis.step;
            const int begin = static_cast<int>(std::floor(from + 1e-9));
            const int end = std::max(begin + 1, static_cast<int>(std::ceil(to - 1e-9)));
            taps.first = std::clamp(begin, 0, size - 1);
            for (int index = begin; index < end; ++index) {
                const double covered = std::min<double>(to, index + 1) - std::max<double>(from, index);
                addTap(taps, index, size, covered / axis.step);
            }
        } else {
            const double at = from + axis.step / 2.0 - 0.5;
            const int base = static_cast<int>(std::floor(at));
            const std::array<double, 4> weights = catmullRom(at - base);
            taps.first = std::clamp(base - 1, 0, size - 1);
            for (int tap = 0; tap < 4; ++tap)
                addTap(taps, base - 1 + tap, size, weights[static_cast<std::size_t>(tap)]);
        }
    }
    return result;
}

template <int channels>
void filterRow(const RasterView& view, int row, const std::vector<Taps>& taps, float* out) {
    const std::uint8_t* line = view.data + row * view.yStep;
    for (const Taps& tap : taps) {
        std::array<float, channels> sum{};
        const std::uint8_t* pixel = line + tap.first * view.xStep;
        for (const float weight : tap.weights) {
            for (std::size_t channel = 0; channel < channels; ++channel)
                sum[channel] += weight * static_cast<float>(pixel[channel]);
            pixel += view.xStep;
        }
        for (std::size_t channel = 0; channel < channels; ++channel)
            *out++ = sum[channel];
    }
}

/// Output rows begin to end: filters the source rows they need across, then combines those downwards.
template <int channels>
void resampleRows(
    const RasterView& view, const std::vector<Taps>& across, const std::vector<Taps>& down, std::size_t begin,
    std::size_t end, std::uint8_t* out, std::ptrdiff_t outStride) {
    int firstRow = view.height;
    int lastRow = -1;
    for (std::size_t row = begin; row < end; ++row) {
        firstRow = std::min(firstRow, down[row].first);
        lastRow = std::max(lastRow, down[row].first + static_cast<int>(down[row].weights.size()) - 1);
    }
    const std::size_t width = across.size() * channels;
    std::vector<float> filtered(width * static_cast<std::size_t>(lastRow - firstRow + 1));
    for (int row = firstRow; row <= lastRow; ++row)
        filterRow<channels>(
            view, row, across, filtered.data() + width * static_cast<std::size_t>(row - firstRow));

    std::vector<float> sums(width);
    for (std::size_t row = begin; row < end; ++row) {
        std::fill(sums.begin(), sums.end(), 0.5F);
        const float* source = filtered.data() + width * static_cast<std::size_t>(down[row].first - firstRow);
        for (const float weight : down[row].weights) {
            for (std::size_t index = 0; index < width; ++index)
                sums[index] += weight * source[index];
            source += width;
        }
        std::uint8_t* target = out + static_cast<std::ptrdiff_t>(row) * outStride;
        for (std::size_t index = 0; index < width; ++index)
            target[index] = static_cast<std::uint8_t>(std::clamp(sums[index], 0.0F, 255.0F));
    }
}

} // namespace

VoiChoice initialVoi(const Image& image) {
    for (const VoiTable& table : image.metadata().voiTables) {
        if (!table.entries.empty())
            return table;
    }
    return initialWindow(image);
}

Raster8 mapToScreen(const Image& image, const VoiChoice& voi, bool inverted, int slice) {
    const auto& size = image.geometry().dimensions();
    Raster8 raster{size[0], size[1], image.components() >= 3 ? 3 : 1, {}};
    const std::size_t values = static_cast<std::size_t>(size[0]) * static_cast<std::size_t>(size[1]) *
                               static_cast<std::size_t>(raster.channels);
    raster.pixels.resize(values);
    visitVoxels(image, [&](const auto* all, std::size_t) {
        const auto* first = all + values * static_cast<std::size_t>(slice);
        if (raster.channels == 3)
            mapColour(first, raster, inverted);
        else
            mapGrey(first, raster, voi, inverted, image.metadata());
    });
    return raster;
}

Raster8 halved(const Raster8& raster) {
    Raster8 result{(raster.width + 1) / 2, (raster.height + 1) / 2, raster.channels, {}};
    const auto channels = static_cast<std::size_t>(raster.channels);
    const auto width = static_cast<std::size_t>(result.width);
    const std::size_t sourceStride = static_cast<std::size_t>(raster.width) * channels;
    result.pixels.resize(width * static_cast<std::size_t>(result.height) * channels);
    parallelFor(static_cast<std::size_t>(result.height), 32, [&](std::size_t begin, std::size_t end) {
        for (std::size_t y = begin; y < end; ++y) {
            const std::uint8_t* upper = raster.pixels.data() + 2 * y * sourceStride;
            const bool lastRow = 2 * y + 1 == static_cast<std::size_t>(raster.height);
            const std::uint8_t* lower = lastRow ? upper : upper + sourceStride;
            std::uint8_t* out = result.pixels.data() + y * width * channels;
            for (std::size_t x = 0; x < width; ++x) {
                const bool lastColumn = 2 * x + 1 == static_cast<std::size_t>(raster.width);
                const std::size_t left = 2 * x * channels;
                const std::size_t right = lastColumn ? left : left + channels;
                for (std::size_t channel = 0; channel < channels; ++channel) {
                    const unsigned sum = upper[left + channel] + upper[right + channel] +
                                         lower[left + channel] + lower[right + channel];
                    *out++ = static_cast<std::uint8_t>((sum + 2U) / 4U);
                }
            }
        }
    });
    return result;
}

void resample(
    const RasterView& view, const ResampleAxis& horizontal, const ResampleAxis& vertical, std::uint8_t* out,
    std::ptrdiff_t outStride) {
    if (view.width <= 0 || view.height <= 0 || horizontal.count <= 0 || vertical.count <= 0)
        return;
    const std::vector<Taps> across = tapsOf(horizontal, view.width);
    const std::vector<Taps> down = tapsOf(vertical, view.height);
    parallelFor(static_cast<std::size_t>(vertical.count), 64, [&](std::size_t begin, std::size_t end) {
        if (view.channels == 3)
            resampleRows<3>(view, across, down, begin, end, out, outStride);
        else
            resampleRows<1>(view, across, down, begin, end, out, outStride);
    });
}

} // namespace zorbel::imaging
