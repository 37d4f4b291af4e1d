#include "tests/tools/ToolFixture.h"

#include <algorithm>

namespace zorbel::tools {
namespace {

using imaging::test::FileMaker;

class VolumeInfo : public test::ToolTest {
protected:
    void series(std::initializer_list<double> places) {
        int count = 0;
        for (const double z : places) {
            std::filesystem::create_directories(folder_.path() / "deep" / std::to_string(count % 2));
            FileMaker(2, 1)
                .position({1, 2, z})
                .spacing(0.5, 0.25)
                .rescale(1, -1000)
                .text({0x0028, 0x1050}, gdcm::VR::DS, "40")
                .text({0x0028, 0x1051}, gdcm::VR::DS, "400")
                .pixels(std::vector<std::int16_t>{0, static_cast<std::int16_t>(count)})
                .write(folder_.path() / "deep" / std::to_string(count % 2) / std::to_string(count));
            ++count;
        }
    }
};

TEST_F(VolumeInfo, PrintsTheBlocksAsJson) {
    series({9.0, 3.0, 6.0});
    imaging::test::writeFile(folder_.path() / "notes.txt", "no image");
    ASSERT_EQ(run({"volume", "info", folder(), "--json"}), 0);
    EXPECT_EQ(error_.str(), "left out: notes.txt: not a DICOM file\n");
    const auto blocks = nlohmann::json::parse(out_.str());
    ASSERT_EQ(blocks.size(), 1U);
    const auto& block = blocks[0];
    EXPECT_EQ(block["seriesInstanceUID"], "1.2.3.4.5");
    EXPECT_EQ(block["frames"], 3);
    EXPECT_EQ(block["splitReasons"], nlohmann::json::array());
    EXPECT_EQ(block["dimensions"], nlohmann::json({2, 1, 3}));
    EXPECT_EQ(block["spacing"], nlohmann::json({0.5, 0.25, 3.0}));
    EXPECT_EQ(block["origin"], nlohmann::json({1.0, 2.0, 3.0}));
    EXPECT_EQ(block["direction"], nlohmann::json({1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0}));
    EXPECT_EQ(block["voxelType"], "int16");
    EXPECT_EQ(block["minimum"], -1000.0);
    EXPECT_EQ(block["maximum"], -998.0);
    EXPECT_NEAR(block["mean"].get<double>(), -999.5, 1e-9);
    EXPECT_EQ(block["window"], (nlohmann::json{{"center", 40.0}, {"width", 400.0}, {"function", "LINEAR"}}));
    EXPECT_EQ(block["photometricInterpretation"], "MONOCHROME2");
    EXPECT_TRUE(block["decodeMs"].is_number());
    // sha256 of the little-endian doubles -1000 -999 -1000 -998 -1000 -1000
    EXPECT_EQ(block["sha256"], "8daa0f13514a109f0e72266e7417e641ebb99a6710bf8c1ce44b2cdf72635c95");
}

TEST_F(VolumeInfo, FailsWithOneLine) {
    const auto oneLine = [this] { return std::ranges::count(error_.str(), '\n') == 1 && out_.str().empty(); };
    EXPECT_EQ(run({"volume", "info", folder() + "/absent", "--json"}), 1);
    EXPECT_TRUE(oneLine()) << error_.str();
    EXPECT_EQ(run({"volume", "info", folder(), "--json"}), 1);
    EXPECT_TRUE(oneLine()) << error_.str();

    imaging::test::writeFile(folder_.path() / "two\nlines", "no image");
    imaging::test::writeFile(folder_.path() / "zero", "");
    EXPECT_EQ(run({"volume", "info", folder(), "--json"}), 1);
    EXPECT_TRUE(oneLine()) << error_.str();
    EXPECT_NE(error_.str().find("(two?lines: not a DICOM file, and 1 more left out)"), std::string::npos);

    FileMaker(4, 4).pixels(std::vector<std::int16_t>(3)).write(folder_.path() / "short.dcm");
    EXPECT_EQ(run({"volume", "info", folder(), "--json"}), 1);
    EXPECT_TRUE(oneLine()) << error_.str();
    EXPECT_NE(error_.str().find("short.dcm"), std::string::npos);

    // It does not hide what is sound.
    FileMaker(4, 4).series("1.2.3").write(folder_.path() / "whole.dcm");
    EXPECT_EQ(run({"volume", "info", folder(), "--json"}), 0);
    EXPECT_EQ(nlohmann::json::parse(out_.str()).size(), 1U);
    EXPECT_NE(error_.str().find("left out: short.dcm"), std::string::npos) << error_.str();
}

} // namespace
} // namespace zorbel::tools
