#include "tests/imaging/DicomFixture.h"

#include <gdcmDataElement.h>
#include <gdcmFile.h>
#include <gdcmFileMetaInformation.h>
#include <gdcmImageChangeTransferSyntax.h>
#include <gdcmImageReader.h>
#include <gdcmImageWriter.h>
#include <gdcmItem.h>
#include <gdcmSequenceOfItems.h>
#include <gdcmWriter.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <iomanip>
#include <sstream>
#include <stdexcept>

namespace zorbel::imaging::test {

FileMaker::FileMaker(int columns, int rows) {
    static std::atomic<int> count = 0;
    using gdcm::VR;
    text({0x0008, 0x0016}, VR::UI, "1.2.840.10008.5.1.4.1.1.2");
    text({0x0008, 0x0018}, VR::UI, "1.2.826.0.1.3680043.2.1143.1." + std::to_string(++count));
    text({0x0008, 0x0060}, VR::CS, "CT");
    text({0x0020, 0x000d}, VR::UI, "1.2.3.4");
    series("1.2.3.4.5");
    shorts({0x0028, 0x0010}, {rows});
    shorts({0x0028, 0x0011}, {columns});
    shorts({0x0028, 0x0002}, {1});
    text({0x0028, 0x0004}, VR::CS, "MONOCHROME2");
    spacing(1.0, 1.0);
    orientation({1.0, 0.0, 0.0}, {0.0, 1.0, 0.0});
    format(16, 16, 15, true);
    pixels(std::vector<std::int16_t>(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), 0));
}

void FileMaker::add(
    gdcm::DataSet& to, gdcm::Tag tag, gdcm::VR::VRType vr, const void* bytes, std::size_t length) {
    gdcm::DataElement element(tag);
    element.SetVR(vr);
    element.SetByteValue(static_cast<const char*>(bytes), static_cast<std::uint32_t>(length));
    to.Replace(element);
}

void FileMaker::addText(gdcm::DataSet& to, gdcm::Tag tag, gdcm::VR::VRType vr, std::string value) {
    if (value.size() % 2 == 1)
        value += vr == gdcm::VR::UI ? '\0' : ' ';
    add(to, tag, vr, value.data(), value.size());
}

void FileMaker::addSequence(gdcm::DataSet& to, gdcm::Tag tag, const std::vector<gdcm::DataSet>& items) {
    gdcm::SmartPointer<gdcm::SequenceOfItems> sequence = new gdcm::SequenceOfItems;
    sequence->SetLengthToUndefined();
    for (const gdcm::DataSet& dataSet : items) {
        gdcm::Item entry;
        entry.SetVLToUndefined();
        entry.SetNestedDataSet(dataSet);
        sequence->AddItem(entry);
    }
    gdcm::DataElement element(tag);
    element.SetVR(gdcm::VR::SQ);
    element.SetValue(*sequence);
    element.SetVLToUndefined();
    to.Replace(element);
}

gdcm::DataSet FileMaker::item(gdcm::Tag tag, gdcm::VR::VRType vr, const std::string& value) {
    gdcm::DataSet dataSet;
    addText(dataSet, tag, vr, value);
    return dataSet;
}

FileMaker& FileMaker::text(gdcm::Tag tag, gdcm::VR::VRType vr, const std::string& value) {
    addText(dataSet_, tag, vr, value);
    return *this;
}

FileMaker& FileMaker::shorts(gdcm::Tag tag, std::initializer_list<int> values, gdcm::VR::VRType vr) {
    std::vector<std::uint16_t> words;
    for (const int value : values)
        words.push_back(static_cast<std::uint16_t>(value));
    add(dataSet_, tag, vr, words.data(), words.size() * 2);
    return *this;
}

FileMaker& FileMaker::words(gdcm::Tag tag, const std::vector<std::uint16_t>& values) {
    add(dataSet_, tag, gdcm::VR::OW, values.data(), values.size() * 2);
    return *this;
}

FileMaker& FileMaker::sequence(gdcm::Tag tag, const std::vector<gdcm::DataSet>& items) {
    addSequence(dataSet_, tag, items);
    return *this;
}

FileMaker& FileMaker::remove(gdcm::Tag tag) {
    dataSet_.Remove(tag);
    return *this;
}

FileMaker& FileMaker::position(const Vector3& p) {
    return text({0x0020, 0x0032}, gdcm::VR::DS, decimals({p[0], p[1], p[2]}));
}

