#include "imaging/DicomIdentity.h"

#include "imaging/DicomSeriesReader.h"
#include "imaging/dicom/CharacterSet.h"
#include "imaging/dicom/DicomAttributes.h"
#include "imaging/dicom/GdcmSetup.h"
#include "imaging/dicom/PixelDataLocation.h"

#include <gdcmReader.h>

#include <istream>
#include <new>
#include <streambuf>

namespace zorbel::imaging {

namespace {

/// Reads from memory that somebody else owns, so that the file is not copied just to look at its header.
class MemoryBuffer : public std::streambuf {
public:
    explicit MemoryBuffer(std::span<const std::byte> bytes) {
        char* begin = const_cast<char*>(reinterpret_cast<const char*>(bytes.data())); // only ever read
        setg(begin, begin, begin + bytes.size());
    }

protected:
    pos_type seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode) override {
        char* const base = direction == std::ios_base::beg   ? eback()
                           : direction == std::ios_base::cur ? gptr()
                                                             : egptr();
        if (offset < eback() - base || offset > egptr() - base)
            return pos_type(off_type(-1));
        setg(eback(), base + offset, egptr());
        return pos_type(gptr() - eback());
    }
    pos_type seekpos(pos_type position, std::ios_base::openmode mode) override {
        return seekoff(off_type(position), std::ios_base::beg, mode);
    }
};

/// Throws when the bytes are no DICOM header that the parser can be trusted with.
void parse(std::istream& stream, std::uint64_t size, gdcm::Reader& reader) {
    const gdcm::Tag seriesInstanceUID(0x0020, 0x000e);
    reader.SetStream(stream);
    if (!reader.CanRead() || !headerLengthsArePlausible(stream, size))
        throw std::runtime_error("no DICOM header");
    stream.clear();
    stream.seekg(0);
    if (!reader.ReadUpToTag(seriesInstanceUID))
        throw std::runtime_error("damaged DICOM header");
}

} // namespace

DicomIdentity readDicomIdentity(std::span<const std::byte> file) {
    prepareGdcm();
    MemoryBuffer buffer(file);
    std::istream stream(&buffer);
    gdcm::Reader reader;
    DicomIdentity identity;
    try {
        parse(stream, file.size(), reader);
        const DicomAttributes attributes(reader.GetFile().GetDataSet());
        identity.patientId = toUtf8(attributes.text({0x0010, 0x0020}), attributes.texts({0x0008, 0x0005}));
        identity.studyInstanceUID = attributes.text({0x0020, 0x000d});
        identity.seriesInstanceUID = attributes.text({0x0020, 0x000e});
        identity.sopInstanceUID = attributes.text({0x0008, 0x0018});
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        identity.sopInstanceUID.clear(); // the parser's own texts quote source files, which help nobody here
    }
    if (identity.sopInstanceUID.empty())
        throw DicomReadError("The received instance is not a readable DICOM file");
    return identity;
}

} // namespace zorbel::imaging
