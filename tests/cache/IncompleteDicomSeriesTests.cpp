#include "cache/rules/IncompleteDicomSeries.h"

#include <gtest/gtest.h>

namespace zorbel {
namespace {

using imaging::ImageBlock;
using imaging::SplitReasonType;

ImageBlock block(std::size_t frames) {
    ImageBlock result;
    result.frames.resize(frames);
    return result;
}

ImageBlock blockWithGap(std::size_t frames, const std::string& details) {
    auto result = block(frames);
    result.splitReasons.push_back({SplitReasonType::MissingSlices, details});
    return result;
}

TEST(IncompleteDicomSeries, acceptsOnlyASeriesThatIsOneWholeBlock) {
    EXPECT_FALSE(findIncompleteSeries({block(120)}, 120));
    EXPECT_FALSE(findIncompleteSeries({block(200)}, 1))
        << "one multi-frame file holds more frames than files";
    EXPECT_EQ(findIncompleteSeries({block(118)}, 120), (IncompleteSeries{118, 2}));
    EXPECT_EQ(findIncompleteSeries({block(60), block(61)}, 121), (IncompleteSeries{61, 60}));
    auto tilted = block(20);
    tilted.splitReasons.push_back({SplitReasonType::GantryTilt, "18.5"});
    EXPECT_FALSE(findIncompleteSeries({tilted}, 20));
}

TEST(IncompleteDicomSeries, readsTheNumberOfMissingSlices) {
    EXPECT_EQ(findIncompleteSeries({blockWithGap(10, "3")}, 10), (IncompleteSeries{10, 3}));
    for (const char* odd : {"", "0", "x", "2x", "-4", " 7", "99999999999999999999999"})
        EXPECT_EQ(findIncompleteSeries({blockWithGap(10, odd)}, 10), (IncompleteSeries{10, 1})) << odd;
}

TEST(IncompleteDicomSeries, reportsTheLargestBlock) {
    EXPECT_EQ(
        findIncompleteSeries({blockWithGap(10, "3"), blockWithGap(10, "5")}, 20), (IncompleteSeries{10, 3}));
    EXPECT_EQ(
        findIncompleteSeries({blockWithGap(9, "3"), blockWithGap(10, "5")}, 19), (IncompleteSeries{10, 5}));
    // A larger block without a gap of its own replaces the recorded one: its files are what is missing.
    EXPECT_EQ(findIncompleteSeries({blockWithGap(5, "3"), block(12)}, 17), (IncompleteSeries{12, 5}));
}

} // namespace
} // namespace zorbel
