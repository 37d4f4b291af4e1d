#include "demo/PhantomStudies.h"

#include "demo/JawPhantom.h"

#include <gdcmImageReader.h>
#include <gdcmStringFilter.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>

namespace zorbel::demo {
namespace {

namespace fs = std::filesystem;

struct Dicom {
    explicit Dicom(const fs::path& path) {
        gdcm::ImageReader reader;
        reader.SetFileName(path.c_str());
        EXPECT_TRUE(reader.Read()) << path;
        const gdcm::Image& image = reader.GetImage();
        columns = image.GetDimension(0);
        rows = image.GetDimension(1);
        z = image.GetOrigin(2);
        values.resize(image.GetBufferLength() / 2);
        image.GetBuffer(reinterpret_cast<char*>(values.data()));
        gdcm::StringFilter filter;
        filter.SetFile(reader.GetFile());
        const auto text = [&filter](std::uint16_t group, std::uint16_t element) {
            std::string value = filter.ToString(gdcm::Tag(group, element));
            value.erase(value.find_last_not_of(" \0") + 1);
            return value;
        };
        instanceUid = text(0x0008, 0x0018);
        orientation = text(0x0020, 0x0020);
        photometric = text(0x0028, 0x0004);
        detectorSpacing = text(0x0018, 0x1164);
        spacing = text(0x0028, 0x0030);
    }

    unsigned columns = 0;
    unsigned rows = 0;
    double z = 0;
    std::vector<std::uint16_t> values;
    std::string instanceUid;
    std::string orientation;
    std::string photometric;
    std::string detectorSpacing;
    std::string spacing;
};

fs::path studies() {
    static const fs::path folder = phantomFolder(ZORBEL_DEMO_CACHE);
    return folder;
}

std::vector<fs::path> filesOf(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

TEST(PhantomStudies, jawVolumeShowsTheFillingOnThePatientsLeftAtItsPlace) {
    const JawPhantom::Grid grid = JawPhantom::jawGrid();
    const JawPhantom::Position filling = JawPhantom().landmark("filling 26");
    const std::vector<fs::path> files = filesOf(studies() / "jaw" / "volume");
    ASSERT_EQ(files.size(), static_cast<std::size_t>(grid.size[2]));
    std::set<std::string> uids;
    double sum[3] = {0, 0, 0};
    double count = 0;
    for (std::size_t k = 0; k < files.size(); ++k) {
        const Dicom slice(files[k]);
        uids.insert(slice.instanceUid);
        ASSERT_NEAR(slice.z, grid.origin[2] + 0.4 * static_cast<double>(k), 1e-4);
        for (std::size_t i = 0; i < slice.values.size(); ++i) {
            if (slice.values[i] > 5000) {
                sum[0] += grid.origin[0] + 0.4 * static_cast<double>(i % slice.columns);
                sum[1] += grid.origin[1] + 0.4 * static_cast<double>(i / slice.columns);
                sum[2] += slice.z;
                ++count;
            }
        }
    }
    EXPECT_EQ(uids.size(), files.size());
    ASSERT_GT(count, 0);
    EXPECT_GT(filling[0], 20);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(sum[axis] / count, filling[axis], 0.15) << axis;
    }
}

TEST(PhantomStudies, incompleteSeriesLacksExactlyOneSlice) {
    const std::vector<fs::path> files = filesOf(studies() / "incomplete" / "volume");
    std::vector<int> gaps;
    for (std::size_t i = 1; i < files.size(); ++i) {
        gaps.push_back(static_cast<int>(std::lround((Dicom(files[i]).z - Dicom(files[i - 1]).z) / 1.6)));
    }
    EXPECT_EQ(std::count(gaps.begin(), gaps.end(), 2), 1);
    EXPECT_EQ(std::count(gaps.begin(), gaps.end(), 1), static_cast<std::ptrdiff_t>(gaps.size()) - 1);
}

/// Mean of a rectangle, in fractions of the image.
double meanOf(const Dicom& image, double left, double right, double top, double bottom) {
    double sum = 0;
    double count = 0;
    for (auto y = static_cast<unsigned>(top * image.rows); y < static_cast<unsigned>(bottom * image.rows);
         ++y) {
        for (auto x = static_cast<unsigned>(left * image.columns);
             x < static_cast<unsigned>(right * image.columns); ++x) {
            sum += image.values[static_cast<std::size_t>(y) * image.columns + x];
            ++count;
        }
    }
    return sum / count;
}

TEST(PhantomStudies, radiographsHaveTheirSidesAndTheInvertedOneItsOppositeValues) {
    const Dicom panoramic(studies() / "panoramic" / "image" / "IM00001.dcm");
    EXPECT_EQ(panoramic.orientation, "L\\F");
    // Tooth 48 stands on the patient's right, so in the left half; 38 is missing.
    EXPECT_GT(meanOf(panoramic, 0.24, 0.26, 0.53, 0.57), meanOf(panoramic, 0.74, 0.76, 0.53, 0.57) + 500);

    const Dicom inverted(studies() / "panoramic-monochrome1" / "image" / "IM00001.dcm");
    EXPECT_EQ(inverted.photometric, "MONOCHROME1");
    ASSERT_EQ(inverted.values.size(), panoramic.values.size());
    bool opposite = true;
    for (std::size_t i = 0; i < inverted.values.size(); ++i) {
        opposite = opposite && inverted.values[i] + panoramic.values[i] == 4095;
    }
    EXPECT_TRUE(opposite);

    // The face looks to the right, so air lies at the right edge and the neck reaches the lower left.
    const Dicom ceph(studies() / "cephalometric" / "image" / "IM00001.dcm");
    EXPECT_EQ(ceph.orientation, "A\\F");
    EXPECT_LT(meanOf(ceph, 0.9, 1.0, 0.8, 1.0), 200);
    EXPECT_GT(meanOf(ceph, 0.2, 0.5, 0.9, 1.0), 1000);
    EXPECT_NEAR(std::stod(ceph.detectorSpacing) / std::stod(ceph.spacing), 1.1, 1e-6);
}

} // namespace
} // namespace zorbel::demo
