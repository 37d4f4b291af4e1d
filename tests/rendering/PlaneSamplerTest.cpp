#include "imaging/planes/PlaneSampler.h"

#include "tests/rendering/SyntheticImage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

using namespace zorbel::imaging;
using namespace zorbel::imaging::test;

namespace {

std::vector<PlaneSampler::Code> codes() {
    return {PlaneSampler::Code::Fastest, PlaneSampler::Code::Portable};
}

std::shared_ptr<const Image> noiseImage(const ImageGeometry& geometry, VoxelType type) {
    std::mt19937 random(static_cast<unsigned>(type) + 7U);
    const auto filled = [&]<class T>(double low, double high) {
        std::uniform_real_distribution<double> values(low, high);
        return makeImage<T>(geometry, type, [&](int, int, int) { return values(random); });
    };
    switch (type) {
    case VoxelType::UInt8:
        return filled.operator()<std::uint8_t>(0.0, 255.9);
    case VoxelType::Int8:
        return filled.operator()<std::int8_t>(-128.0, 127.9);
    case VoxelType::UInt16:
        return filled.operator()<std::uint16_t>(0.0, 65535.9);
    case VoxelType::Int16:
        return filled.operator()<std::int16_t>(-32768.0, 32767.9);
    case VoxelType::UInt32:
        return filled.operator()<std::uint32_t>(0.0, 4294967295.0);
    case VoxelType::Int32:
        return filled.operator()<std::int32_t>(-2147483648.0, 2147483647.0);
    case VoxelType::Float32:
        break;
    }
    return filled.operator()<float>(-0.01, 0.01);
}

class RandomFrames {
public:
    explicit RandomFrames(unsigned seed) : random_(seed) {}

    double between(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random_);
    }
    Vector3 vector(double reach) {
        return {between(-reach, reach), between(-reach, reach), between(-reach, reach)};
    }
    /// Through some point of the image, reaching beyond it; no multiple of a tile or of eight pixels.
    PlaneFrame next(const Image& image) {
        PlaneFrame frame;
        frame.plane = PlaneGeometry(image.geometry().center() + vector(4.0), vector(1.0), vector(1.0));
        frame.width = 71;
        frame.height = 43;
        frame.millimetresPerPixel = between(0.1, 0.5);
        return frame;
    }

private:
    std::mt19937 random_;
};

/// Millimetres' worth of single-precision rounding that decides on which side of the border a sample falls.
bool isNearBorder(const Image& image, const Vector3& point) {
    const Vector3 index = image.geometry().worldToIndex(point);
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (std::abs(index[axis] + 0.5) < 1e-3 ||
            std::abs(index[axis] - image.geometry().dimensions()[axis] + 0.5) < 1e-3)
            return true;
    return false;
}

/// What a slab's pixel must be, from single samples; not a number where none lies inside.
double expectedValue(const Image& image, const PlaneFrame& frame, int x, int y, bool& doubtful) {
    std::vector<double> samples;
    for (int plane = 0; plane < frame.slab.count; ++plane) {
        const double depth = (plane - (frame.slab.count - 1) / 2.0) * frame.slab.spacing;
        const Vector3 point = frame.pixelToWorld(x, y) + frame.plane.normal() * depth;
        doubtful = doubtful || isNearBorder(image, point);
        if (const double value = trilinear(image, point); !std::isnan(value))
            samples.push_back(value);
    }
    if (samples.empty())
        return std::numeric_limits<double>::quiet_NaN();
    double sum = 0.0;
    for (const double sample : samples)
        sum += sample;
    switch (frame.slab.mode) {
    case SlabMode::Mip:
        return *std::max_element(samples.begin(), samples.end());
    case SlabMode::MinIp:
        return *std::min_element(samples.begin(), samples.end());
    case SlabMode::Average:
        return sum / static_cast<double>(samples.size());
    case SlabMode::Sum:
        break;
    }
    return sum;
}

struct Comparison {
    double largest = 0.0; ///< in parts of the image's range of values, for a sum of one plane's
    int inside = 0;
    int outside = 0;
    int wrongSide = 0;
};

Comparison compare(const PlaneSampler& sampler, const PlaneFrame& frame) {
    Comparison result;
    const Image& image = sampler.image();
    double range =
        std::max(image.metadata().maximum - image.metadata().minimum, std::abs(image.metadata().maximum));
    if (frame.slab.mode == SlabMode::Sum)
        range *= frame.slab.count;
    PlaneValues values;
    sampler.sample(frame, values);
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            bool doubtful = false;
            const double expected = expectedValue(image, frame, x, y, doubtful);
            if (doubtful)
                continue;
            ++(std::isnan(expected) ? result.outside : result.inside);
            if (std::isnan(expected) != std::isnan(values.at(x, y)))
                ++result.wrongSide;
            else if (!std::isnan(expected))
                result.largest = std::max(result.largest, std::abs(values.at(x, y) - expected) / range);
        }
    }
    return result;
}

