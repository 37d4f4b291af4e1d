#include "tests/tools/ToolFixture.h"

#include <cmath>

namespace zorbel::tools::test {
namespace {

using imaging::Vector3;
using imaging::operator*;
using imaging::test::FileMaker;

class VolumePack : public ToolTest {
protected:
    void SetUp() override { std::filesystem::create_directories(folder_.path() / "dicom"); }

    int count_ = 0; ///< files written

    std::string dicom() const { return folder() + "/dicom"; }
    FileMaker slice(const Vector3& position, int value) {
        FileMaker maker(3, 2);
        maker.position(position).number(++count_).text({0x0020, 0x000d}, gdcm::VR::UI, "1.2.3");
        maker.rescale(1, -1000).spacing(0.5, 0.25);
        maker.pixels(std::vector<std::int16_t>(6, static_cast<std::int16_t>(value)));
        return maker;
    }
    std::filesystem::path next() const { return folder_.path() / "dicom" / std::to_string(count_); }
    void axial(std::initializer_list<double> places, const std::string& series = "1.2.3.4.5") {
        for (const double z : places)
            slice({1, 2, z}, count_).series(series).write(next());
    }
    void expectSameAsInfo() {
        ASSERT_EQ(run({"volume", "info", dicom(), "--json"}), 0) << error_.str();
        const auto info = printed();
        ASSERT_EQ(info.size(), 1U);
        ASSERT_EQ(run({"volume", "pack", dicom(), cache(), "--chunk-slices", "2"}), 0) << error_.str();
        ASSERT_EQ(run({"volume", "verify", cache(), "--require-sha256", "--uid", "1.2.3"}), 0) << out_.str();
        EXPECT_EQ(comparable(printed()), comparable(info[0]));
        EXPECT_EQ(namesOf(printed()), namesOf(info[0]));
    }
};

TEST_F(VolumePack, VerifyOfTheCacheSaysWhatInfoSaysOfTheFiles) {
    axial({9.0, 3.0, 6.0});
    expectSameAsInfo();
}

TEST_F(VolumePack, AlsoOfEightBitsInAnObliqueStack) {
    const double c = std::cos(0.4), s = std::sin(0.4);
    const Vector3 row{c, 0, s}, column{-s * s, c, c * s};
    for (int i = 0; i < 5; ++i)
        slice(imaging::cross(row, column) * (0.37 * i), 0)
            .orientation(row, column)
            .rescale(1, 0)
            .format(8, 8, 7, false)
            .pixels(std::vector<std::uint8_t>{0, 1, 127, 128, 254, static_cast<std::uint8_t>(i)})
            .write(next());
    expectSameAsInfo();
    EXPECT_EQ(printed()["voxelType"], "int16");
}

TEST_F(VolumePack, AlsoOfATiltedGantryWithFractions) {
    for (int i = 0; i < 4; ++i)
        slice({0, 0.3 * i, 1.1 * i}, i).rescale(0.37, -1024.5).write(next());
    expectSameAsInfo();
    EXPECT_EQ(printed()["voxelType"], "float32");
    EXPECT_NEAR(printed()["sliceStep"][1].get<double>(), 0.3, 1e-6);
}

TEST_F(VolumePack, RefusesWhatIsNotOneCompleteSeries) {
    const auto refusal = [this](const std::string& cacheFolder) {
        EXPECT_EQ(run({"volume", "pack", dicom(), cacheFolder}), 1);
        EXPECT_EQ(out_.str(), "");
        EXPECT_EQ(std::ranges::count(error_.str(), '\n'), 1) << error_.str();
        EXPECT_FALSE(std::filesystem::exists(cache()));
        return error_.str();
    };
    EXPECT_NE(refusal(cache()).find("no DICOM image"), std::string::npos);
    axial({0, 1, 2, 3});
    EXPECT_NE(refusal(dicom()).find("holds other things"), std::string::npos);
    axial({0, 1, 2, 3}, "1.2.3.4.6");
    EXPECT_NE(refusal(cache()).find("several series of 4 frames"), std::string::npos);
    axial({4, 5, 8});
    EXPECT_NE(refusal(cache()).find("6 frames, about 2 are missing"), std::string::npos);
    // Once the hole is filled, the smaller series beside it does no harm.
    axial({6, 7});
    EXPECT_EQ(run({"volume", "pack", dicom(), cache()}), 0) << error_.str();
    axial({4.5});
    std::filesystem::remove_all(cache());
    EXPECT_NE(refusal(cache()).find("not one complete volume"), std::string::npos);
    for (int i = 0; i < 12; ++i)
        slice({}, i).remove({0x0020, 0x0032}).series("1.2.3.4.7").write(next());
    EXPECT_NE(refusal(cache()).find("12 images have no place in space"), std::string::npos);
}

TEST_F(VolumePack, VerifySaysWhyACacheIsRefused) {
    axial({0, 1, 2});
    const auto refused = [this](const std::vector<std::string>& options) {
        std::vector<std::string> arguments{"volume", "verify", cache()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        EXPECT_EQ(run(arguments), 1);
        EXPECT_EQ(error_.str(), "");
        const auto result = printed();
        EXPECT_EQ(result.size(), 4U);
        return std::tuple(
            result["severity"].get<std::string>(), result["code"].get<int>(), result["chunkIndex"].get<int>(),
            result["message"].get<std::string>());
    };
    EXPECT_EQ(
        refused({}),
        std::tuple("degraded", 12, -1, "Cache manifest not present: " + cache() + "/manifest.json"));
    ASSERT_EQ(run({"volume", "pack", dicom(), cache(), "--no-sha256", "--chunk-slices", "1"}), 0);
    EXPECT_EQ(refused({"--require-sha256"}), std::tuple("degraded", 7, 0, "SHA-256 is required but missing"));
    EXPECT_EQ(
        refused({"--uid", "1.2.30"}),
        std::tuple("degraded", 7, -1, "Manifest study identity does not match the requested study"));
    std::filesystem::resize_file(cache() + "/chunk-1.bin.gz", 10);
    EXPECT_EQ(refused({}), std::tuple("degraded", 9, 1, "Chunk compressed length does not match file size"));
    imaging::test::writeFile(cache() + "/manifest.json", "{");
    EXPECT_EQ(std::get<1>(refused({})), 12);
}

} // namespace
} // namespace zorbel::tools::test
