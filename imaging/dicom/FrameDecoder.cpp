#include "imaging/dicom/FrameDecoder.h"

#include "imaging/dicom/ByteSource.h"

#include <bit>
#include <stdexcept>

static_assert(std::endian::native == std::endian::little, "pixel data is handled in little-endian order");

namespace zorbel::imaging {

namespace {

constexpr auto truncated = "the file is truncated";

void readRange(ByteSource& source, const FileRange& range, std::vector<std::byte>& to) {
    // Before allocating: a short file may claim an image of any size.
    if (range.offset > source.size() || range.length > source.size() - range.offset)
        throw std::runtime_error(truncated);
    to.resize(range.length);
    if (!source.read(range.offset, to.data(), to.size()))
        throw std::runtime_error(truncated);
}

std::shared_ptr<const std::string> inflate(const DicomFileHeader& header) {
    FileSource source(header.file);
    std::shared_ptr<const std::string> bytes = parseDicom(source, Tag{0x7fe0, 0x0010}).inflated;
    if (!bytes)
        throw std::runtime_error("the file has changed");
    return bytes;
}

} // namespace

std::size_t frameByteCount(const DicomFileHeader& header, const StoredFormat& format) {
    const std::size_t bytes = format.bitsAllocated <= 8 ? 1 : format.bitsAllocated <= 16 ? 2 : 4;
    const auto pixels = static_cast<std::size_t>(header.rows) * static_cast<std::size_t>(header.columns);
    return format.halfChroma ? pixels * 2 : pixels * format.samples * bytes;
}

std::shared_ptr<const std::string> FrameDecoder::inflated(const DicomFileHeader& header) {
    if (header.frames.size() == 1)
        return inflate(header);
    const std::lock_guard lock(mutex_);
    if (cachedFor_ != &header || !inflated_) {
        inflated_.reset();
        inflated_ = inflate(header);
        cachedFor_ = &header;
    }
    return inflated_;
}

std::shared_ptr<const FrameDecoder::FrameRanges>
FrameDecoder::frameRanges(const DicomFileHeader& header, ByteSource& source) {
    const std::lock_guard lock(mutex_);
    if (cachedFor_ != &header || !frameRanges_) {
        auto frames = header.pixelData.framesOfFragments(source, header.frames.size());
        const FileRange& last = header.pixelData.fragments.back();
        if (!frames)
            throw std::runtime_error(
                last.offset + last.length > source.size() ? truncated
                                                          : "the compressed frames cannot be told apart");
        frameRanges_ = std::make_shared<const FrameRanges>(std::move(*frames));
        cachedFor_ = &header;
    }
    return frameRanges_;
}

void FrameDecoder::readNative(const DicomFileHeader& header, std::size_t frameIndex, DecodedFrame& frame) {
    const FileRange& native = header.pixelData.native;
    FileRange range = nativeFrameRange(header, frameIndex, native.length);
    range.offset += native.offset;
    if (header.pixelData.deflated) {
        const std::shared_ptr<const std::string> bytes = inflated(header);
        MemorySource source(std::as_bytes(std::span(*bytes)));
        readRange(source, range, frame.bytes);
    } else {
        FileSource source(header.file);
        readRange(source, range, frame.bytes);
    }
    unpackNative(header, frameIndex, frame);
}

void FrameDecoder::readCompressed(
    const DicomFileHeader& header, std::size_t frameIndex, DecodedFrame& frame) {
    FileSource source(header.file);
    std::shared_ptr<const FrameRanges> all;
    if (header.frames.size() > 1)
        all = frameRanges(header, source);
    const std::vector<FileRange>& ranges = all ? (*all)[frameIndex] : header.pixelData.fragments;
    std::vector<std::byte> piece;
    frame.scratch.clear();
    for (const FileRange& range : ranges) {
        readRange(source, range, piece);
        frame.scratch.insert(frame.scratch.end(), piece.begin(), piece.end());
    }
}

void FrameDecoder::decode(const DicomFileHeader& header, std::size_t frameIndex, DecodedFrame& frame) {
    frame.format = header.format;
    frame.photometric = header.photometric;
    if (!header.pixelData.encapsulated)
        return readNative(header, frameIndex, frame);
    readCompressed(header, frameIndex, frame);
    if (header.pixelData.transferSyntax == "1.2.840.10008.1.2.5")
        decodeRle(header, frame);
    else
        decodeWithCodec(header, frame);
    if (frame.bytes.size() < frameByteCount(header, frame.format))
        throw std::runtime_error("the compressed pixel data is damaged");
}

} // namespace zorbel::imaging
