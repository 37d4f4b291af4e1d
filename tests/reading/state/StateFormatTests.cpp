#include "tests/reading/state/StateFixture.h"
#include "viewer/reading/state/RecentStudies.h"
#include "viewer/reading/state/RecordLists.h"
#include "viewer/reading/state/SessionFile.h"
#include "viewer/reading/state/TimeStamp.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>

namespace zorbel::tests {
namespace {

using nlohmann::json;

json positionFile() {
    return json::parse(readingPositionText(samplePosition("1.2")));
}

TEST(ReadingPositionTest, hasTheAgreedForm) {
    auto file = positionFile();
    EXPECT_EQ(file["series"]["1.9"], file["reading"]);
    file.erase("series");
    file.erase("lastSeries");
    EXPECT_EQ(file, json::parse(R"({"version": 1, "studyInstanceUid": "1.2", "modality": "CT",
        "reading": {"crosshair": [1.5, -20.25, 0.001], "axes": {"axial": [[1, 0, 0], [0, 1, 0]],
        "coronal": [[1, 0, 0], [0, 0, -1]], "sagittal": [[0, 1, 0], [0, 0, -1]]}}})"));
}

TEST(ReadingPositionTest, turnedPlanesComeBackToTheLastBit) {
    auto position = samplePosition("1.2", 1.0 / 3.0);
    auto& axes = position.series["1.9"].axes;
    axes = *rotatedAbout(axes, imaging::ViewDirection::Axial, 0.7);
    axes = *rotatedAbout(axes, imaging::ViewDirection::Sagittal, -0.3);
    position.series["1.10"] = samplePosition("1.2", 7.0).series["1.9"];
    EXPECT_EQ(readingPositionFrom(readingPositionText(position)), position);
}

TEST(ReadingPositionTest, axesOffByMoreThanAThousandthAreIgnored) {
    for (const auto& [off, applied] :
         {std::pair(0.002, false), std::pair(0.0011, false), std::pair(0.0009, true)}) {
        auto file = positionFile();
        file["reading"]["axes"]["coronal"][1] = {0.0, off, -std::sqrt(1.0 - off * off)};
        EXPECT_EQ(readingPositionFrom(file.dump()).has_value(), applied) << off;
    }
}

TEST(ReadingPositionTest, whatIsNoPositionIsIgnored) {
    const auto refused = [](const char* pointer, const json& value) {
        auto file = positionFile();
        file[json::json_pointer(pointer)] = value;
        return !readingPositionFrom(file.dump());
    };
    EXPECT_TRUE(refused("/version", 2));
    EXPECT_TRUE(refused("/version", 1.5));
    EXPECT_TRUE(refused("/reading", json::array()));
    EXPECT_TRUE(refused("/reading/crosshair", {1, 2}));
    EXPECT_TRUE(refused("/reading/crosshair", {1, 2, nullptr}));
    EXPECT_TRUE(refused("/reading/crosshair", {1, 2, 1e300}));
    EXPECT_TRUE(refused("/reading/axes/axial", json::object()));
    EXPECT_TRUE(refused("/reading/axes/axial/0", {0, 0, 1e-9}));
    EXPECT_TRUE(refused("/reading/axes/axial/0", {0, 2, 0})) << "both axes on one line";
    EXPECT_TRUE(refused("/reading/axes/axial/0", {"1", "0", "0"}));
    for (const char* text : {"", "{", "[]", "null", "{\"version\":1}", "\xff", "{\"version\":1e999}"})
        EXPECT_FALSE(readingPositionFrom(text)) << text;
}

TEST(HangingProtocolTest, everySeriesComesBackAndTheLastOneUnderTheAgreedNames) {
    HangingProtocol hanging = sampleHanging().series["1.9"];
    hanging.layout = Layout::PrimaryPlusThree;
    hanging.primary = 3;
    hanging.slabEnabled = true;
    hanging.slabHalfSlices = 3;
    hanging.slabMode = 2;
    hanging.tool = Tool::BoxRoi;
    auto study = sampleHanging();
    study.series["1.9"] = hanging;
    EXPECT_EQ(hangingProtocolFrom(hangingProtocolText(study)), study);
    auto file = json::parse(hangingProtocolText(study));
    for (const char* further : {"series", "lastSeries", "slabMode", "windowFunction", "views"})
        file.erase(further);
    EXPECT_EQ(
        file, json::parse(R"({"layout": "primary-plus-three", "primary": "volume3d", "windowWidth": 400.0,
        "windowLevel": 50.0, "slabEnabled": true, "slabHalfSlices": 3, "tool": "rectangle-roi"})"));
}

TEST(HangingProtocolTest, unknownAndWrongValuesAreAsNeverOpened) {
    const auto read = [](const char* text) { return hangingProtocolFrom(text)->of("any series"); };
    EXPECT_EQ(
        read(R"({"layout": "5x5", "primary": 1, "windowWidth": 0, "windowLevel": 3, "slabEnabled": 1,
            "slabHalfSlices": "x", "slabMode": "thick", "tool": "knife"})"),
        HangingProtocol());
    EXPECT_EQ(read(R"({"slabHalfSlices": 1e300})").slabHalfSlices, 25) << "of a file that names no series";
    EXPECT_EQ(read(R"({"slabHalfSlices": -4})").slabHalfSlices, 1);
    EXPECT_EQ(
        read(R"({"tool": "pan", "series": {"1.9": {"tool": "zoom"}, "1.10": 3},
            "views": {"0": {"scale": 0, "center": [1, 2, 3]}}})"),
        HangingProtocol())
        << "another series was never opened";
    EXPECT_FALSE(hangingProtocolFrom("[]"));
}

