#include "cache/writer/VolumeCacheWriter.h"
#include "tests/rendering/SyntheticImage.h"
#include "tests/support/ErrorOf.h"
#include "tests/tools/ToolFixture.h"
#include "tools/VolumeDescription.h"

#include <cmath>
#include <csignal>
#include <limits>
#include <random>

#include <sys/resource.h>

namespace zorbel::tools::test {
namespace {

using imaging::Image;
using imaging::ImageGeometry;
using imaging::Vector3;
using imaging::VoxelType;
using imaging::operator*;
using imaging::operator+;

/// The corner values that a conversion could lose, again and again.
template <class T>
Image imageOf(ImageGeometry geometry, VoxelType type, const std::vector<T>& corners, int components = 1) {
    imaging::ImageMetadata metadata;
    metadata.studyInstanceUID = "1.2.3";
    std::size_t next = 0;
    return *imaging::test::makeImage<T>(
        geometry, type, [&](int, int, int) { return static_cast<double>(corners[next++ % corners.size()]); },
        metadata, components);
}

ImageGeometry oblique(std::array<int, 3> dimensions) {
    const double c = std::cos(0.3), s = std::sin(0.3);
    return {dimensions, {-12.25, 3.1, 1e3 / 7}, {c, s, 0}, {0, 0, -1}, {0.125, 0.3, 0.7}};
}

class VolumeCacheWriting : public ToolTest {
protected:
    void
    write(const Image& image, int chunkSlices = 32, bool sha256 = true, const std::string& studyUid = {}) {
        VolumeCacheWriter::Options options;
        options.studyInstanceUid = studyUid;
        options.chunkSlices = chunkSlices;
        options.sha256 = sha256;
        VolumeCacheWriter::write(image, cache(), options);
    }
    void expectCacheOf(const Image& image, const std::string& voxelType, const std::string& what) {
        ASSERT_EQ(run({"volume", "verify", cache()}), 0) << what << out_.str() << error_.str();
        EXPECT_EQ(comparable(printed()), comparable(describeVolume(image, {}, 0.0))) << what;
        EXPECT_EQ(printed()["voxelType"], voxelType) << what;
    }
};

TEST_F(VolumeCacheWriting, KeepsEveryValueOfEveryVoxelType) {
    const ImageGeometry geometry = oblique({5, 4, 7});
    int chunkSlices = 1;
    const auto check = [&]<class T>(VoxelType type, const std::vector<T>& corners, const char* cached) {
        const Image image = imageOf<T>(geometry, type, corners);
        write(image, chunkSlices, chunkSlices % 2 == 0);
        ++chunkSlices;
        expectCacheOf(image, cached, std::string(imaging::voxelTypeName(type)) + " as " + cached);
    };
    check(VoxelType::UInt8, std::vector<std::uint8_t>{0, 127, 128, 255}, "int16");
    check(VoxelType::Int8, std::vector<std::int8_t>{-128, -1, 0, 127}, "int16");
    check(VoxelType::UInt16, std::vector<std::uint16_t>{0, 32767}, "int16");
    check(VoxelType::UInt16, std::vector<std::uint16_t>{0, 32767, 32768, 65535}, "int32");
    check(VoxelType::Int16, std::vector<std::int16_t>{-32768, -1, 0, 32767}, "int16");
    check(VoxelType::Int32, std::vector<std::int32_t>{INT32_MIN, -16777217, 16777217, INT32_MAX}, "int32");
    check(VoxelType::UInt32, std::vector<std::uint32_t>{0, 16777217, 2147483648U, UINT32_MAX}, "uint32");
    check(VoxelType::Float32, std::vector<float>{-1e30F, -0.1F, 1e-40F, 3.5F}, "float32");
}

TEST_F(VolumeCacheWriting, KeepsAShearedGrid) {
    const Vector3 row{1, 0, 0}, column{0, 0.8, 0.6};
    const Vector3 step = imaging::cross(row, column) * 0.5 + column * 0.21 + row * -0.03;
    const ImageGeometry sheared({3, 2, 4}, {1, 2, 3}, row, column, {0.4, 0.2, 0.5}, step);
    const Image image = imageOf<std::int16_t>(sheared, VoxelType::Int16, {1, 2, 3});
    write(image);
    expectCacheOf(image, "int16", "sheared");
    EXPECT_NEAR(printed()["sliceStep"][1].get<double>(), step[1], 1e-12);
}

TEST_F(VolumeCacheWriting, ReplacesAnEarlierCacheWhole) {
    const Image image = imageOf<std::int16_t>(oblique({4, 4, 6}), VoxelType::Int16, {1, 2, 3});
    write(image, 1);
    EXPECT_EQ(cacheFiles().size(), 7U);
    std::filesystem::create_directories(folder_.path() / "cache" / "chunk-0.bin.gz.new" / "in the way");
    imaging::test::writeFile(cache() + "/.chunk-3.bin.gz.new.a1B2c3", "of a killed program");
    std::filesystem::create_directories(folder_.path() / "cache" / "series");
    write(image, 100, true, "9.8.7");
    EXPECT_EQ(cacheFiles(), (std::vector<std::string>{"chunk-0.bin.gz", "manifest.json", "series"}));
    EXPECT_EQ(run({"volume", "verify", cache(), "--uid", "9.8.7"}), 0);
    for (const char* name : {"cache", "cache/manifest.json", "cache/chunk-0.bin.gz"})
        EXPECT_EQ(
            std::filesystem::status(folder_.path() / name).permissions() & std::filesystem::perms(0077),
            std::filesystem::perms::none)
            << name;
}

TEST_F(VolumeCacheWriting, RefusesWhatTheFormatCannotHold) {
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_THROW(
        write(imageOf<std::uint8_t>(oblique({2, 2, 2}), VoxelType::UInt8, {1}, 3)), std::runtime_error);
    EXPECT_THROW(
        write(imageOf<float>(oblique({2, 2, 2}), VoxelType::Float32, {0, infinity})), std::runtime_error);
    EXPECT_FALSE(std::filesystem::exists(cache()));
}

/// Files can grow to this size and no further, as on a full disk.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

private:
    void (*handler_)(int);
    rlimit before_{};
};

TEST_F(VolumeCacheWriting, AFailingDiskLeavesNoHalfCache) {
    std::mt19937 random(3);
    std::vector<std::int16_t> noise(40 * 40 * 4);
    for (auto& value : noise)
        value = static_cast<std::int16_t>(random());
    const Image large = imageOf<std::int16_t>(oblique({40, 40, 4}), VoxelType::Int16, noise);
    const Image small = imageOf<std::int16_t>(oblique({4, 4, 4}), VoxelType::Int16, {1});
    const auto failure = [&](const Image& image, rlim_t bytes) {
        const FullDisk full(bytes);
        return zorbel::test::errorOf([&] { write(image, 2); });
    };

    EXPECT_NE(failure(large, 4096).find("chunk-0.bin.gz"), std::string::npos);
    EXPECT_TRUE(cacheFiles().empty());
    EXPECT_NE(failure(small, 200).find("manifest.json"), std::string::npos);
    EXPECT_TRUE(cacheFiles().empty());

    write(small);
    failure(large, 4096);
    expectCacheOf(small, "int16", "the earlier cache");
    failure(small, 200); // the manifest, when the earlier one is gone
    EXPECT_TRUE(cacheFiles().empty());
}

TEST_F(VolumeCacheWriting, NamesAFolderThatCannotBeMade) {
    imaging::test::writeFile(folder_.path() / "cache", "a file");
    const auto error = zorbel::test::errorOf([this] {
        write(imageOf<std::int16_t>(oblique({2, 2, 2}), VoxelType::Int16, {1}));
    });
    EXPECT_NE(error.find(cache()), std::string::npos) << error;
}

} // namespace
} // namespace zorbel::tools::test
