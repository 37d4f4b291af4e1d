#include "imaging/ImageAdapter.h"

#include "imaging/planes/SliceNavigationController.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

namespace zorbel::imaging {
namespace {

/// 5 × 4 × 3 voxels whose value is their position in the file.
template <class Voxel>
ZorbelVolumeData volumeOf(const std::string& dtype) {
    ZorbelVolumeData volume;
    volume.studyInstanceUID = "1.2.3";
    volume.dtype = dtype;
    volume.dimensions = {5, 4, 3};
    volume.spacing = {0.5, 0.75, 2.0};
    volume.origin = {10.0, -20.0, 30.0};
    volume.byteLength = 60 * sizeof(Voxel);
    volume.voxels = std::shared_ptr<std::byte[]>(new std::byte[volume.byteLength]);
    for (int i = 0; i < 60; ++i) {
        const auto value = static_cast<Voxel>(i);
        std::memcpy(volume.voxels.get() + static_cast<std::size_t>(i) * sizeof(Voxel), &value, sizeof value);
    }
    return volume;
}

template <class Voxel>
void set(ZorbelVolumeData& volume, std::size_t index, Voxel value) {
    std::memcpy(volume.voxels.get() + index * sizeof(Voxel), &value, sizeof value);
}

void setColumns(ZorbelVolumeData& volume, const Vector3& x, const Vector3& y, const Vector3& z) {
    volume.direction = {x[0], y[0], z[0], x[1], y[1], z[1], x[2], y[2], z[2]};
}

TEST(ImageAdapter, SharesTheVoxelsAndTellsTheirRange) {
    ZorbelVolumeData int16 = volumeOf<std::int16_t>("int16");
    set<std::int16_t>(int16, 7, -32768);
    const auto image = ImageAdapter::adapt(int16);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->voxels().data(), int16.voxels.get());
    EXPECT_EQ(image->voxelType(), VoxelType::Int16);
    EXPECT_EQ(image->components(), 1);
    EXPECT_EQ(image->geometry().dimensions(), int16.dimensions);
    const ImageMetadata& metadata = image->metadata();
    EXPECT_EQ(metadata.studyInstanceUID, "1.2.3");
    EXPECT_EQ(metadata.minimum, -32768.0);
    EXPECT_EQ(metadata.maximum, 59.0);
    EXPECT_FALSE(metadata.hounsfieldUnits);
    EXPECT_EQ(metadata.rescale, std::vector<ModalityRescale>(3));

