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

TEST(KeyImageTest, onlyItsOwnNamesAreTaken) {
    EXPECT_EQ(keyImageNumber("key-17.png"), 17);
    for (const char* name :
         {"key-0.png", "key--1.png", "key-01.png", "key-+1.png", "key-.png", "key-1.PNG", "key-1.png.png",
          "../key-1.png", "key-1/../../x.png", "key-99999999999999999999.png", "key-.pn", "key.png", ""})
        EXPECT_FALSE(keyImageNumber(name)) << name;
}

} // namespace
} // namespace zorbel
