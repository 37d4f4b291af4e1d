#include "imaging/DicomIdentity.h"

#include "imaging/DicomSeriesReader.h"

#include <gdcmReader.h>
#include <gdcmTag.h>

#include <istream>
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

std::string text(const gdcm::DataSet& dataSet, const gdcm::Tag& tag) {
    if (!dataSet.FindDataElement(tag))
        return {};
    const gdcm::ByteValue* value = dataSet.GetDataElement(tag).GetByteValue();
    if (!value)
        return {};
    std::string result(value->GetPointer(), value->GetLength());
    const char* const padding = " \0";
    const auto first = result.find_first_not_of(padding, 0, 2);
    if (first == std::string::npos)
        return {};
    return result.substr(first, result.find_last_not_of(padding, std::string::npos, 2) - first + 1);
}

} // namespace

DicomIdentity readDicomIdentity(std::span<const std::byte> file) {
    MemoryBuffer buffer(file);
    std::istream stream(&buffer);
    gdcm::Reader reader;
    reader.SetStream(stream);
    const gdcm::Tag seriesInstanceUID(0x0020, 0x000e);
    bool readable = false;
    try {
        readable = reader.ReadUpToTag(seriesInstanceUID);
    } catch (const std::exception&) {
        readable = false; // damaged headers make the parser throw; the caller hears of it below
    }
    const gdcm::DataSet& dataSet = reader.GetFile().GetDataSet();
    DicomIdentity identity{
        text(dataSet, gdcm::Tag(0x0010, 0x0020)), text(dataSet, gdcm::Tag(0x0020, 0x000d)),
        text(dataSet, seriesInstanceUID), text(dataSet, gdcm::Tag(0x0008, 0x0018))};
    if (!readable || identity.sopInstanceUID.empty())
        throw DicomReadError("The received instance is not a readable DICOM file");
    return identity;
}

} // namespace zorbel::imaging
