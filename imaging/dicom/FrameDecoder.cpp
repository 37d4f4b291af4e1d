#include "imaging/dicom/FrameDecoder.h"

#include <gdcmByteValue.h>
#include <gdcmFile.h>
#include <gdcmImage.h>
#include <gdcmImageReader.h>
#include <gdcmReader.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <fstream>
#include <stdexcept>

static_assert(std::endian::native == std::endian::little, "pixel data is handled in little-endian order");

namespace zorbel::imaging {

namespace {

constexpr auto truncated = "the file is truncated";

void readRange(std::ifstream& file, const FileRange& range, std::vector<std::byte>& to, std::size_t at) {
    file.clear();
    file.seekg(static_cast<std::streamoff>(range.offset));
    file.read(reinterpret_cast<char*>(to.data() + at), static_cast<std::streamsize>(range.length));
    if (static_cast<std::uint64_t>(file.gcount()) != range.length)
        throw std::runtime_error(truncated);
}

std::ifstream open(const DicomFileHeader& header) {
    std::ifstream file(header.file, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot be opened");
    return file;
}

void readNative(const DicomFileHeader& header, std::size_t frameIndex, DecodedFrame& frame) {
    const FileRange& native = header.pixelData.native;
    FileRange range = nativeFrameRange(header, frameIndex, native.length);
    range.offset += native.offset;
    std::ifstream file = open(header);
    // Before allocating: a short file may claim an image of any size.
    file.seekg(0, std::ios::end);
    if (range.offset + range.length > static_cast<std::uint64_t>(file.tellg()))
        throw std::runtime_error(truncated);
    frame.bytes.resize(range.length);
    readRange(file, range, frame.bytes, 0);
    unpackNative(header, frameIndex, frame);
}

/// False when the file's fragments do not tell its frames apart.
bool readCompressed(const DicomFileHeader& header, std::size_t frameIndex, DecodedFrame& frame) {
    std::ifstream file = open(header);
    const auto frames = header.pixelData.framesOfFragments(file, header.frames.size());
    if (!frames)
        return false;
    file.clear();
    file.seekg(0, std::ios::end);
    const auto size = static_cast<std::uint64_t>(file.tellg());
    std::size_t total = 0;
    for (const FileRange& range : (*frames)[frameIndex]) {
        if (range.length > size || range.offset > size - range.length)
            throw std::runtime_error(truncated);
        total += range.length;
    }
    frame.scratch.resize(total);
    std::size_t at = 0;
    for (const FileRange& range : (*frames)[frameIndex]) {
        readRange(file, range, frame.scratch, at);
        at += range.length;
    }
    return true;
}

} // namespace

std::size_t frameByteCount(const DicomFileHeader& header, const StoredFormat& format) {
    const std::size_t bytes = format.bitsAllocated <= 8 ? 1 : format.bitsAllocated <= 16 ? 2 : 4;
    const auto pixels = static_cast<std::size_t>(header.rows) * static_cast<std::size_t>(header.columns);
    return format.halfChroma ? pixels * 2 : pixels * format.samples * bytes;
}

/// All frames of one file, as one buffer.
struct FrameDecoder::WholeFile {
    std::filesystem::path file;
    std::vector<std::byte> bytes;
    StoredFormat format;
    Photometric photometric = Photometric::Monochrome;

    static std::shared_ptr<const WholeFile> inflate(const DicomFileHeader& header) {
        gdcm::Reader reader;
        reader.SetFileName(header.file.string().c_str());
        if (!reader.Read())
            throw std::runtime_error("the compressed data set is damaged");
        const gdcm::DataElement& element =
            reader.GetFile().GetDataSet().GetDataElement(gdcm::Tag(0x7fe0, 0x0010));
        const gdcm::ByteValue* value = element.GetByteValue();
        if (!value || value->GetLength() == 0)
            throw std::runtime_error("no pixel data");
        const auto* begin = reinterpret_cast<const std::byte*>(value->GetPointer());
        auto whole = std::make_shared<WholeFile>();
        whole->file = header.file;
        whole->bytes.assign(begin, begin + value->GetLength());
        return whole;
    }

    static std::shared_ptr<const WholeFile> decodeAll(const DicomFileHeader& header) {
        gdcm::ImageReader reader;
        reader.SetFileName(header.file.string().c_str());
        if (!reader.Read())
            throw std::runtime_error("the compressed pixel data is damaged");
        const gdcm::Image& image = reader.GetImage();
        auto whole = std::make_shared<WholeFile>();
        whole->file = header.file;
        const gdcm::PixelFormat& pixels = image.GetPixelFormat();
        whole->format = header.format;
        whole->format.bitsAllocated = pixels.GetBitsAllocated();
        whole->format.bitsStored = pixels.GetBitsStored();
        whole->format.highBit = pixels.GetHighBit();
        whole->format.planar = image.GetPlanarConfiguration() == 1 && header.format.samples > 1;
        whole->photometric = header.photometric;
        const std::size_t expected = frameByteCount(header, whole->format) * header.frames.size();
        if (pixels.GetSamplesPerPixel() != header.format.samples || image.GetBufferLength() != expected)
            throw std::runtime_error("the compressed pixel data does not match the image size");
        whole->bytes.resize(expected);
        if (!image.GetBuffer(reinterpret_cast<char*>(whole->bytes.data())))
            throw std::runtime_error("the compressed pixel data is damaged");
        return whole;
    }
};

void FrameDecoder::decodeWhole(const DicomFileHeader& header, std::size_t frameIndex, DecodedFrame& frame) {
    const bool deflated = header.pixelData.deflated;
    std::shared_ptr<const WholeFile> whole;
    if (header.frames.size() == 1) {
        whole = deflated ? WholeFile::inflate(header) : WholeFile::decodeAll(header);
    } else {
        const std::lock_guard lock(mutex_);
        if (!whole_ || whole_->file != header.file) {
            whole_.reset();
            whole_ = deflated ? WholeFile::inflate(header) : WholeFile::decodeAll(header);
        }
        whole = whole_;
    }
    FileRange range;
    if (deflated) {
        range = nativeFrameRange(header, frameIndex, whole->bytes.size());
    } else {
        frame.format = whole->format;
        frame.photometric = whole->photometric;
        range.length = whole->bytes.size() / header.frames.size();
        range.offset = range.length * frameIndex;
    }
    const auto begin = whole->bytes.begin() + static_cast<std::ptrdiff_t>(range.offset);
    frame.bytes.assign(begin, begin + static_cast<std::ptrdiff_t>(range.length));
    if (deflated)
        unpackNative(header, frameIndex, frame);
}

void FrameDecoder::decode(const DicomFileHeader& header, std::size_t frameIndex, DecodedFrame& frame) {
    frame.format = header.format;
    frame.photometric = header.photometric;
    if (header.pixelData.deflated)
        return decodeWhole(header, frameIndex, frame);
    if (!header.pixelData.encapsulated)
        return readNative(header, frameIndex, frame);
    if (!readCompressed(header, frameIndex, frame))
        return decodeWhole(header, frameIndex, frame);
    if (header.pixelData.transferSyntax == "1.2.840.10008.1.2.5")
        decodeRle(header, frame);
    else
        decodeWithCodec(header, frame);
    if (frame.bytes.size() < frameByteCount(header, frame.format))
        throw std::runtime_error("the compressed pixel data is damaged");
}

} // namespace zorbel::imaging
