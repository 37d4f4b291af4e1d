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
    EXPECT_EQ(positionFile(), json::parse(R"({"version": 1, "studyInstanceUid": "1.2", "modality": "CT",
        "reading": {"crosshair": [1.5, -20.25, 0.001], "axes": {"axial": [[1, 0, 0], [0, 1, 0]],
        "coronal": [[1, 0, 0], [0, 0, -1]], "sagittal": [[0, 1, 0], [0, 0, -1]]}}})"));
}

TEST(ReadingPositionTest, turnedPlanesComeBackToTheLastBit) {
    auto position = samplePosition("1.2", 1.0 / 3.0);
    position.axes = *rotatedAbout(position.axes, imaging::ViewDirection::Axial, 0.7);
    position.axes = *rotatedAbout(position.axes, imaging::ViewDirection::Sagittal, -0.3);
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

TEST(HangingProtocolTest, everyValueComesBackUnderTheAgreedNames) {
    for (int tool = 0; tool <= 10; ++tool) {
        const HangingProtocol hanging{
            .layout = static_cast<Layout>(tool % 4),
            .primary = static_cast<Viewport>(tool % 4),
            .window = HangingProtocol::Window{1800.5, -400.0},
            .slabEnabled = tool % 2 == 1,
            .slabHalfSlices = 1 + tool,
            .tool = static_cast<Tool>(tool)};
        EXPECT_EQ(hangingProtocolFrom(hangingProtocolText(hanging)), hanging);
    }
    const auto file = json::parse(hangingProtocolText(
        {.layout = Layout::PrimaryPlusThree,
         .primary = VolumeViewport,
         .window = HangingProtocol::Window{10, 20},
         .slabEnabled = true,
         .slabHalfSlices = 3,
         .tool = Tool::BoxRoi}));
    EXPECT_EQ(
        file, json::parse(R"({"layout": "primary-plus-three", "primary": "volume3d", "windowWidth": 10.0,
        "windowLevel": 20.0, "slabEnabled": true, "slabHalfSlices": 3, "tool": "rectangle-roi"})"));
}

TEST(HangingProtocolTest, unknownAndWrongValuesAreAsNeverOpened) {
    EXPECT_EQ(
        hangingProtocolFrom(R"({"layout": "5x5", "primary": 1, "windowWidth": 0, "windowLevel": 3,
            "slabEnabled": 1, "slabHalfSlices": "x", "tool": "knife"})"),
        HangingProtocol());
    EXPECT_EQ(hangingProtocolFrom("{}"), HangingProtocol());
    EXPECT_EQ(hangingProtocolFrom(R"({"slabHalfSlices": 1e300})")->slabHalfSlices, 25);
    EXPECT_EQ(hangingProtocolFrom(R"({"slabHalfSlices": -4})")->slabHalfSlices, 1);
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
        studies.opened({.studyUid = "1." + std::to_string(index), .lastOpenedAt = "2026"});
    studies.opened({.studyUid = " 1.10 ", .patientName = "again", .lastOpenedAt = "1999"});
    studies.opened({.studyUid = "not a uid"});
    ASSERT_EQ(studies.studies().size(), RecentStudies::most);
    EXPECT_EQ(studies.studies()[0].studyUid, "1.10");
    EXPECT_EQ(studies.studies()[0].patientName, "again");
    EXPECT_EQ(studies.studies()[1].studyUid, "1.24");
    EXPECT_EQ(studies.studies().back().studyUid, "1.5");
    EXPECT_EQ(recentStudiesFrom(recentStudiesText(studies)), studies);
}

TEST(RecentStudiesTest, ofARepeatedEntryTheNewestIsRead) {
    const auto studies = recentStudiesFrom(
        R"([{"studyUID": "1.2", "patientName": "new"}, 5, {"studyUID": "x"}, {"studyUID": "1.2", "patientName": "old"}])");
    ASSERT_TRUE(studies);
    ASSERT_EQ(studies->studies().size(), 1U);
    EXPECT_EQ(studies->studies()[0].patientName, "new");
    EXPECT_FALSE(recentStudiesFrom("{}"));
}

} // namespace
} // namespace zorbel::tests
