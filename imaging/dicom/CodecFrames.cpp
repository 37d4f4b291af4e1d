#include "imaging/dicom/FrameDecoder.h"
#include "imaging/dicom/Jpeg2000Head.h"
#include "imaging/dicom/JpegHead.h"
#include "imaging/dicom/LosslessJpegScan.h"

#include <gdcmByteValue.h>
#include <gdcmDataElement.h>
#include <gdcmFragment.h>
#include <gdcmJPEG2000Codec.h>
#include <gdcmJPEGCodec.h>
#include <gdcmJPEGLSCodec.h>
#include <gdcmPhotometricInterpretation.h>
#include <gdcmPixelFormat.h>
#include <gdcmSequenceOfFragments.h>
#include <gdcmTransferSyntax.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <type_traits>

namespace zorbel::imaging {

namespace {

constexpr auto damaged = "the compressed pixel data is damaged";
constexpr auto otherImage = "the compressed pixel data does not match the image size";

gdcm::DataElement encapsulate(const std::vector<std::byte>& stream) {
    std::vector<char> padded(stream.size() + stream.size() % 2, '\0');
    std::transform(
        stream.begin(), stream.end(), padded.begin(), [](std::byte b) { return static_cast<char>(b); });
    gdcm::Fragment fragment;
    fragment.SetByteValue(padded.data(), static_cast<std::uint32_t>(padded.size()));
    gdcm::SmartPointer<gdcm::SequenceOfFragments> fragments = new gdcm::SequenceOfFragments;
    fragments->AddFragment(fragment);
    gdcm::DataElement element(gdcm::Tag(0x7fe0, 0x0010));
    element.SetVR(gdcm::VR::OB);
    element.SetValue(*fragments);
    return element;
}

/// The end marker of JPEG, JPEG-LS and JPEG 2000 alike. The JPEG decoder fills in for what a truncated stream
/// lacks, without saying so.
bool endsProperly(const std::vector<std::byte>& stream) {
    std::size_t end = stream.size();
    while (end > 0 && stream[end - 1] == std::byte{0})
        --end;
    // Also where the padding is 0xff bytes, or one byte of anything.
    while (end > 2 && stream[end - 1] == std::byte{0xff})
        --end;
    for (const std::size_t at : {end, end - 1})
        if (at >= 2 && at <= stream.size() && stream[at - 2] == std::byte{0xff} &&
            stream[at - 1] == std::byte{0xd9})
            return true;
    return false;
}

gdcm::PixelFormat pixelFormat(const StoredFormat& format) {
    return gdcm::PixelFormat(
        static_cast<unsigned short>(format.samples), static_cast<unsigned short>(format.bitsAllocated),
        static_cast<unsigned short>(format.bitsStored), static_cast<unsigned short>(format.highBit),
        format.isSigned ? 1 : 0);
}

/// Never an unknown one, which the codecs take for a programming error.
gdcm::PhotometricInterpretation photometric(const DicomFileHeader& header) {
    using Known = gdcm::PhotometricInterpretation;
    const std::string& name = header.metadata.photometricInterpretation;
    switch (header.photometric) {
    case Photometric::Rgb:
        return name == "YBR_RCT" ? Known::YBR_RCT : name == "YBR_ICT" ? Known::YBR_ICT : Known::RGB;
    case Photometric::YbrFull:
        return name == "YBR_FULL_422" ? Known::YBR_FULL_422 : Known::YBR_FULL;
    case Photometric::YbrPartial:
        return Known::YBR_PARTIAL_422;
    default:
        return Known::MONOCHROME2;
    }
}

/// A sound stream of an even picture takes hardly any bytes, whatever its size. But no reader misses a
/// picture of hundreds of megabytes that holds nothing.
void refuseInvented(const DicomFileHeader& header, std::size_t streamBytes) {
    constexpr std::uint64_t large = std::uint64_t{256} << 20;
    constexpr std::uint64_t mostPixelsOfAByte = 8192;
    const auto pixels = static_cast<std::uint64_t>(header.rows) * static_cast<std::uint64_t>(header.columns);
    if (pixels * header.format.samples * header.format.bitsAllocated / 8 > large &&
        pixels / mostPixelsOfAByte > streamBytes)
        throw std::runtime_error("the compressed pixel data is too short for the image size");
}

void checkJpeg2000(const DicomFileHeader& header, DecodedFrame& frame) {
    const auto stream = jpeg2000Codestream(frame.scratch);
    const Jpeg2000Head head = readJpeg2000Head(stream);
    if (head.rows != header.rows || head.columns != header.columns ||
        head.components != header.format.samples)
        throw std::runtime_error(otherImage);
    if (stream.size() != frame.scratch.size())
        frame.scratch = std::vector<std::byte>(stream.begin(), stream.end());
}

template <class Codec>
void run(const DicomFileHeader& header, const gdcm::TransferSyntax& syntax, DecodedFrame& frame) {
    gdcm::PixelFormat pixels = pixelFormat(header.format);
    constexpr bool isJpeg = std::is_same_v<Codec, gdcm::JPEGCodec>;
    JpegHead head;
    refuseInvented(header, frame.scratch.size());
    if constexpr (std::is_same_v<Codec, gdcm::JPEG2000Codec>)
        checkJpeg2000(header, frame);
    if (isJpeg) {
        head = readJpegHead(frame.scratch);
        if (head.rows != header.rows || head.columns != header.columns ||
            head.components != header.format.samples)
            throw std::runtime_error(otherImage);
        // A sample takes a bit at the very least, a block of 8 × 8 lossy ones as well. The decoder would
        // invent the rest, all gigabytes of it.
        const auto count = static_cast<std::size_t>(header.rows) * static_cast<std::size_t>(header.columns);
        if (count / (head.lossy ? 512 : 8) > frame.scratch.size() || !losslessJpegScanIsWhole(frame.scratch))
            throw std::runtime_error(damaged);
    }
    const std::vector<unsigned int> size{
        static_cast<unsigned>(header.columns), static_cast<unsigned>(header.rows)};
    {
        // What the stream says of itself decides, if it is an image of this size at all.
        Codec probe;
        probe.SetPixelFormat(pixels);
        // The codec tries the precisions in turn and complains of each that fails, unless told the right one.
        if (const unsigned bits = head.precision; isJpeg)
            probe.SetPixelFormat(gdcm::PixelFormat(
                static_cast<unsigned short>(header.format.samples),
                bits > 12  ? 16
                : bits > 8 ? 12
                           : 8,
                static_cast<unsigned short>(bits), static_cast<unsigned short>(bits - 1)));
        std::istringstream stream(
            std::string(reinterpret_cast<const char*>(frame.scratch.data()), frame.scratch.size()));
        gdcm::TransferSyntax found = syntax;
        if (!probe.GetHeaderInfo(stream, found))
            throw std::runtime_error(damaged);
        if (probe.GetDimensions()[0] != size[0] || probe.GetDimensions()[1] != size[1] ||
            probe.GetPixelFormat().GetSamplesPerPixel() != header.format.samples)
            throw std::runtime_error(otherImage);
        if (probe.GetPixelFormat().GetBitsAllocated() != pixels.GetBitsAllocated()) {
            pixels = probe.GetPixelFormat();
            pixels.SetPixelRepresentation(header.format.isSigned ? 1 : 0);
        }
        // Fewer stored bits than these end the program in an assertion; whoever reads the samples masks them.
        if (isJpeg && pixels.GetBitsAllocated() == 8)
            pixels.SetBitsStored(8);
    }
    Codec codec;
    codec.SetNumberOfDimensions(2);
    codec.SetDimensions(size);
    codec.SetPlanarConfiguration(0);
    codec.SetPhotometricInterpretation(photometric(header));
    codec.SetPixelFormat(pixels);
    if constexpr (requires { codec.SetBufferLength(0UL); })
        codec.SetBufferLength(pixels.GetPixelSize() * static_cast<unsigned long>(size[0]) * size[1]);
    gdcm::DataElement decoded;
    if (!codec.Decode(encapsulate(frame.scratch), decoded))
        throw std::runtime_error(damaged);
    const gdcm::ByteValue* value = decoded.GetByteValue();
    if (!value)
        throw std::runtime_error(damaged);
    const auto* begin = reinterpret_cast<const std::byte*>(value->GetPointer());
    frame.bytes.assign(begin, begin + value->GetLength());

    const gdcm::PixelFormat& result = codec.GetPixelFormat();
    frame.format.bitsAllocated = result.GetBitsAllocated();
    if (result.GetBitsAllocated() != header.format.bitsAllocated) {
        frame.format.bitsStored = result.GetBitsStored();
        frame.format.highBit = result.GetHighBit();
    }
    // Many files with lossy JPEG are labelled RGB for what they show, not for what the stream holds.
    if (isJpeg && head.lossy && head.colors && header.format.samples == 3)
        frame.photometric = *head.colors;
    frame.format.planar = codec.GetPlanarConfiguration() == 1 && header.format.samples > 1;
}

} // namespace

void decodeWithCodec(const DicomFileHeader& header, DecodedFrame& frame) {
    const gdcm::TransferSyntax syntax(
        gdcm::TransferSyntax::GetTSType(header.pixelData.transferSyntax.c_str()));
    const bool isJpeg = gdcm::JPEGCodec().CanDecode(syntax);
    if (isJpeg) // some writers leave more behind it
        frame.scratch.resize(jpegLength(frame.scratch));
    if (!endsProperly(frame.scratch))
        throw std::runtime_error("the compressed pixel data is truncated or damaged");
    if (gdcm::JPEGLSCodec().CanDecode(syntax))
        run<gdcm::JPEGLSCodec>(header, syntax, frame);
    else if (gdcm::JPEG2000Codec().CanDecode(syntax))
        run<gdcm::JPEG2000Codec>(header, syntax, frame);
    else if (isJpeg)
        run<gdcm::JPEGCodec>(header, syntax, frame);
    else
        throw std::runtime_error("unsupported transfer syntax " + header.pixelData.transferSyntax);
}

} // namespace zorbel::imaging
