#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zorbel::demo {

/// A DICOM file in the making: elements are set one by one and written as explicit little endian.
class DicomFile {
public:
    DicomFile();
    ~DicomFile();
    DicomFile(const DicomFile&) = delete;
    DicomFile& operator=(const DicomFile&) = delete;

    /// tag as 0xGGGGEEEE, value as DICOM writes it, several values joined by "\\"; the VR is that of the
    /// standard.
    void text(std::uint32_t tag, const std::string& value);
    void number(std::uint32_t tag, std::uint16_t value);
    /// Rows, columns, 16 bit allocated, grey values stored as they are.
    void pixels(int columns, int rows, const std::uint16_t* values, int bitsStored);
    /// Throws std::runtime_error naming the file.
    void write(const std::filesystem::path& path);

private:
    struct Content;
    std::unique_ptr<Content> content_;
};

/// A UID below 2.25 that is always the same for the same name.
std::string uidOf(std::string_view name);

/// Numbers as a DS value, at most 16 characters each.
std::string decimals(const std::vector<double>& values);

} // namespace zorbel::demo
