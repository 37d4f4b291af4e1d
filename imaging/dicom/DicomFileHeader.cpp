#include "imaging/dicom/DicomFileHeader.h"

#include "imaging/DicomSeriesReader.h"
#include "imaging/dicom/DicomHeaderParts.h"
#include "imaging/dicom/GdcmSetup.h"

#include <gdcmFile.h>
#include <gdcmReader.h>

#include <fstream>

namespace zorbel::imaging {

namespace {

const gdcm::Tag pixelDataTag(0x7fe0, 0x0010);

void readHeader(std::ifstream& stream, std::uint64_t size, DicomFileHeader& header) {
    if (size == 0)
        throw std::runtime_error("the file is empty");
    gdcm::Reader reader;
    reader.SetStream(stream);
    if (!reader.CanRead())
        throw std::runtime_error("not a DICOM file");
    if (!headerLengthsArePlausible(stream, size))
        throw std::runtime_error("the DICOM header is truncated or damaged");
    stream.clear();
    stream.seekg(0);
    if (!reader.ReadUpToTag(pixelDataTag, {pixelDataTag}))
        throw std::runtime_error("the DICOM header is truncated or damaged");

    const gdcm::File& file = reader.GetFile();
    const DicomAttributes meta(file.GetHeader());
    const DicomAttributes root(file.GetDataSet());
    if (root.has({0x0004, 0x1220}) || meta.text({0x0002, 0x0002}) == "1.2.840.10008.1.3.10")
        throw std::runtime_error("a DICOMDIR, not an image");
    PixelDataLocation& location = header.pixelData;
    location.transferSyntax = file.GetHeader().GetDataSetTransferSyntax().GetString();
    location.deflated = location.transferSyntax == "1.2.840.10008.1.2.1.99";
    const bool image = root.has({0x0028, 0x0010}) && root.has({0x0028, 0x0011});
    if (!image || (!location.deflated && !locatePixelData(stream, size, location)))
        throw std::runtime_error(
            stream.eof() && image ? "no pixel data, or the file is truncated" : "no pixel data");
    // A private syntax of one vendor: little-endian but for the pixel data.
    if (location.transferSyntax == "1.2.840.113619.5.2")
        location.swapWords = true;

    header.sopInstanceUID = root.text({0x0008, 0x0018});
    header.instanceNumber = root.number({0x0020, 0x0013}).value_or(0.0);
    const std::size_t frames = readPixelDescription(root, header);
    readFrames(root, frames, header);
    readMetadata(root, header);
}

} // namespace

DicomFileHeader readDicomFileHeader(const std::filesystem::path& file) {
    prepareGdcm();
    DicomFileHeader header;
    header.file = file;
    const std::string name = file.filename().string();
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(file, error);
    std::ifstream stream(file, std::ios::binary);
    if (error || !stream)
        throw DicomReadError(name + ": cannot be opened");
    try {
        readHeader(stream, size, header);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::runtime_error& reason) {
        throw DicomReadError(name + ": " + reason.what());
    } catch (const std::exception&) {
        // The parser's own exceptions quote source files, which help nobody here.
        throw DicomReadError(name + ": the DICOM header is truncated or damaged");
    }
    return header;
}

} // namespace zorbel::imaging
