#include "tests/reading/measurements/MeasurementTestData.h"
#include "viewer/reading/measurements/MeasurementJump.h"
#include "viewer/reading/measurements/MeasurementList.h"
#include "viewer/reading/measurements/MeasurementValues.h"
#include "viewer/reading/records/MeasurementRecords.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace zorbel::test {
namespace {

using Kind = MeasurementKind;

Measurement lengthOn(const PlaneGeometry& plane) {
    return onPlane(Kind::Length, {plane.fromPlane(-20.0, 0.0), plane.fromPlane(20.0, 10.0)}, plane);
}

TEST(MeasurementList, keepsDrawingOrderAndNeverReusesAnId) {
    MeasurementList list;
    int records = 0;
    list.setChangeCallback([&](MeasurementList::Change change) {
        records += change == MeasurementList::Change::Records ? 1 : 0;
    });
    const int first = list.add(lengthOn({}));
    const int second = list.add(onPlane(Kind::Probe, {{1, 2, 3}}));
    EXPECT_TRUE(list.remove(second));
    EXPECT_FALSE(list.remove(second));
    const int third = list.add(onPlane(Kind::Probe, {{3, 2, 1}}));
    EXPECT_NE(third, second);
    EXPECT_EQ(list.measurements().front().id, first);
    EXPECT_EQ(records, 4);

    Measurement changed = *list.find(first);
    EXPECT_TRUE(list.replace(changed)); // nothing to save
    EXPECT_EQ(records, 4);
    changed.points[0] = {9, 9, 9};
    EXPECT_TRUE(list.replace(changed));
    EXPECT_EQ(records, 5);
    EXPECT_EQ(list.measurements().front().points[0], (Vector3{9, 9, 9}));
}

TEST(MeasurementPlane, showsWhatLiesWithinHalfASlab) {
    const PlaneGeometry plane = obliquePlane();
    const Measurement drawn = lengthOn(plane);
    const auto shownAt = [&](double distance, double thickness) {
        return MeasurementPlane::ofVolume(
                   plane.movedTo(plane.center() + plane.normal() * distance), thickness, {})
            .shows(drawn);
    };
    EXPECT_TRUE(shownAt(0.0, 0.5));
    EXPECT_TRUE(shownAt(0.25, 0.5));
    EXPECT_FALSE(shownAt(0.26, 0.5));
    EXPECT_FALSE(shownAt(-0.5, 0.5)); // the next slice
    EXPECT_TRUE(shownAt(-2.4, 5.0));
    EXPECT_FALSE(shownAt(2.6, 5.0));
    // Seen from behind, or turned within itself, it is the same plane; turned out of itself it is not.
    EXPECT_TRUE(MeasurementPlane::ofVolume(
                    PlaneGeometry(plane.center(), plane.axisVector(1), plane.axisVector(0)), 0.5, {})
                    .shows(drawn));
    EXPECT_FALSE(
        MeasurementPlane::ofVolume(
            PlaneGeometry(plane.center(), plane.axisVector(0), plane.axisVector(1) + plane.normal() * 0.02),
            50.0, {})
            .shows(drawn));
    EXPECT_FALSE(MeasurementPlane::ofVolume(plane, 0.5, "1.2").isParallelTo([&] {
        Measurement other = drawn;
        other.seriesInstanceUid = "1.3";
        return other;
    }()));
}

TEST(MeasurementPlane, anImageShowsWhatWasDrawnOnTheSameFrame) {
    ImageMetadata metadata;
    metadata.seriesInstanceUID = "1.2.3";
    const ImageGeometry grid({8, 8, 2}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    const auto zero = [](const Vector3&) { return 0.0; };
    const auto image = imageOf<std::uint8_t>(grid, zero, metadata);
    Measurement drawn = MeasurementPlane::ofImage(*image, 1).newMeasurement(Kind::Probe);
    drawn.points = {{2, 2, 0}};
    EXPECT_TRUE(MeasurementPlane::ofImage(*image, 1).shows(drawn));
    EXPECT_FALSE(MeasurementPlane::ofImage(*image, 0).shows(drawn));
    EXPECT_FALSE(MeasurementPlane::ofVolume({}, 100.0, "1.2.3").shows(drawn));
    EXPECT_FALSE(MeasurementPlane::ofImage(*image, 1).shows(onPlane(Kind::Probe, {{2, 2, 0}})));
    metadata.seriesInstanceUID = "1.2.4";
    EXPECT_FALSE(MeasurementPlane::ofImage(*imageOf<std::uint8_t>(grid, zero, metadata), 1).shows(drawn));
}

PlaneBases standardBases() {
    return {{{{1, 0, 0}, {0, 1, 0}}, {{1, 0, 0}, {0, 0, -1}}, {{0, 1, 0}, {0, 0, -1}}}};
}

bool isShownAfter(const MeasurementJump& jump, const Measurement& measurement) {
    const PlaneBasis& basis = basisOf(jump.bases, jump.view);
    return MeasurementPlane::ofVolume(PlaneGeometry(jump.point, basis.axis0, basis.axis1), 0.05, {})
        .shows(measurement);
}

TEST(MeasurementJump, turnsThePlanesOnlyWhereItMust) {
    const PlaneGeometry coronal({0, 7, 0}, {1, 0, 0}, {0, 0, -1});
    const auto straight = MeasurementJump::to(lengthOn(coronal), standardBases());
    EXPECT_FALSE(straight.turnsPlanes);
    EXPECT_EQ(straight.view, imaging::ViewDirection::Coronal);
    EXPECT_EQ(straight.bases, standardBases());
    EXPECT_TRUE(isShownAfter(straight, lengthOn(coronal)));

    const Measurement oblique = lengthOn(obliquePlane());
    const auto turned = MeasurementJump::to(oblique, standardBases());
    EXPECT_TRUE(turned.turnsPlanes);
    EXPECT_TRUE(areOrthogonal(turned.bases));
    EXPECT_TRUE(isShownAfter(turned, oblique));
    // Nearly parallel is not enough: the ends of a long line would lie beside the slice.
    const Measurement nearly = lengthOn(PlaneGeometry({0, 0, 0}, {1, 0, 0.005}, {0, 1, 0}));
    EXPECT_TRUE(isShownAfter(MeasurementJump::to(nearly, standardBases()), nearly));
    // Once there, nothing turns any more.
    EXPECT_FALSE(MeasurementJump::to(oblique, turned.bases).turnsPlanes);

    Measurement broken = oblique;
    broken.planeAxisY = broken.planeAxisX;
    EXPECT_FALSE(MeasurementJump::to(broken, standardBases()).turnsPlanes);
}

TEST(MeasurementViewName, namesTheNearestPlane) {
    EXPECT_EQ(measurementViewName(lengthOn({})), "Axial");
    EXPECT_EQ(measurementViewName(lengthOn(PlaneGeometry({}, {0, 1, 0}, {0, 0, -1}))), "Sagittal");
    EXPECT_EQ(measurementViewName(lengthOn(PlaneGeometry({}, {1, 0.3, 0}, {0, 0, -1}))), "Coronal, oblique");
}

TEST(MeasurementRecords, comeBackAsTheyWere) {
    Measurement oblique = lengthOn(obliquePlane());
    oblique.seriesInstanceUid = "1.2.3";
    Measurement onImage = onPlane(Kind::Oval, {{1.0 / 3.0, -2.5e-7, 0.0}, {1e9, 2.0, 0.0}});
    onImage.calibration = MeasurementCalibration::Magnified;
    onImage.calibrationFactor = 1.1;
    onImage.slice = 7;
    const std::vector<Measurement> written{
        oblique, onPlane(Kind::Angle, {{1, 0, 0}, {0, 0, 0}, {0, 1, 0}}), onImage};
    const auto read = MeasurementRecords::fromJson(MeasurementRecords::toJson(written));
    EXPECT_EQ(read.measurements, written);
    EXPECT_EQ(read.unreadable, 0);
}

TEST(MeasurementRecords, leaveOutWhatCannotBeRead) {
    const std::string good =
        R"({"tool":"probe","points":[[1,2,3]],"planeAxisX":[1,0,0],"planeAxisY":[0,1,0])";
    EXPECT_EQ(MeasurementRecords::fromJson("[" + good + "}]").measurements.size(), 1U);
    for (const std::string& bad :
         {good + R"(,"slice":-1})", good + R"(,"slice":1e300})", good + R"(,"slice":0.5})",
          good + R"(,"calibration":"yards"})", good + R"(,"calibration":3})",
          good + R"(,"calibrationFactor":0})", good + R"(,"seriesInstanceUid":{}})",
          good + R"(,"points":[]})", good + R"(,"points":[[1,2]]})", good + R"(,"points":[[1,2,"3"]]})",
          good + R"(,"tool":"ruler"})", good + R"(,"tool":"length"})", good + R"(,"planeAxisY":null})",
          std::string("17"), std::string("[]")}) {
        const auto read = MeasurementRecords::fromJson("[" + good + "}," + bad + "," + good + "}]");
        EXPECT_EQ(read.measurements.size(), 2U) << bad;
        EXPECT_EQ(read.unreadable, 1) << bad;
    }
    for (const char* text : {"", "{}", "null", "[", "[[[[[[", "[1e999]"})
        EXPECT_EQ(MeasurementRecords::fromJson(text).unreadable, 1) << text;
}

TEST(MeasurementList, takesOverUsableRecordsOnly) {
    MeasurementList list;
    const int before = list.add(lengthOn({}));
    list.select(before);
    Measurement broken = lengthOn({});
    broken.points[1][2] = std::numeric_limits<double>::infinity();
    Measurement tooMany = lengthOn({});
    tooMany.points.push_back({0, 0, 0});
    EXPECT_EQ(list.assign({broken, tooMany, onPlane(Kind::Box, {{1, 1, 1}})}), 2);
    ASSERT_EQ(list.measurements().size(), 1U);
    EXPECT_EQ(list.measurements().front().points.size(), 2U);
    EXPECT_NE(list.measurements().front().id, before);
    EXPECT_EQ(list.selected(), std::nullopt);
}

} // namespace
} // namespace zorbel::test
