#pragma once

#include "imaging/DicomSeriesReader.h"
#include "tests/support/Files.h"

#include <gdcmDataSet.h>
#include <gdcmTag.h>
#include <gdcmTransferSyntax.h>
#include <gdcmVR.h>

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

namespace zorbel::imaging::test {

using zorbel::test::readFile;
using zorbel::test::TemporaryFolder;
using zorbel::test::writeFile;

/// A DICOM file in the making, by GDCM's writer: a CT slice of 16-bit zeros until told otherwise.
class FileMaker {
public:
    FileMaker(int columns, int rows);

    FileMaker& text(gdcm::Tag tag, gdcm::VR::VRType vr, const std::string& value);
    FileMaker& shorts(gdcm::Tag tag, std::initializer_list<int> values, gdcm::VR::VRType vr = gdcm::VR::US);
    FileMaker& words(gdcm::Tag tag, const std::vector<std::uint16_t>& values);
    FileMaker& sequence(gdcm::Tag tag, const std::vector<gdcm::DataSet>& items);
    FileMaker& remove(gdcm::Tag tag);

    FileMaker& position(const Vector3& position);
    FileMaker& orientation(const Vector3& row, const Vector3& column);
    FileMaker& spacing(double betweenColumns, double betweenRows);
    FileMaker& rescale(double slope, double intercept);
    FileMaker& number(int instanceNumber);
    FileMaker& series(const std::string& uid);
    FileMaker& frames(int count);
    FileMaker& color(const std::string& photometric, bool planar = false);

    FileMaker& format(int allocated, int stored, int highBit, bool isSigned);
    /// The pixel data as they shall lie in a little-endian file.
    FileMaker& pixels(const void* bytes, std::size_t length);
    template <class T>
    FileMaker& pixels(const std::vector<T>& values) {
        return pixels(values.data(), values.size() * sizeof(T));
    }

    std::filesystem::path write(
        const std::filesystem::path& file,
        gdcm::TransferSyntax::TSType syntax = gdcm::TransferSyntax::ExplicitVRLittleEndian);

    static gdcm::DataSet item(gdcm::Tag tag, gdcm::VR::VRType vr, const std::string& value);
    static void
    add(gdcm::DataSet& to, gdcm::Tag tag, gdcm::VR::VRType vr, const void* bytes, std::size_t length);
    static void addText(gdcm::DataSet& to, gdcm::Tag tag, gdcm::VR::VRType vr, std::string value);
    static void addSequence(gdcm::DataSet& to, gdcm::Tag tag, const std::vector<gdcm::DataSet>& items);

private:
    gdcm::DataSet dataSet_;
};

/// Compresses a file in place with GDCM's codecs.
void compress(const std::filesystem::path& file, gdcm::TransferSyntax::TSType syntax);

/// Backslash-separated DS values.
std::string decimals(std::initializer_list<double> values, int digits = 6);

/// The one block that the files form, decoded; fails the test where they form several.
std::shared_ptr<const Image> loadOnly(const std::vector<std::filesystem::path>& files);

/// The real images of the test data folder, or empty when there is none.
std::filesystem::path testData();

} // namespace zorbel::imaging::test