TEST(RecordListsTest, findingsComeBack) {
    EXPECT_EQ(findingsFrom(findingsText(sampleFindings())), sampleFindings());
    const auto record = json::parse(findingsText(sampleFindings()))["findings"][0];
    EXPECT_EQ(record["toothFdi"], 48);
    EXPECT_EQ(record["region"], "none");
    EXPECT_EQ(record["location"], json::parse(R"({"x": 0.1, "y": -2.0, "z": 1e6})"));
}

TEST(RecordListsTest, ofFindingsWithAWrongRecordTheOthersAreRead) {
    const auto list = findingsFrom(R"({"findings": [7, {"category": "gone", "toothFdi": 19, "note": 3},
        {"category": "caries", "toothFdi": 85, "region": "airway", "location": {"x": 1, "y": 2}}]})");
    ASSERT_TRUE(list);
    ASSERT_EQ(list->findings().size(), 2U);
    EXPECT_EQ(list->findings()[0], Finding(FindingCategory::Other, FindingRegion::Other));
    EXPECT_EQ(list->findings()[1], Finding(FindingCategory::Caries, *FdiTooth::fromCode(85)));
    EXPECT_FALSE(findingsFrom(R"({"findings": {}})"));
    EXPECT_FALSE(findingsFrom("[]"));
}

TEST(RecordListsTest, aNoteThatIsNoUtf8DoesNotMakeTheListUnreadable) {
    EXPECT_EQ(
        findingsFrom(findingsText(sampleFindings("a\xff"
                                                 "b")))
            ->findings()[0]
            .note,
        "a\xef\xbf\xbd"
        "b");
}

TEST(RecordListsTest, keyImagesThatNameOtherFilesAreLeftOut) {
    const KeyImageList list({{"key-2.png", "Axial · slice 1/2", 640, 480}});
    EXPECT_EQ(keyImagesFrom(keyImagesText(list)), list);
    const auto read = keyImagesFrom(R"({"keyImages": [{"fileName": "../../x.png", "width": 1, "height": 1},
        {"fileName": "key-1.png", "width": 1, "height": 0}, {"fileName": "key-2.png", "width": 2, "height": 2},
        {"fileName": "key-2.png", "width": 3, "height": 3}]})");
    EXPECT_EQ(read, KeyImageList({{"key-2.png", "", 2, 2}}));
}

TEST(RecordListsTest, measurementsAreHandedThrough) {
    const std::string array = R"([{"points":[[0.1,2.0,-3.0]],"tool":"probe"}])";
    EXPECT_EQ(measurementsFrom(*measurementsText(array)), array);
    for (const char* text : {"", "{}", "[", "7"})
        EXPECT_FALSE(measurementsText(text)) << text;
    // Deep enough to exhaust the stack of whoever copies it.
    const std::string deep = std::string(1 << 20, '[') + std::string(1 << 20, ']');
    EXPECT_FALSE(measurementsText(deep));
    EXPECT_FALSE(measurementsFrom(R"({"annotations": )" + deep + "}"));
}

TEST(RecentStudiesTest, newestFirstNoneTwiceAndAtMostTwenty) {
    RecentStudies studies;
    for (int index = 0; index < 25; ++index)
        studies.opened({{.studyInstanceUid = "1." + std::to_string(index)}, "2026"});
    studies.opened({{.studyInstanceUid = " 1.10 ", .patientName = "again"}, "1999"});
    studies.opened({{.studyInstanceUid = "not a uid"}});
    ASSERT_EQ(studies.studies().size(), RecentStudies::most);
    EXPECT_EQ(studies.studies()[0].study.studyInstanceUid, "1.10");
    EXPECT_EQ(studies.studies()[0].study.patientName, "again");
    EXPECT_EQ(studies.studies()[1].study.studyInstanceUid, "1.24");
    EXPECT_EQ(studies.studies().back().study.studyInstanceUid, "1.5");
    EXPECT_EQ(recentStudiesFrom(recentStudiesText(studies)), studies);
}

TEST(RecentStudiesTest, ofARepeatedEntryTheNewestIsRead) {
    const auto studies = recentStudiesFrom(
        R"([{"studyUID": "1.2", "patientName": "new"}, 5, {"studyUID": "x"}, {"studyUID": "1.2", "patientName": "old"}])");
    ASSERT_TRUE(studies);
    ASSERT_EQ(studies->studies().size(), 1U);
    EXPECT_EQ(studies->studies()[0].study.patientName, "new");
    EXPECT_FALSE(recentStudiesFrom("{}"));
}

} // namespace
} // namespace zorbel::tests
