#include "imaging/dicom/FrameDecoder.h"

#include <cstring>
#include <stdexcept>
#include <utility>

namespace zorbel::imaging {

namespace {

constexpr auto tooShort = "the pixel data is shorter than the image size";

std::uint64_t frameBits(const DicomFileHeader& header) {
    const auto pixels = static_cast<std::uint64_t>(header.rows) * static_cast<std::uint64_t>(header.columns);
    if (header.format.halfChroma)
        return pixels * 16;
    return pixels * header.format.samples * header.format.bitsAllocated;
}

/// Values of 1 or 12 bits, the first in the lowest bits, to bytes or words.
void unpackBits(const DicomFileHeader& header, std::size_t frameIndex, DecodedFrame& frame) {
    const unsigned width = header.format.bitsAllocated;
    const std::uint64_t begin = frameBits(header) * frameIndex % 8;
    const std::size_t count = frameBits(header) / width;
    const std::size_t size = width > 8 ? 2 : 1;
    frame.scratch.assign(count * size, std::byte{0});
    for (std::size_t i = 0; i < count; ++i) {
        unsigned value = 0;
        for (unsigned bit = 0; bit < width; ++bit) {
            const std::uint64_t at = begin + i * width + bit;
            const auto byte = std::to_integer<unsigned>(frame.bytes[at / 8]);
            value |= (byte >> (at % 8) & 1U) << bit;
        }
        const auto word = static_cast<std::uint16_t>(value);
        std::memcpy(frame.scratch.data() + i * size, &word, size);
    }
    frame.bytes.swap(frame.scratch);
    frame.format.bitsAllocated = static_cast<unsigned>(8 * size);
}

} // namespace

std::uint64_t nativeByteCount(const DicomFileHeader& header, std::uint64_t frames) {
    const std::uint64_t bits = frameBits(header);
    if (bits > (~std::uint64_t{0} - 7) / frames)
        throw std::runtime_error(tooShort);
    return (bits * frames + 7) / 8;
}

FileRange nativeFrameRange(const DicomFileHeader& header, std::size_t frameIndex, std::uint64_t available) {
    const std::uint64_t bits = frameBits(header);
    if (nativeByteCount(header, header.frames.size()) > available)
        throw std::runtime_error(tooShort);
    const std::uint64_t begin = bits * frameIndex / 8;
    std::uint64_t end = (bits * (frameIndex + 1) + 7) / 8;
    // A last odd byte of big-endian words lies behind its padding byte.
    if (header.pixelData.swapWords && (end - begin) % 2 == 1 && end < available)
        ++end;
    return {begin, end - begin};
}

void unpackNative(const DicomFileHeader& header, std::size_t frameIndex, DecodedFrame& frame) {
    // GDCM hands out words in native order when it has read the value itself, which deflated files leave to
    // it.
    if (header.pixelData.swapWords && !header.pixelData.deflated)
        for (std::size_t i = 0; i + 1 < frame.bytes.size(); i += 2)
            std::swap(frame.bytes[i], frame.bytes[i + 1]);
    if (header.format.bitsAllocated == 1 || header.format.bitsAllocated == 12)
        unpackBits(header, frameIndex, frame);
}

} // namespace zorbel::imaging
