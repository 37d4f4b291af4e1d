#pragma once

#include "imaging/dicom/DicomFileHeader.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace zorbel::imaging {

/// One frame's samples in native byte order, 8, 16 or 32 bits each, and how to read them. Made once per
/// thread and used for one frame after the other.
struct DecodedFrame {
    std::vector<std::byte> bytes;
    StoredFormat format;
    Photometric photometric = Photometric::Monochrome;
    std::vector<std::byte> scratch; ///< compressed bytes
};

/// Bytes of one frame of that format; 0 when the count overflows.
std::size_t frameByteCount(const DicomFileHeader& header, const StoredFormat& format);

/// Gets the samples of single frames out of their files. One object serves all threads of one load(): it
/// keeps what a file holds that can only be decoded as a whole. Throws std::runtime_error with the reason,
/// without the file's name.
class FrameDecoder {
public:
    void decode(const DicomFileHeader& header, std::size_t frameIndex, DecodedFrame& frame);

private:
    using FrameRanges = std::vector<std::vector<FileRange>>;

    std::shared_ptr<const std::string> inflated(const DicomFileHeader& header);
    std::shared_ptr<const FrameRanges> frameRanges(const DicomFileHeader& header, ByteSource& source);
    void readNative(const DicomFileHeader& header, std::size_t frameIndex, DecodedFrame& frame);
    void readCompressed(const DicomFileHeader& header, std::size_t frameIndex, DecodedFrame& frame);

    std::mutex mutex_;
    /// Of the multi-frame file used last.
    const DicomFileHeader* cachedFor_ = nullptr;
    std::shared_ptr<const std::string> inflated_;
    std::shared_ptr<const FrameRanges> frameRanges_;
};

/// Uncompressed pixel data: takes a frame out of `data`, which begins with the frame's first byte and holds
/// at least nativeFrameRange() bytes. Undoes the byte order and packing of less than 8 bits.
void unpackNative(const DicomFileHeader& header, std::size_t frameIndex, DecodedFrame& frame);

/// What uncompressed frames take; throws where nothing holds that much.
std::uint64_t nativeByteCount(const DicomFileHeader& header, std::uint64_t frames);

/// Where a frame lies within uncompressed pixel data of `available` bytes; throws when that is too short for
/// all of the file's frames.
FileRange nativeFrameRange(const DicomFileHeader& header, std::size_t frameIndex, std::uint64_t available);

/// PS3.5 Annex G; strict. frame.scratch to frame.bytes.
void decodeRle(const DicomFileHeader& header, DecodedFrame& frame);

/// The JPEG family by GDCM's codecs. frame.scratch to frame.bytes.
void decodeWithCodec(const DicomFileHeader& header, DecodedFrame& frame);

} // namespace zorbel::imaging
