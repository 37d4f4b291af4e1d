#pragma once

#include "demo/DicomFile.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zorbel::test {

/// A small axial CT series, 0.5 × 0.5 × 1 mm, written as one file a slice. Slice n (from 0) lies at z = n mm
/// and holds n × 100 + column everywhere in a column.
struct TestSeries {
    std::string name = "series";
    std::string study = "study";
    std::string description = "CBCT test";
    std::string modality = "CT";
    int slices = 8;
    int size = 32; ///< columns
    int rows = 32;
    std::vector<int> leftOut{}; ///< slices that are not written
    bool placed = true;         ///< or each an image without a place in space

    std::string studyUid() const { return demo::uidOf(study); }
    std::string seriesUid() const { return demo::uidOf(study + name); }
    std::string sopUid(int slice) const { return demo::uidOf(study + name + std::to_string(slice)); }

    void writeSlice(const std::filesystem::path& file, int slice) const {
        demo::DicomFile dicom;
        dicom.text(0x00080016, "1.2.840.10008.5.1.4.1.1.2");
        dicom.text(0x00080018, sopUid(slice));
        dicom.text(0x00080020, "20240131");
        dicom.text(0x00080060, modality);
        dicom.text(0x0008103e, description);
        dicom.text(0x00100010, "Test^Patient");
        dicom.text(0x00100020, "T-1");
        dicom.text(0x0020000d, studyUid());
        dicom.text(0x0020000e, seriesUid());
        dicom.text(0x00200011, "1");
        dicom.text(0x00200013, std::to_string(slice + 1));
        if (placed) {
            dicom.text(0x00200032, demo::decimals({-8.0, -8.0, static_cast<double>(slice)}));
            dicom.text(0x00200037, "1\\0\\0\\0\\1\\0");
        }
        dicom.text(0x00280030, "0.5\\0.5");
        dicom.text(0x00281052, "0");
        dicom.text(0x00281053, "1");
        std::vector<std::uint16_t> pixels(static_cast<std::size_t>(size) * static_cast<std::size_t>(rows));
        for (std::size_t index = 0; index < pixels.size(); ++index)
            pixels[index] = static_cast<std::uint16_t>(slice * 100 + static_cast<int>(index) % size);
        dicom.pixels(size, rows, pixels.data(), 12);
        dicom.write(file);
    }

    void write(const std::filesystem::path& folder) const {
        std::filesystem::create_directories(folder);
        for (int slice = 0; slice < slices; ++slice)
            if (std::find(leftOut.begin(), leftOut.end(), slice) == leftOut.end())
                writeSlice(folder / (name + std::to_string(slice) + ".dcm"), slice);
    }
};

} // namespace zorbel::test