    ZorbelVolumeData int32 = volumeOf<std::int32_t>("int32");
    set<std::int32_t>(int32, 59, std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(ImageAdapter::adapt(int32)->metadata().minimum, -2147483648.0);
    ZorbelVolumeData uint32 = volumeOf<std::uint32_t>("uint32");
    set<std::uint32_t>(uint32, 0, 4294967295U);
    EXPECT_EQ(ImageAdapter::adapt(uint32)->metadata().maximum, 4294967295.0);
    EXPECT_EQ(ImageAdapter::adapt(uint32)->metadata().minimum, 1.0);
    ZorbelVolumeData float32 = volumeOf<float>("float32");
    set(float32, 3, -1.5e30F);
    set(float32, 4, -0.25F);
    set(float32, 5, 3.4e38F);
    EXPECT_EQ(ImageAdapter::adapt(float32)->metadata().minimum, static_cast<double>(-1.5e30F));
    EXPECT_EQ(ImageAdapter::adapt(float32)->metadata().maximum, static_cast<double>(3.4e38F));
}

TEST(ImageAdapter, EveryVoxelLiesWhereTheDirectionsSay) {
    const double angle = 0.3;
    const Vector3 x{std::cos(angle), std::sin(angle), 0.0};
    const Vector3 y{0.0, 0.0, -1.0};
    const Vector3 normal = cross(x, y);
    const Vector3 askew = normalized(normal * -1.0 + y * 0.4 + x * 0.1);
    for (const Vector3& z : {normal, normal * -1.0, askew}) {
        ZorbelVolumeData volume = volumeOf<float>("float32");
        setColumns(volume, x, y, z);
        const auto image = ImageAdapter::adapt(volume);
        ASSERT_TRUE(image);
        const ImageGeometry& geometry = image->geometry();
        EXPECT_NEAR(geometry.spacing()[2], 2.0 * std::abs(dot(z, normal)), 1e-12);
        const auto grid = image->gridToWorldMatrix();
        for (int i = 0; i < 60; ++i) {
            const Vector3 index{
                static_cast<double>(i % 5), static_cast<double>(i / 5 % 4), static_cast<double>(i / 20)};
            const Vector3 place =
                volume.origin + x * (0.5 * index[0]) + y * (0.75 * index[1]) + z * (2.0 * index[2]);
            const Vector3 found = geometry.worldToIndex(place);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                EXPECT_NEAR(found[axis], index[axis], 1e-9);
                // What VTK draws it by.
                double drawn = grid[4 * axis + 3];
                for (std::size_t k = 0; k < 3; ++k)
                    drawn += grid[4 * axis + k] * index[k] * geometry.spacing()[k];
                EXPECT_NEAR(drawn, place[axis], 1e-9);
            }
            EXPECT_EQ(
                image->valueAt(
                    static_cast<int>(std::lround(found[0])), static_cast<int>(std::lround(found[1])),
                    static_cast<int>(std::lround(found[2]))),
                i);
        }
    }
}

TEST(ImageAdapter, SlicesCountedAgainstTheNormalStillRiseTowardsTheHead) {
    ZorbelVolumeData volume = volumeOf<std::int16_t>("int16");
    setColumns(volume, {1, 0, 0}, {0, 1, 0}, {0, 0, -1});
    const auto image = ImageAdapter::adapt(volume);
    ASSERT_TRUE(image);
    SliceNavigationController axial(ViewDirection::Axial);
    axial.setGeometry(image->geometry());
    EXPECT_EQ(axial.sliceCount(), 3);
    axial.selectSlice(1);
    EXPECT_NEAR(axial.plane().center()[2], 26.0, 1e-9);
    EXPECT_NEAR(image->geometry().worldToIndex(axial.plane().center())[2], 2.0, 1e-9);
    axial.selectSlice(3);
    EXPECT_NEAR(axial.plane().center()[2], 30.0, 1e-9);
}

TEST(ImageAdapter, RoundedDirectionsAreMadeSquareAndExactOnesKept) {
    ZorbelVolumeData rounded = volumeOf<std::int16_t>("int16");
    setColumns(rounded, {0.7071, 0.7071, 0.0}, {-0.7075, 0.7067, 0.0}, {0, 0, 1});
    const auto image = ImageAdapter::adapt(rounded);
    ASSERT_TRUE(image);
    EXPECT_NEAR(length(image->geometry().row()), 1.0, 1e-15);
    EXPECT_NEAR(length(image->geometry().column()), 1.0, 1e-15);
    EXPECT_NEAR(dot(image->geometry().row(), image->geometry().column()), 0.0, 1e-15);

    ZorbelVolumeData exact = volumeOf<std::int16_t>("int16");
    const Vector3 x{std::cos(0.3), std::sin(0.3), 0.0};
    const Vector3 y{-std::sin(0.3), std::cos(0.3), 0.0};
    setColumns(exact, x, y, {0, 0, 1});
    exact.spacing[2] = 0.1;
    const auto kept = ImageAdapter::adapt(exact);
    EXPECT_EQ(kept->geometry().row(), x);
    EXPECT_EQ(kept->geometry().column(), y);
    EXPECT_EQ(kept->geometry().spacing(), exact.spacing);
}

TEST(ImageAdapter, WhatCannotBeShownGivesNull) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const std::vector<std::pair<const char*, std::function<void(ZorbelVolumeData&)>>> faults{
        {"type", [](auto& v) { v.dtype = "float64"; }},
        {"too few bytes", [](auto& v) { v.dimensions[2] = 4; }},
        {"too many bytes", [](auto& v) { v.dimensions[2] = 2; }},
        {"no bytes", [](auto& v) { v.voxels.reset(); }},
        {"negative size",
         [](auto& v) {
             v.dimensions = {-5, -4, 3};
         }},
        {"size overflows",
         [](auto& v) {
             v.dimensions = {2147483647, 2147483647, 2147483647};
         }},
        {"spacing 0", [](auto& v) { v.spacing[1] = 0.0; }},
        {"spacing negative", [](auto& v) { v.spacing[0] = -0.5; }},
        {"spacing not a number", [&](auto& v) { v.spacing[2] = nan; }},
        {"origin infinite", [&](auto& v) { v.origin[0] = infinity; }},
        {"direction not a number", [&](auto& v) { v.direction[4] = nan; }},
        {"direction 0", [](auto& v) { v.direction = {}; }},
        {"direction long",
         [](auto& v) {
             setColumns(v, {1, 0, 0}, {0, 1.01, 0}, {0, 0, 1});
         }},
        {"not square",
         [](auto& v) {
             setColumns(v, {1, 0, 0}, {0.1, std::sqrt(0.99), 0}, {0, 0, 1});
         }},
        {"flat",
         [](auto& v) {
             setColumns(v, {1, 0, 0}, {0, 1, 0}, {0, 1, 0});
         }},
        {"voxel not a number", [](auto& v) { set(v, 59, std::numeric_limits<float>::quiet_NaN()); }},
        {"voxel negative NaN", [](auto& v) { set(v, 0, -std::numeric_limits<float>::quiet_NaN()); }},
        {"voxel infinite", [](auto& v) { set(v, 30, std::numeric_limits<float>::infinity()); }},
        {"voxel -infinite", [](auto& v) { set(v, 30, -std::numeric_limits<float>::infinity()); }}};
    EXPECT_TRUE(ImageAdapter::adapt(volumeOf<float>("float32")));
    for (const auto& [what, fault] : faults) {
        ZorbelVolumeData volume = volumeOf<float>("float32");
        fault(volume);
        EXPECT_FALSE(ImageAdapter::adapt(volume)) << what;
    }
}

} // namespace
} // namespace zorbel::imaging
