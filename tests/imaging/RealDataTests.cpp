#include "tests/imaging/DicomFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace zorbel::imaging::test {
namespace {

class RealData : public testing::Test {
protected:
    void SetUp() override {
        if (testData().empty())
            GTEST_SKIP() << "no folder of real images: set ZORBEL_TEST_DATA to run this test";
    }
    static std::vector<std::filesystem::path> filesIn(const std::string& folder) {
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(testData() / folder))
            if (entry.is_regular_file())
                files.push_back(entry.path());
        return files;
    }
    static double largestDifference(const Image& a, const Image& b) {
        EXPECT_EQ(a.geometry().dimensions(), b.geometry().dimensions());
        double largest = 0.0;
        const auto& size = a.geometry().dimensions();
        for (int z = 0; z < size[2]; ++z)
            for (int y = 0; y < size[1]; ++y)
                for (int x = 0; x < size[0]; ++x)
                    largest = std::max(largest, std::abs(a.valueAt(x, y, z) - b.valueAt(x, y, z)));
        return largest;
    }
    static double meanByteDifference(const Image& a, const Image& b) {
        if (a.voxels().size() != b.voxels().size())
            return 255.0;
        double sum = 0.0;
        for (std::size_t i = 0; i < a.voxels().size(); ++i)
            sum += std::abs(std::to_integer<int>(a.voxels()[i]) - std::to_integer<int>(b.voxels()[i]));
        return sum / static_cast<double>(a.voxels().size());
    }
};

TEST_F(RealData, EverySyntaxOfOneSliceGivesTheSameVoxels) {
    const auto reference = loadOnly({testData() / "codecs/CTImage.dcm"});
    EXPECT_EQ(reference->metadata().minimum, -3024.0);
    EXPECT_TRUE(reference->metadata().hounsfieldUnits);
    int lossless = 0;
    for (const auto& file : filesIn("codecs")) {
        const std::string name = file.filename().string();
        if (!name.starts_with("CTImage.dcm_"))
            continue;
        SCOPED_TRACE(name);
        const auto image = loadOnly({file});
        const double difference = largestDifference(*image, *reference);
        // Twelve bits for a range of 4400 cannot be exact, eight less so.
        const double bound = name.ends_with("4.50.dcm")                                 ? 180.0
                             : image->voxelType() == VoxelType::Float32                 ? 80.0
                             : name.ends_with("4.81.dcm") || name.ends_with("4.91.dcm") ? 12.0
                                                                                        : 0.0;
        EXPECT_LE(difference, bound);
        lossless += bound == 0.0 ? 1 : 0;
    }
    EXPECT_EQ(lossless, 9);
}

TEST_F(RealData, CompressedVolumesEqualTheUncompressedOne) {
    const auto reference = loadOnly(filesIn("codecs/mr-small/compressed_rle"));
    EXPECT_EQ(reference->geometry().dimensions(), (std::array{256, 256, 4}));
    for (const char* const folder : {"compressed", "compressed_j2k", "compressed_jpeg", "compressed_jpegls"})
        EXPECT_EQ(
            largestDifference(*loadOnly(filesIn(std::string("codecs/mr-small/") + folder)), *reference), 0.0)
            << folder;
    const auto anisotropic = loadOnly(filesIn("codecs/mr-small/anatomical/002_non_isotropic"));
    EXPECT_EQ(anisotropic->geometry().dimensions(), (std::array{64, 28, 4}));
    EXPECT_NEAR(anisotropic->geometry().spacing()[0], 6.4, 1e-3);
    EXPECT_NEAR(anisotropic->geometry().spacing()[1], 4.0, 1e-3);
    EXPECT_EQ(anisotropic->voxelType(), VoxelType::Float32);
}

TEST_F(RealData, ColourPatternsLookAlike) {
    const auto reference = loadOnly({testData() / "codecs/TestPattern_RGB.dcm"});
    for (const auto& file : filesIn("codecs")) {
        const std::string name = file.filename().string();
        if (name.starts_with("TestPattern_")) {
            EXPECT_LT(meanByteDifference(*loadOnly({file}), *reference), 2.5) << name;
        }
    }
    // Labelled RGB, though the stream holds luminance and chrominance.
    const TemporaryFolder folder;
    std::string bytes = readFile(testData() / "codecs/TestPattern_JPEG-Baseline_YBRFull.dcm");
    bytes.replace(bytes.find("YBR_FULL"), 8, "RGB     ");
    writeFile(folder.path() / "mislabelled.dcm", bytes);
    EXPECT_LT(meanByteDifference(*loadOnly(folder.files()), *reference), 2.5);

    const auto ultrasound = loadOnly({testData() / "enhanced-ct/IM00001.implicit_little_endian.dcm"});
    const auto lossy = loadOnly({testData() / "enhanced-ct/IM00001.fragmented_no_bot_jpeg_baseline.50.dcm"});
    EXPECT_LT(meanByteDifference(*ultrasound, *lossy), 2.5);
}

TEST_F(RealData, FramesOfAnEnhancedObjectHoweverEncapsulated) {
    const auto reference = loadOnly({testData() / "enhanced-ct/CT0012.explicit_little_endian.dcm"});
    EXPECT_EQ(reference->geometry().dimensions(), (std::array{512, 512, 2}));
    for (const auto& file : filesIn("enhanced-ct")) {
        const std::string name = file.filename().string();
        if (name.starts_with("CT0012.") && !name.ends_with(".51.dcm")) {
            EXPECT_LE(
                largestDifference(*loadOnly({file}), *reference), name.ends_with(".81.dcm") ? 12.0 : 0.0)
                << name;
        }
    }
}

TEST_F(RealData, IrregularStacksAreRecognised) {
    const auto blocks = [](const std::string& folder) {
        return DicomSeriesReader::analyze(filesIn(folder)).blocks;
    };
    auto result = blocks("gaps/sliceincrement/001");
    ASSERT_EQ(result.size(), 2U);
    ASSERT_TRUE(result[0].findReason(SplitReasonType::MissingSlices));
    EXPECT_EQ(result[0].findReason(SplitReasonType::MissingSlices)->details, "1");
    EXPECT_NEAR(result[0].geometry.spacing()[2], 5.0, 1e-3);

    result = blocks("gaps/notavolume");
    ASSERT_EQ(result.size(), 4U);
    EXPECT_TRUE(result[0].findReason(SplitReasonType::OverlappingFrames));

    result = blocks("gaps/sliceorientation");
    ASSERT_EQ(result.size(), 2U);
    EXPECT_TRUE(result[0].findReason(SplitReasonType::OrientationDifference));

    result = blocks("ct-phantom-tilted");
    ASSERT_EQ(result.size(), 1U);
    EXPECT_EQ(result[0].frameCount(), 54U);
    ASSERT_TRUE(result[0].findReason(SplitReasonType::GantryTilt));
    EXPECT_EQ(result[0].findReason(SplitReasonType::GantryTilt)->details, "18.50");

    result = blocks("ct-head-tilted");
    ASSERT_EQ(result.size(), 2U);
    for (const ImageBlock& block : result)
        EXPECT_TRUE(block.findReason(SplitReasonType::SliceDistanceInconsistency));

    const auto teeth = loadOnly(filesIn("ct-head-teeth"));
    EXPECT_EQ(teeth->geometry().dimensions(), (std::array{256, 256, 108}));
    EXPECT_TRUE(teeth->isVolumetric());
}

} // namespace
} // namespace zorbel::imaging::test
