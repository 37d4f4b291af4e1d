#include "imaging/dicom/DicomFileHeader.h"

#include "imaging/DicomSeriesReader.h"
#include "imaging/dicom/ByteSource.h"
#include "imaging/dicom/DicomHeaderParts.h"
#include "imaging/dicom/FrameDecoder.h"

#include <algorithm>

namespace zorbel::imaging {

namespace {

/// Before anything is made for each of the frames: there are bytes for all of them.
void refuseMissingFrames(const DicomFileHeader& header, std::size_t frames, std::uint64_t sourceBytes) {
    const PixelDataLocation& location = header.pixelData;
    if (frames <= 1)
        return;
    if (!location.encapsulated) {
        const std::uint64_t needed = nativeByteCount(header, frames);
        if (needed > location.native.length)
            throw std::runtime_error("the pixel data is shorter than the image size");
        if (needed > sourceBytes - std::min(location.native.offset, sourceBytes))
            throw std::runtime_error("the file is truncated");
        return;
    }
    std::uint64_t bytes = 0;
    for (const FileRange& fragment : location.fragments)
        bytes += fragment.length;
    constexpr std::uint64_t shortestFrame = 16;
    if (frames > bytes / shortestFrame)
        throw std::runtime_error("the compressed pixel data is shorter than the number of frames");
}

void readHeader(DicomFileHeader& header) {
    FileSource source(header.file);
    const ParsedFile file = parseDicom(source, Tag{0x7fe0, 0x0010});
    const DicomAttributes meta(file.meta);
    const DicomAttributes root(file.dataSet);
    if (root.has({0x0004, 0x1220}) || meta.text({0x0002, 0x0002}) == "1.2.840.10008.1.3.10")
        throw std::runtime_error("a DICOMDIR, not an image");
    PixelDataLocation& location = header.pixelData;
    location.transferSyntax = file.transferSyntax;
    location.deflated = file.inflated != nullptr;
    if (!locatePixelData(source, file, root.bytes({0x7fe0, 0x0001}), location) || !root.has({0x0028, 0x0010}))
        throw std::runtime_error("no pixel data");
    // A private syntax of one vendor: little-endian but for the pixel data.
    if (location.transferSyntax == "1.2.840.113619.5.2")
        location.swapWords = true;

    header.sopInstanceUID = root.text({0x0008, 0x0018});
    header.instanceNumber = root.number({0x0020, 0x0013}).value_or(0.0);
    const std::size_t frames = readPixelDescription(root, header);
    refuseMissingFrames(header, frames, file.inflated ? file.inflated->size() : source.size());
    readFrames(root, frames, header);
    readMetadata(root, header);
    header.metadata.transferSyntax = file.transferSyntax;
}

} // namespace

DicomFileHeader readDicomFileHeader(const std::filesystem::path& file) {
    DicomFileHeader header;
    header.file = file;
    const std::string name = file.filename().string();
    try {
        readHeader(header);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::runtime_error& reason) {
        throw DicomReadError(name + ": " + reason.what());
    }
    return header;
}

} // namespace zorbel::imaging
