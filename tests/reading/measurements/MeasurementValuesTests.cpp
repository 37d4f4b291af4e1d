#include "tests/reading/measurements/MeasurementTestData.h"
#include "viewer/reading/measurements/MeasurementValues.h"
#include "viewer/reading/measurements/VoxelSampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>

namespace zorbel::test {
namespace {

using Kind = MeasurementKind;

/// 41 × 31 × 21 voxels about the origin whose slices slip sideways, as with a tilted gantry.
ImageGeometry shearedGrid() {
    return ImageGeometry(
        {41, 31, 21}, {-10.0, -9.0, -10.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.5, 0.6, 1.0},
        {0.0, 0.2, 1.0});
}

double ramp(const Vector3& point) {
    return 2.0 * point[0] + 3.0 * point[1] - point[2] + 100.0;
}

std::string labelOf(const Measurement& measurement, const VoxelSampler* sampler = nullptr) {
    return MeasurementValues::of(measurement, sampler).label;
}

TEST(VoxelSampler, readsARampExactlyBetweenTheVoxelsOfAShearedGrid) {
    const VoxelSampler sampler(imageOf<float>(shearedGrid(), ramp));
    for (const Vector3& point :
         {Vector3{0.0, 0.0, 0.0}, Vector3{1.234, -2.71, 3.3}, Vector3{-4.9, 3.05, -7.77}}) {
        const auto value = sampler.valueAt(point);
        ASSERT_TRUE(value);
        EXPECT_NEAR(*value, ramp(point), 1e-4); // the voxels are single precision
    }
}

TEST(VoxelSampler, endsAtTheVoxelsBorders) {
    const VoxelSampler sampler(imageOf<std::int16_t>(
        ImageGeometry({3, 2, 1}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {2.0, 1.0, 4.0}),
        [](const Vector3& p) { return 100.0 * p[0] - 7.0; }));
    EXPECT_EQ(sampler.valueAt({-0.99, 0.0, 0.0}), -7.0); // as the outermost centre
    EXPECT_EQ(sampler.valueAt({4.99, 1.49, 1.99}), 393.0);
    EXPECT_EQ(sampler.valueAt({1.0, 0.0, -1.9}), 93.0);
    EXPECT_FALSE(sampler.valueAt({-1.01, 0.0, 0.0}));
    EXPECT_FALSE(sampler.valueAt({0.0, 1.51, 0.0}));
    EXPECT_FALSE(sampler.valueAt({0.0, 0.0, 2.01}));
    EXPECT_FALSE(sampler.valueAt({std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0}));
}

TEST(VoxelSampler, readsNothingWhereThereIsNoOneNumber) {
    const ImageGeometry grid({4, 4, 1}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    const VoxelSampler colour(imageOf<std::uint8_t>(
        grid, [](const Vector3&) { return 9.0; }, {}, 3));
    EXPECT_FALSE(colour.valueAt({1.0, 1.0, 0.0}));
    const VoxelSampler holed(imageOf<float>(
        grid, [](const Vector3& p) { return p[0] > 2.5 ? std::numeric_limits<double>::quiet_NaN() : 5.0; }));
    EXPECT_EQ(holed.valueAt({1.5, 1.0, 0.0}), 5.0);
    EXPECT_FALSE(holed.valueAt({2.5, 1.0, 0.0}));
}

TEST(MeasurementValues, lengthSaysMillimetresAndTheValuesAlongThePath) {
    EXPECT_EQ(labelOf(onPlane(Kind::Length, {{0, 0, 0}, {6.0, 8.0, 0.0}})), "10.00 mm");
    // Across an oblique plane: 10 mm along its first axis.
    const PlaneGeometry plane = obliquePlane();
    const Vector3 from = plane.fromPlane(-5.0, 1.0);
    const Measurement oblique = onPlane(Kind::Length, {from, plane.fromPlane(5.0, 1.0)}, plane);
    EXPECT_NEAR(MeasurementValues::of(oblique, nullptr).length, 10.0, 1e-12);

    const VoxelSampler sampler(imageOf<float>(shearedGrid(), ramp));
    const Measurement along = onPlane(Kind::Length, {{-2.0, 0.0, 1.0}, {6.0, 0.0, 1.0}});
    EXPECT_EQ(labelOf(along, &sampler), "8.00 mm  95 / 103 / 111");
    EXPECT_EQ(MeasurementValues::of(along, &sampler).samples->count, 24);
    // What lies outside the volume does not count, and nothing is said where all of it does.
    const Measurement leaving = onPlane(Kind::Length, {{5.0, 0.0, 0.0}, {50.0, 0.0, 0.0}});
    EXPECT_NEAR(MeasurementValues::of(leaving, &sampler).samples->maximum, 117.826, 1e-3);
    EXPECT_EQ(labelOf(onPlane(Kind::Length, {{50.0, 0.0, 0.0}, {60.0, 0.0, 0.0}}), &sampler), "10.00 mm");
}

TEST(MeasurementValues, anglesOfAnyPlaneAndOfNoLeg) {
    EXPECT_EQ(labelOf(onPlane(Kind::Angle, {{9, 0, 0}, {0, 0, 0}, {0, 2, 0}})), "90.0 deg");
    EXPECT_EQ(labelOf(onPlane(Kind::Angle, {{9, 0, 0}, {0, 0, 0}, {-1, 0, 0}})), "180.0 deg");
    EXPECT_EQ(labelOf(onPlane(Kind::Angle, {{1, 1, 0}, {1, 1, 0}, {5, 1, 0}})), "0.0 deg");
    const PlaneGeometry plane = obliquePlane();
    for (const double degrees : {0.01, 33.3, 120.0, 179.99}) {
        const double radians = degrees * std::numbers::pi / 180.0;
        const Measurement angle = onPlane(
            Kind::Angle,
            {plane.fromPlane(12.0, 0.0), plane.fromPlane(0.0, 0.0),
             plane.fromPlane(7.0 * std::cos(radians), 7.0 * std::sin(radians))},
            plane);
        EXPECT_NEAR(MeasurementValues::of(angle, nullptr).degrees, degrees, 1e-9);
    }
}

TEST(MeasurementValues, probeReadsTheVoxelValueOrSaysThatItCannot) {
    const VoxelSampler sampler(imageOf<float>(shearedGrid(), ramp));
    EXPECT_EQ(labelOf(onPlane(Kind::Probe, {{1.0, 1.0, 1.0}}), &sampler), "104");
    EXPECT_EQ(labelOf(onPlane(Kind::Probe, {{99.0, 1.0, 1.0}}), &sampler), "--");
    EXPECT_EQ(labelOf(onPlane(Kind::Probe, {{1.0, 1.0, 1.0}})), "--");
}

TEST(MeasurementValues, areasAreThoseAlongThePlanesAxes) {
    EXPECT_EQ(labelOf(onPlane(Kind::Box, {{5, 5, 0}, {-5, 9, 0}})), "40.0 mm2");
    EXPECT_EQ(labelOf(onPlane(Kind::Box, {{5, 5, 0}, {5, 9, 0}})), "0.0 mm2");
    EXPECT_EQ(labelOf(onPlane(Kind::Oval, {{0, 0, 0}, {20, 10, 0}})), "157.1 mm2");
    const PlaneGeometry plane = obliquePlane();
    Measurement box = onPlane(Kind::Box, {plane.fromPlane(-3.0, 2.0), plane.fromPlane(4.0, -8.0)}, plane);
    box.planeAxisX = box.planeAxisX * 5.0; // files need not hold unit vectors
    EXPECT_NEAR(MeasurementValues::of(box, nullptr).area, 70.0, 1e-9);
}

TEST(MeasurementValues, regionsSampleTheirInsideOnly) {
    // A ball of 1000 in air: an oval that touches its rim sees nothing but the ball, the box around it does.
    const ImageGeometry grid({61, 61, 61}, {-15, -15, -15}, {1, 0, 0}, {0, 1, 0}, {0.5, 0.5, 0.5});
    const VoxelSampler ball(imageOf<std::int16_t>(
        grid, [](const Vector3& p) { return imaging::length(p) <= 10.0 ? 1000.0 : -1000.0; }));
    const PlaneGeometry plane({0.0, 0.0, 0.0}, {0.8, 0.3, -0.5}, {0.2, 0.7, 0.74});
    const std::vector<Vector3> corners{plane.fromPlane(-9.0, 9.0), plane.fromPlane(9.0, -9.0)};
    const auto oval = MeasurementValues::of(onPlane(Kind::Oval, corners, plane), &ball);
    EXPECT_EQ(oval.label, "254.5 mm2\n1000 +/- 0  [1000, 1000]");
    EXPECT_EQ(oval.lineLabel(), "254.5 mm2  1000 +/- 0  [1000, 1000]");
    EXPECT_NEAR(oval.samples->count, 1024 * std::numbers::pi / 4.0, 12);
    const auto box = MeasurementValues::of(onPlane(Kind::Box, corners, plane), &ball);
    EXPECT_EQ(box.samples->count, 1024);
    EXPECT_EQ(box.samples->minimum, -1000.0);

    // The mean of a ramp is its value in the middle, the deviation that of evenly spaced values.
    const VoxelSampler slope(imageOf<float>(grid, [](const Vector3& p) { return 10.0 * p[0]; }));
    const auto values =
        MeasurementValues::of(onPlane(Kind::Box, {{-4.0, -3.0, 0.0}, {8.0, 3.0, 0.0}}), &slope);
    EXPECT_NEAR(values.samples->mean, 20.0, 1e-4);
    EXPECT_NEAR(values.samples->deviation, 120.0 / 32.0 * std::sqrt((32.0 * 32.0 - 1.0) / 12.0), 1e-4);
    EXPECT_NEAR(values.samples->maximum, 80.0 - 120.0 / 64.0, 1e-4);
}

TEST(MeasurementValues, nothingIsSaidOfWhatIsIncompleteOrFlat) {
    const VoxelSampler sampler(imageOf<float>(shearedGrid(), ramp));
    for (const Kind kind : {Kind::Length, Kind::Angle, Kind::Probe, Kind::Box, Kind::Oval}) {
        std::vector<Vector3> points(measurementPointCount(kind) - 1, Vector3{1.0, 2.0, 3.0});
        const auto values = MeasurementValues::of(onPlane(kind, points), &sampler);
        EXPECT_EQ(values.label, "");
        EXPECT_EQ(values.length + values.degrees + values.area, 0.0);
    }
    Measurement flat = onPlane(Kind::Box, {{0, 0, 0}, {2, 2, 0}});
    flat.planeAxisY = {0.0, 1e-9, 0.0};
    EXPECT_EQ(labelOf(flat, &sampler), "0.0 mm2");
}

TEST(MeasurementValues, anotherSeriesVoxelsAreNotRead) {
    ImageMetadata metadata;
    metadata.seriesInstanceUID = "1.2.3";
    const VoxelSampler sampler(imageOf<float>(shearedGrid(), ramp, metadata));
    Measurement probe = onPlane(Kind::Probe, {{1.0, 1.0, 1.0}});
    EXPECT_EQ(labelOf(probe, &sampler), "104");
    probe.seriesInstanceUid = "1.2.4";
    EXPECT_EQ(labelOf(probe, &sampler), "--");
}

/// Of a 2D image of 200 × 100 pixels: 30 columns and 40 rows apart.
Measurement drawnOn(const Image& image, Kind kind) {
    const ImageGrid2D grid(image);
    Measurement measurement = MeasurementPlane::ofImage(image, 0).newMeasurement(kind);
    measurement.points = {grid.fromPixel({10.0, 20.0}), grid.fromPixel({40.0, 60.0})};
    return measurement;
}

std::shared_ptr<const Image> image2D(const ImageMetadata& metadata, double across, double down) {
    // Colour, so that labels hold no voxel values.
    return imageOf<std::uint8_t>(
        ImageGeometry({200, 100, 1}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {across, down, 1.0}),
        [](const Vector3&) { return 0.0; }, metadata, 3);
}

TEST(MeasurementValues, imagesCountInMillimetresOnlyWhereTheyAreCalibrated) {
    ImageMetadata metadata;
    const auto labels = [&](double across, double down) {
        const auto image = image2D(metadata, across, down);
        return labelOf(drawnOn(*image, Kind::Length)) + "; " + labelOf(drawnOn(*image, Kind::Box));
    };
    EXPECT_EQ(labels(1.0, 1.0), "50.0 px; 1200.0 px2");
    metadata.pixelAspectRatio = 2.0; // 30 × 80 column widths
    EXPECT_EQ(labels(1.0, 2.0), "85.4 px; 2400.0 px2");

    metadata.pixelAspectRatio = 1.0;
    metadata.spacingSource = imaging::SpacingSource::PixelSpacing;
    EXPECT_EQ(labels(0.1, 0.1), "5.00 mm; 12.0 mm2");
    metadata.magnification = 1.25; // already in the pixel spacing
    EXPECT_EQ(labels(0.1, 0.1), "5.00 mm; 12.0 mm2");
    metadata.pixelAspectRatio = 2.0; // 3 mm × 8 mm
    EXPECT_EQ(labels(0.1, 0.2), "8.54 mm; 24.0 mm2");

    metadata.spacingSource = imaging::SpacingSource::ImagerPixelSpacing;
    metadata.pixelAspectRatio = 1.0;
    EXPECT_EQ(labels(0.1, 0.1), "4.00 mm (magnification 1.25); 7.7 mm2 (magnification 1.25)");
    metadata.magnification.reset();
    EXPECT_EQ(labels(0.1, 0.1), "50.0 px (5.00 mm at the detector); 1200.0 px2 (12.0 mm2 at the detector)");
}

TEST(MeasurementValues, anglesAndProbesOfPixelsThatAreNotSquare) {
    ImageMetadata metadata;
    metadata.pixelAspectRatio = 3.0;
    const auto image = imageOf<std::int16_t>(
        ImageGeometry({50, 50, 3}, {7, 8, 9}, {0, 1, 0}, {0, 0, 1}, {1.0, 3.0, 1.0}),
        [](const Vector3& p) { return 10.0 * (p[1] - 8.0) + (p[2] - 9.0) / 3.0 + 1000.0 * (p[0] - 7.0); },
        metadata);
    const ImageGrid2D grid(*image);
    Measurement angle = MeasurementPlane::ofImage(*image, 2).newMeasurement(Kind::Angle);
    angle.points = {grid.fromPixel({10, 10}), grid.fromPixel({4, 10}), grid.fromPixel({10, 12})};
    EXPECT_EQ(labelOf(angle), "45.0 deg");
    // Read in the drawn frame, whatever the image's place in the patient.
    Measurement probe = MeasurementPlane::ofImage(*image, 2).newMeasurement(Kind::Probe);
    probe.points = {grid.fromPixel({12.5, 30.0})};
    const VoxelSampler sampler(image);
    EXPECT_EQ(labelOf(probe, &sampler), "2155");
}

TEST(MeasurementValues, eachImageOfASetIsMeasuredByItsOwnScaleAndValues) {
    ImageMetadata metadata;
    metadata.spacingSource = imaging::SpacingSource::PixelSpacing;
    const auto member = [&](double spacing, double value) {
        return imageOf<std::int16_t>(
            ImageGeometry({60, 80, 1}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {spacing, spacing, 1.0}),
            [=](const Vector3&) { return value; }, metadata);
    };
    const std::vector<std::shared_ptr<const Image>> members{member(0.1, 7.0), member(0.2, 9.0)};
    const auto canvas = imageOf<std::int16_t>(
        ImageGeometry({60, 80, 2}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0.1, 0.1, 1.0}),
        [](const Vector3&) { return 0.0; }, metadata);
    const auto set = std::make_shared<const Image>(
        canvas->geometry(), VoxelType::Int16, 1,
        std::shared_ptr<const std::byte[]>(canvas, canvas->voxels().data()), canvas->voxels().size(),
        metadata, members);
    const VoxelSampler sampler(set);
    for (const auto& [slice, label] : {std::pair(0, "5.00 mm  7 / 7 / 7"), {1, "10.00 mm  9 / 9 / 9"}}) {
        const ImageGrid2D grid(*set->member(slice));
        Measurement drawn = MeasurementPlane::ofImage(*set, slice).newMeasurement(Kind::Length);
        drawn.points = {grid.fromPixel({10.0, 20.0}), grid.fromPixel({40.0, 60.0})};
        EXPECT_EQ(labelOf(drawn, &sampler), label);
    }
}

} // namespace
} // namespace zorbel::test
