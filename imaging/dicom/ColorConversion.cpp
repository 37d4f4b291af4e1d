#include "imaging/dicom/VoxelConversion.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zorbel::imaging {

namespace {

struct Rgb {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
};

std::uint8_t clampByte(double value) {
    return static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L));
}

/// PS3.3 C.7.6.3.1.2, which takes them from ITU-R BT.601.
Rgb fromYbr(Photometric photometric, int y, int cb, int cr) {
    double luma = y;
    double blue = cb - 128;
    double red = cr - 128;
    if (photometric == Photometric::YbrPartial) {
        luma = (y - 16) * 255.0 / 219.0;
        blue *= 255.0 / 224.0;
        red *= 255.0 / 224.0;
    }
    return {
        clampByte(luma + 1.402 * red), clampByte(luma - 0.344136 * blue - 0.714136 * red),
        clampByte(luma + 1.772 * blue)};
}

/// Samples of 8 or 16 bits, reduced to 8.
class Samples {
public:
    Samples(const DecodedFrame& frame, std::size_t pixels)
        : data_(frame.bytes.data()), wide_(frame.format.bitsAllocated > 8),
          shift_(frame.format.bitsStored > 8 ? frame.format.bitsStored - 8 : 0),
          step_(frame.format.planar ? 1 : frame.format.samples), plane_(frame.format.planar ? pixels : 1) {}

    int operator()(std::size_t pixel, std::size_t sample) const {
        const std::size_t index = pixel * step_ + sample * plane_;
        if (!wide_)
            return std::to_integer<int>(data_[index]);
        std::uint16_t value = 0;
        std::memcpy(&value, data_ + 2 * index, 2);
        return std::min(value >> shift_, 255);
    }

private:
    const std::byte* data_;
    bool wide_;
    unsigned shift_;
    std::size_t step_;
    std::size_t plane_;
};

Rgb fromPalette(const DicomFileHeader& header, const DecodedFrame& frame, std::size_t pixel) {
    std::int32_t stored = 0;
    if (frame.format.bitsAllocated <= 8) {
        stored = std::to_integer<std::int32_t>(frame.bytes[pixel]);
    } else {
        std::uint16_t value = 0;
        std::memcpy(&value, frame.bytes.data() + 2 * pixel, 2);
        stored = frame.format.isSigned ? static_cast<std::int16_t>(value) : value;
    }
    const auto color = [&](std::size_t channel) {
        const auto& entries = header.palette.colors[channel];
        const auto index = static_cast<std::int64_t>(stored) - header.palette.firstMapped;
        const auto last = static_cast<std::int64_t>(entries.size()) - 1;
        return entries[static_cast<std::size_t>(std::clamp<std::int64_t>(index, 0, last))];
    };
    return {color(0), color(1), color(2)};
}

} // namespace

ValueRange convertColor(const DicomFileHeader& header, const DecodedFrame& frame, std::byte* to) {
    const auto pixels = static_cast<std::size_t>(header.rows) * static_cast<std::size_t>(header.columns);
    const Samples samples(frame, pixels);
    const Photometric photometric = frame.photometric;
    std::uint8_t minimum = 255;
    std::uint8_t maximum = 0;
    for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
        Rgb color;
        if (photometric == Photometric::Palette) {
            color = fromPalette(header, frame, pixel);
        } else if (frame.format.halfChroma) {
            const std::byte* pair = frame.bytes.data() + pixel / 2 * 4;
            const auto at = [pair](std::size_t i) { return std::to_integer<int>(pair[i]); };
            color = fromYbr(photometric, at(pixel % 2), at(2), at(3));
        } else {
            const int a = samples(pixel, 0);
            const int b = samples(pixel, 1);
            const int c = samples(pixel, 2);
            color = photometric == Photometric::Rgb
                        ? Rgb{static_cast<std::uint8_t>(a), static_cast<std::uint8_t>(b),
                              static_cast<std::uint8_t>(c)}
                        : fromYbr(photometric, a, b, c);
        }
        const auto [low, high] = std::minmax({color.red, color.green, color.blue});
        minimum = std::min(minimum, low);
        maximum = std::max(maximum, high);
        std::memcpy(to + 3 * pixel, &color, 3);
    }
    return {static_cast<double>(minimum), static_cast<double>(maximum)};
}

} // namespace zorbel::imaging
