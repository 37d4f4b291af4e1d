#include "viewer/reading/records/FindingList.h"
#include "viewer/reading/records/KeyImageList.h"
#include "viewer/reading/records/ToothChart.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace zorbel {
namespace {

TEST(FdiToothTest, takesExactlyTheCodesOfTheChart) {
    std::set<int> charted;
    for (const auto& row : {ToothChart::upperPermanent, ToothChart::lowerPermanent})
        charted.insert(row.begin(), row.end());
    for (const auto& row : {ToothChart::upperPrimary, ToothChart::lowerPrimary})
        charted.insert(row.begin(), row.end());
    EXPECT_EQ(charted.size(), 52U);
    for (int code = -100; code < 200; ++code)
        EXPECT_EQ(FdiTooth::fromCode(code).has_value(), charted.contains(code)) << code;
}

TEST(FdiToothTest, namesTheSite) {
    EXPECT_EQ(FdiTooth::fromCode(48)->siteLabel(), "FDI 48 — lower right third molar");
    EXPECT_EQ(FdiTooth::fromCode(55)->siteLabel(), "FDI 55 — upper right second molar (primary)");
    EXPECT_EQ(FdiTooth::fromCode(24)->siteLabel(), "FDI 24 — upper left first premolar");
    EXPECT_EQ(FdiTooth::fromCode(71)->siteLabel(), "FDI 71 — lower left central incisor (primary)");
}

TEST(FdiToothTest, theChartShowsThePatientsRightOnTheLeft) {
    for (const int code : {ToothChart::upperPermanent.front(), ToothChart::upperPrimary.front()})
        EXPECT_EQ(FdiTooth::fromCode(code)->quadrantName(), "upper right");
    for (const int code : {ToothChart::lowerPermanent.back(), ToothChart::lowerPrimary.back()})
        EXPECT_EQ(FdiTooth::fromCode(code)->quadrantName(), "lower left");
    for (std::size_t index = 0; index < 16; ++index) // opposite teeth stand above each other
        EXPECT_EQ(ToothChart::upperPermanent[index] % 10, ToothChart::lowerPermanent[index] % 10);
}

TEST(FindingTest, everyKeyReadsBackAndUnknownOnesAreOther) {
    for (int index = 0; index < findingCategoryCount; ++index) {
        const auto category = static_cast<FindingCategory>(index);
        EXPECT_EQ(findingCategoryFromKey(findingCategoryKey(category)), category);
    }
    for (int index = 0; index <= findingRegionCount; ++index) {
        const auto region = static_cast<FindingRegion>(index);
        EXPECT_EQ(findingRegionFromKey(findingRegionKey(region)), region);
    }
    EXPECT_EQ(findingCategoryLabel(findingCategoryFromKey("Caries")), "Other");
    EXPECT_EQ(findingCategoryLabel(FindingCategory::ImplantSite), "Implant site assessment");
    EXPECT_EQ(findingRegionLabel(findingRegionFromKey("")), "Other site");
    EXPECT_EQ(findingRegionLabel(FindingRegion::JointLeft), "Left temporomandibular joint");
}

TEST(FindingTest, hasAlwaysASite) {
    EXPECT_EQ(Finding(FindingCategory::Cyst, FindingRegion::None).siteLabel(), "Other site");
    const Finding tooth(FindingCategory::Cyst, *FdiTooth::fromCode(11));
    EXPECT_EQ(tooth.region(), FindingRegion::None);
    EXPECT_EQ(tooth.siteLabel(), "FDI 11 — upper right central incisor");
}

TEST(FindingTest, theListCountsAndRemoves) {
    FindingList list;
    EXPECT_EQ(list.countText(), "No findings recorded");
    EXPECT_FALSE(list.remove(0));
    list.add(Finding(FindingCategory::Cyst, FindingRegion::Airway));
    list.add(Finding(FindingCategory::Caries, FindingRegion::Airway));
    EXPECT_EQ(list.countText(), "2 finding(s) recorded for this study");
    EXPECT_TRUE(list.remove(0));
    EXPECT_EQ(list.findings().at(0).category(), FindingCategory::Caries);
}

TEST(KeyImageTest, onlyItsOwnNamesAreTaken) {
    EXPECT_EQ(keyImageNumber("key-17.png"), 17);
    for (const char* name :
         {"key-0.png", "key--1.png", "key-01.png", "key-+1.png", "key-.png", "key-1.PNG", "key-1.png.png",
          "../key-1.png", "key-1/../../x.png", "key-99999999999999999999.png", "key-.pn", "key.png", ""})
        EXPECT_FALSE(keyImageNumber(name)) << name;
}

TEST(KeyImageTest, captionsSayWhatIsShown) {
    EXPECT_EQ(
        keyImageCaption({"Axial", KeyImageView::Slice{12, 240}, KeyImageView::Window{1800.4, -0.4}}),
        "Axial · slice 12/240 · W 1800 L 0");
    EXPECT_EQ(keyImageCaption({"3D volume", {}, {}}), "3D volume");
}

TEST(KeyImageTest, takesTheLowestFreeNumber) {
    KeyImageList list({{"key-1.png", "", 1, 1}, {"key-3.png", "", 1, 1}});
    EXPECT_EQ(list.nextNumber(), 2);
    list.add({"key-2.png", "", 1, 1});
    EXPECT_EQ(list.nextNumber(), 4);
    EXPECT_EQ(list.capturedText(2), "Key image 2 captured (3 held for the report)");
}

} // namespace
} // namespace zorbel
