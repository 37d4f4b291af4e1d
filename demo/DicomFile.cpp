#include "demo/DicomFile.h"

#include <gdcmDict.h>
#include <gdcmDicts.h>
#include <gdcmFile.h>
#include <gdcmGlobal.h>
#include <gdcmWriter.h>

#include <cstdio>
#include <stdexcept>

namespace zorbel::demo {

struct DicomFile::Content {
    gdcm::Writer writer;

    void put(const gdcm::Tag& tag, const gdcm::VR& vr, const char* bytes, std::size_t size) {
        gdcm::DataElement element(tag);
        element.SetVR(vr);
        element.SetByteValue(bytes, gdcm::VL(static_cast<std::uint32_t>(size)));
        writer.GetFile().GetDataSet().Replace(element);
    }
};

namespace {

gdcm::Tag tagOf(std::uint32_t tag) {
    return {static_cast<std::uint16_t>(tag >> 16), static_cast<std::uint16_t>(tag & 0xFFFF)};
}

} // namespace

DicomFile::DicomFile() : content_(std::make_unique<Content>()) {
    content_->writer.GetFile().GetHeader().SetDataSetTransferSyntax(
        gdcm::TransferSyntax::ExplicitVRLittleEndian);
}

DicomFile::~DicomFile() = default;

void DicomFile::text(std::uint32_t tag, const std::string& value) {
    const gdcm::VR vr =
        gdcm::Global::GetInstance().GetDicts().GetPublicDict().GetDictEntry(tagOf(tag)).GetVR();
    std::string padded = value;
    if (padded.size() % 2 == 1) {
        padded += vr == gdcm::VR::UI ? '\0' : ' ';
    }
    content_->put(tagOf(tag), vr, padded.data(), padded.size());
}

void DicomFile::number(std::uint32_t tag, std::uint16_t value) {
    const char bytes[2] = {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8)};
    content_->put(tagOf(tag), gdcm::VR::US, bytes, 2);
}

void DicomFile::pixels(int columns, int rows, const std::uint16_t* values, int bitsStored) {
    number(0x00280002, 1);
    number(0x00280010, static_cast<std::uint16_t>(rows));
    number(0x00280011, static_cast<std::uint16_t>(columns));
    number(0x00280100, 16);
    number(0x00280101, static_cast<std::uint16_t>(bitsStored));
    number(0x00280102, static_cast<std::uint16_t>(bitsStored - 1));
    number(0x00280103, 0);
    content_->put(
        gdcm::Tag(0x7FE0, 0x0010), gdcm::VR::OW, reinterpret_cast<const char*>(values),
        static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) * 2);
}

void DicomFile::write(const std::filesystem::path& path) {
    content_->writer.SetFileName(path.c_str());
    if (!content_->writer.Write()) {
        throw std::runtime_error("The file " + path.string() + " cannot be written.");
    }
}

std::string uidOf(std::string_view name) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char c : name) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    }
    return "2.25." + std::to_string(hash | 1ULL << 63);
}

std::string decimals(const std::vector<double>& values) {
    std::string text;
    for (const double value : values) {
        char digits[32];
        std::snprintf(digits, sizeof digits, "%.8g", value);
        text += (text.empty() ? "" : "\\") + std::string(digits);
    }
    return text;
}

} // namespace zorbel::demo