/// Noise changes by its whole range from voxel to voxel: a hundred-thousandth of it is a hundred-thousandth
/// of a voxel.
constexpr double tolerance = 1e-4;

TEST(PlaneSampler, InterpolatesEveryVoxelTypeInEveryGrid) {
    RandomFrames frames(1);
    int inside = 0;
    int outside = 0;
    for (const auto type :
         {VoxelType::UInt8, VoxelType::Int8, VoxelType::UInt16, VoxelType::Int16, VoxelType::UInt32,
          VoxelType::Int32, VoxelType::Float32}) {
        auto geometries = axisGeometries({17, 14, 11});
        for (int turned = 0; turned < 6; ++turned)
            geometries.push_back(obliqueGeometry(
                {17, 14, 11}, {0.8, 0.6, 1.5}, frames.between(-90.0, 90.0), frames.between(-90.0, 90.0),
                frames.between(-0.8, 0.8)));
        // Nothing to interpolate between along one or more axes.
        for (const std::array<int, 3>& size : std::vector<std::array<int, 3>>{
                 {2, 2, 2}, {9, 1, 7}, {9, 7, 1}, {1, 8, 9}, {5, 1, 1}, {1, 1, 1}})
            geometries.push_back(obliqueGeometry(size, {2.0, 2.0, 3.0}, 20.0, -30.0, 0.4));
        for (std::size_t index = 0; index < geometries.size(); ++index) {
            const auto image = noiseImage(geometries[index], type);
            const PlaneFrame frame = frames.next(*image);
            for (const auto code : codes()) {
                const Comparison found = compare(PlaneSampler(image, code), frame);
                EXPECT_LE(found.largest, tolerance) << voxelTypeName(type) << " in grid " << index;
                EXPECT_EQ(found.wrongSide, 0) << voxelTypeName(type) << " in grid " << index;
                inside += found.inside;
                outside += found.outside;
            }
        }
    }
    EXPECT_GT(inside, 300'000);
    EXPECT_GT(outside, 300'000);
}

TEST(PlaneSampler, FoldsTheSamplesOfASlabThatLieInside) {
    RandomFrames frames(2);
    for (const auto type : {VoxelType::Int16, VoxelType::UInt8, VoxelType::Float32}) {
        for (int mode = 0; mode < slabModeCount; ++mode) {
            const auto image =
                noiseImage(obliqueGeometry({60, 50, 40}, {0.5, 0.6, 0.7}, 10.0 * mode, 25.0, 0.2), type);
            for (const int count : {3, 25, 51}) {
                PlaneFrame frame = frames.next(*image);
                frame.slab = {static_cast<SlabMode>(mode), count, frames.between(0.2, 0.9)};
                for (const auto code : codes()) {
                    const Comparison found = compare(PlaneSampler(image, code), frame);
                    EXPECT_LE(found.largest, tolerance)
                        << slabModeName(frame.slab.mode) << " of " << count << ", " << voxelTypeName(type);
                    EXPECT_EQ(found.wrongSide, 0);
                    EXPECT_GT(found.inside, 0);
                }
            }
        }
    }
    // One plane is that plane in every mode.
    const auto image = noiseImage(axisGeometries({20, 20, 20}).front(), VoxelType::Int16);
    PlaneFrame frame = frames.next(*image);
    for (int mode = 0; mode < slabModeCount; ++mode) {
        frame.slab = {static_cast<SlabMode>(mode), 1, 1.0};
        EXPECT_LE(compare(PlaneSampler(image), frame).largest, tolerance);
    }
}

TEST(PlaneSampler, GivesThePlaneEquationOfALinearRamp) {
    // v(p) = 40 p·d − 300 in the patient, stored by a grid that is turned and sheared against it.
    const Vector3 direction{0.31, -0.53, 0.79};
    const ImageGeometry geometry = obliqueGeometry({200, 180, 160}, {0.4, 0.4, 0.5}, 33.0, 14.0, 0.1);
    const auto ramp = makeImage<float>(geometry, VoxelType::Float32, [&](int column, int row, int slice) {
        const Vector3 index{1.0 * column, 1.0 * row, 1.0 * slice};
        return 40.0 * dot(geometry.indexToWorld(index), direction) - 300.0;
    });
    PlaneFrame frame;
    frame.plane =
        PlaneGeometry(geometry.center() + Vector3{1.0, 2.0, -3.0}, {0.6, 0.7, 0.1}, {-0.5, 0.4, 1.0});
    frame.width = 300;
    frame.height = 250;
    frame.millimetresPerPixel = 0.13;
    for (const int count : {1, 25}) {
        frame.slab = {SlabMode::Average, count, 0.4};
        for (const auto code : codes()) {
            PlaneValues values;
            PlaneSampler(ramp, code).sample(frame, values);
            double largest = 0.0;
            for (int y = 0; y < frame.height; ++y)
                for (int x = 0; x < frame.width; ++x)
                    largest = std::max(
                        largest,
                        std::abs(
                            values.at(x, y) - (40.0 * dot(frame.pixelToWorld(x, y), direction) - 300.0)));
            EXPECT_LT(largest, 0.01) << "of values up to " << ramp->metadata().maximum;
        }
        // Through a slab the ramp rises evenly: its ends are the two outer planes.
        frame.slab.mode = SlabMode::Mip;
        PlaneValues brightest;
        PlaneSampler(ramp).sample(frame, brightest);
        const double rise = 40.0 * std::abs(dot(frame.plane.normal(), direction)) * 0.4 * (count - 1) / 2.0;
        const double middle = 40.0 * dot(frame.pixelToWorld(77, 88), direction) - 300.0;
        EXPECT_NEAR(brightest.at(77, 88), middle + rise, 0.01);
    }
}

TEST(PlaneSampler, ShowsTheBorderVoxelsWholeAndNothingBeyond) {
    const ImageGeometry geometry({4, 4, 3}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    const auto image =
        makeImage<std::int16_t>(geometry, VoxelType::Int16, [](int column, int row, int slice) {
            return 100.0 * column + 10.0 * row + slice;
        });
    PlaneFrame frame;
    frame.width = frame.height = 60; // a tenth of a voxel each: one voxel beyond the border on each side
    frame.millimetresPerPixel = 0.1;
    for (const double depth : {-0.45, 0.0, 2.0, 2.45}) {
        frame.plane = PlaneGeometry({1.5, 1.5, depth}, {1, 0, 0}, {0, 1, 0});
        PlaneValues values;
        PlaneSampler(image).sample(frame, values);
        const float slice = depth > 1.0 ? 2.0F : 0.0F;
        EXPECT_FLOAT_EQ(values.at(10, 10), slice);
        EXPECT_FLOAT_EQ(values.at(14, 14), slice);
        EXPECT_FLOAT_EQ(values.at(49, 49), 330.0F + slice);
        EXPECT_TRUE(std::isnan(values.at(9, 30)));
        EXPECT_TRUE(std::isnan(values.at(30, 9)));
        EXPECT_TRUE(std::isnan(values.at(50, 30)));
    }
    frame.plane = PlaneGeometry({1.5, 1.5, 2.55}, {1, 0, 0}, {0, 1, 0});
    PlaneValues values;
    PlaneSampler(image).sample(frame, values);
    EXPECT_TRUE(std::isnan(values.at(30, 30)));
    frame.width = 0;
    PlaneSampler(image).sample(frame, values);
    EXPECT_EQ(values.count(), 0U);
}

TEST(PlaneSampler, TakesTheFirstComponentOfAColourImage) {
    const ImageGeometry geometry({6, 5, 4}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    const auto image = makeImage<std::uint8_t>(
        geometry, VoxelType::UInt8,
        [](int part, int, int) { return part % 3 == 0 ? 10.0 * (part / 3) : 255.0; }, {}, 3);
    PlaneFrame frame;
    frame.plane = PlaneGeometry(geometry.center(), {1, 0, 0}, {0, 1, 0});
    frame.width = 10;
    frame.height = 8;
    frame.millimetresPerPixel = 0.5;
    PlaneValues values;
    PlaneSampler(image).sample(frame, values);
    for (int x = 1; x < 9; ++x)
        EXPECT_NEAR(values.at(x, 4), 10.0 * frame.pixelToWorld(x, 4)[0], 1e-4);
}

TEST(PlaneSampler, KeepsTheNoiseOfASumAtTheStrengthOfOnePlane) {
    const LevelWindow set{400.5, 1801.0, VoiFunction::Linear, {}};
    EXPECT_EQ(windowForSlab(set, {SlabMode::Average, 25, 1.0}), set);
    EXPECT_EQ(windowForSlab(set, {SlabMode::Sum, 1, 1.0}), set);
    const LevelWindow sum = windowForSlab(set, {SlabMode::Sum, 25, 1.0});
    for (const double value : {-500.0, 0.0, 100.0, 260.0})
        EXPECT_NEAR(applyWindow(sum, 25.0 * value), applyWindow(set, 5.0 * value), 1e-12);
}

} // namespace
