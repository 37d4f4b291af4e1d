#include "imaging/dicom/FrameDecoder.h"

#include <array>
#include <cstring>
#include <span>
#include <stdexcept>

namespace zorbel::imaging {

namespace {

/// PackBits into every `stride`-th byte. False when the segment holds fewer than `count` bytes.
bool expand(std::span<const std::byte> segment, std::byte* to, std::size_t count, std::size_t stride) {
    std::size_t at = 0;
    std::size_t written = 0;
    while (written < count && at < segment.size()) {
        const auto control = std::to_integer<unsigned>(segment[at++]);
        if (control == 128)
            continue;
        const bool literal = control < 128;
        const std::size_t run = literal ? control + 1 : 257 - control;
        if (at + (literal ? run : 1) > segment.size())
            return false;
        for (std::size_t i = 0; i < run && written < count; ++i)
            to[stride * written++] = segment[literal ? at + i : at];
        at += literal ? run : 1;
    }
    return written == count;
}

} // namespace

void decodeRle(const DicomFileHeader& header, DecodedFrame& frame) {
    constexpr std::size_t headerSize = 64;
    std::array<std::uint32_t, 16> table{};
    if (frame.scratch.size() < headerSize || header.format.bitsAllocated % 8 != 0)
        throw std::runtime_error("the RLE pixel data is damaged");
    std::memcpy(table.data(), frame.scratch.data(), headerSize);
    const std::size_t sampleBytes = header.format.bitsAllocated / 8;
    const std::size_t segments = header.format.samples * sampleBytes;
    if (table[0] != segments || segments > 15)
        throw std::runtime_error("the RLE pixel data does not match the pixel format");
    const auto pixels = static_cast<std::size_t>(header.rows) * static_cast<std::size_t>(header.columns);
    // Each compressed byte stands for 128 bytes at the very most.
    if (pixels * segments / 128 > frame.scratch.size())
        throw std::runtime_error("the RLE pixel data is damaged");
    frame.bytes.resize(pixels * segments);
    for (std::size_t segment = 0; segment < segments; ++segment) {
        const std::size_t begin = table[1 + segment];
        const std::size_t end = segment + 1 < segments ? table[2 + segment] : frame.scratch.size();
        if (begin < headerSize || begin > end || end > frame.scratch.size())
            throw std::runtime_error("the RLE pixel data is damaged");
        // Segments go from the most significant byte of the first sample downwards.
        const std::size_t sample = segment / sampleBytes;
        const std::size_t byte = sampleBytes - 1 - segment % sampleBytes;
        const std::span<const std::byte> source(frame.scratch.data() + begin, end - begin);
        if (!expand(source, frame.bytes.data() + sample * sampleBytes + byte, pixels, segments))
            throw std::runtime_error("the RLE pixel data is damaged");
    }
    frame.format.planar = false;
}

} // namespace zorbel::imaging