FileMaker& FileMaker::orientation(const Vector3& row, const Vector3& column) {
    return text(
        {0x0020, 0x0037}, gdcm::VR::DS,
        decimals({row[0], row[1], row[2], column[0], column[1], column[2]}, 9));
}

FileMaker& FileMaker::spacing(double betweenColumns, double betweenRows) {
    return text({0x0028, 0x0030}, gdcm::VR::DS, decimals({betweenRows, betweenColumns}));
}

FileMaker& FileMaker::rescale(double slope, double intercept) {
    text({0x0028, 0x1052}, gdcm::VR::DS, decimals({intercept}));
    return text({0x0028, 0x1053}, gdcm::VR::DS, decimals({slope}));
}

FileMaker& FileMaker::number(int instanceNumber) {
    return text({0x0020, 0x0013}, gdcm::VR::IS, std::to_string(instanceNumber));
}

FileMaker& FileMaker::series(const std::string& uid) {
    return text({0x0020, 0x000e}, gdcm::VR::UI, uid);
}

FileMaker& FileMaker::frames(int count) {
    return text({0x0028, 0x0008}, gdcm::VR::IS, std::to_string(count));
}

FileMaker& FileMaker::color(const std::string& photometric, bool planar) {
    format(8, 8, 7, false);
    shorts({0x0028, 0x0002}, {3});
    shorts({0x0028, 0x0006}, {planar ? 1 : 0});
    return text({0x0028, 0x0004}, gdcm::VR::CS, photometric);
}

FileMaker& FileMaker::format(int allocated, int stored, int highBit, bool isSigned) {
    shorts({0x0028, 0x0100}, {allocated});
    shorts({0x0028, 0x0101}, {stored});
    shorts({0x0028, 0x0102}, {highBit});
    return shorts({0x0028, 0x0103}, {isSigned ? 1 : 0});
}

FileMaker& FileMaker::pixels(const void* bytes, std::size_t length) {
    std::vector<char> padded(static_cast<const char*>(bytes), static_cast<const char*>(bytes) + length);
    padded.resize(length + length % 2, '\0');
    add(dataSet_, {0x7fe0, 0x0010}, gdcm::VR::OW, padded.data(), padded.size());
    return *this;
}

std::filesystem::path
FileMaker::write(const std::filesystem::path& file, gdcm::TransferSyntax::TSType syntax) {
    // The writer takes ownership, so it gets a copy of its own.
    gdcm::SmartPointer<gdcm::File> copy = new gdcm::File;
    copy->SetDataSet(dataSet_);
    copy->GetHeader().SetDataSetTransferSyntax(syntax);
    gdcm::Writer writer;
    writer.SetFile(*copy);
    writer.SetFileName(file.string().c_str());
    if (!writer.Write())
        throw std::runtime_error("cannot write " + file.string());
    return file;
}

void compress(const std::filesystem::path& file, gdcm::TransferSyntax::TSType syntax) {
    gdcm::ImageReader reader;
    reader.SetFileName(file.string().c_str());
    if (!reader.Read())
        throw std::runtime_error("cannot read back " + file.string());
    gdcm::ImageChangeTransferSyntax change;
    change.SetTransferSyntax(syntax);
    change.SetInput(reader.GetImage());
    if (!change.Change())
        throw std::runtime_error("cannot compress " + file.string());
    gdcm::ImageWriter writer;
    writer.SetFile(reader.GetFile());
    writer.SetImage(change.GetOutput());
    writer.SetFileName(file.string().c_str());
    if (!writer.Write())
        throw std::runtime_error("cannot write " + file.string());
}

std::string decimals(std::initializer_list<double> values, int digits) {
    std::ostringstream text;
    text << std::setprecision(digits) << std::fixed;
    const char* separator = "";
    for (const double value : values) {
        text << separator << value;
        separator = "\\";
    }
    return text.str();
}

std::shared_ptr<const Image> loadOnly(const std::vector<std::filesystem::path>& files) {
    const DicomAnalysis analysis = DicomSeriesReader::analyze(files);
    for (const RejectedFile& rejected : analysis.rejected)
        ADD_FAILURE() << rejected.reason;
    if (analysis.blocks.size() != 1)
        throw std::runtime_error("expected one block, found " + std::to_string(analysis.blocks.size()));
    return DicomSeriesReader::load(analysis.blocks.front());
}

std::filesystem::path testData() {
    const char* const named = std::getenv("ZORBEL_TEST_DATA");
    const std::filesystem::path folder = named ? named : ZORBEL_DEFAULT_TEST_DATA;
    return std::filesystem::is_directory(folder) ? folder : std::filesystem::path();
}

} // namespace zorbel::imaging::test
