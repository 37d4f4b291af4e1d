#include "benchmarks/BenchReport.h"
#include "benchmarks/Statistics.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

namespace zorbel::bench {
namespace {

TEST(BenchRow, RatioAboveOneAlwaysMeansBetterThanTheReference) {
    EXPECT_DOUBLE_EQ(*rateRow("", "MB/s", 300.0, 200.0, 0.8).ratio, 1.5);
    EXPECT_DOUBLE_EQ(*durationRow("", "s", 2.0, 3.0, 1.6).ratio, 1.5);
}

TEST(BenchRow, GoalHoldsUpToAndIncludingItsValue) {
    EXPECT_TRUE(*rateRow("", "MB/s", 80.0, 100.0, 0.8).holds());
    EXPECT_FALSE(*rateRow("", "MB/s", 79.0, 100.0, 0.8).holds());
    EXPECT_TRUE(*durationRow("", "s", 10.0, 16.0, 1.6).holds());
    EXPECT_FALSE(*durationRow("", "s", 16.0, 10.0, 1.6).holds());
    EXPECT_TRUE(*boundedRow("", "MB", 30.0, 30.0).holds());
    EXPECT_FALSE(*boundedRow("", "MB", 30.5, 30.0).holds());
    EXPECT_TRUE(*flooredRow("", "frames/s", 10.0, 10.0).holds());
    EXPECT_FALSE(*flooredRow("", "frames/s", 9.5, 10.0).holds());
    EXPECT_FALSE(plainRow("", "ms", 1.0).holds().has_value());
}

TEST(BenchRow, FigureThatCannotBeComparedNeverHolds) {
    EXPECT_FALSE(*rateRow("", "MB/s", 100.0, 0.0, 0.8).holds());
    EXPECT_FALSE(*durationRow("", "s", 0.0, 3.0, 1.6).holds());
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(*rateRow("", "MB/s", nan, 100.0, 0.8).holds());
    EXPECT_FALSE(*boundedRow("", "MB", nan, 30.0).holds());
}

TEST(BenchReport, JsonHasEveryMemberAndNullWhereThereIsNothing) {
    const auto list = nlohmann::json::parse(jsonText(
        {rateRow("stream", "MB/s", 300.0, 400.0, 0.8), boundedRow("memory", "MB", 10.0, 30.0),
         plainRow("start", "ms", 120.0), failedRow("lost", "no curl")}));
    ASSERT_EQ(list.size(), 4u);
    EXPECT_EQ(
        list[0],
        nlohmann::json::parse(R"({"name": "stream", "unit": "MB/s", "ours": 300.0, "reference": 400.0,
                                           "ratio": 0.75, "goal": 0.8, "holds": false})"));
    EXPECT_EQ(
        list[1], nlohmann::json::parse(R"({"name": "memory", "unit": "MB", "ours": 10.0, "reference": null,
                                           "ratio": null, "goal": 30.0, "holds": true})"));
    EXPECT_EQ(
        list[2], nlohmann::json::parse(R"({"name": "start", "unit": "ms", "ours": 120.0, "reference": null,
                                           "ratio": null, "goal": null, "holds": null})"));
    EXPECT_EQ(
        list[3], nlohmann::json::parse(R"({"name": "lost", "unit": null, "ours": null, "reference": null,
                                           "ratio": null, "goal": null, "holds": null})"));
}

TEST(BenchReport, TableAlignsItsColumnsAndSaysWhatFailed) {
    const std::string text = table(
        {rateRow("streaming", "MB/s", 300.0, 400.0, 0.8), boundedRow("µ", "MB", 12.345, 30.0),
         failedRow("lost", "no curl")});
    EXPECT_EQ(
        text, "name           ours  reference  ratio        goal  holds\n"
              "--------------------------------------------------------\n"
              "streaming  300 MB/s   400 MB/s   0.75     >= 0.80     NO\n"
              "µ           12.3 MB          -      -  <= 30.0 MB    yes\n"
              "lost              -          -      -           -      -\n"
              "\nlost: not measured: no curl\n");
}

TEST(Statistics, MedianIgnoresOrderAndOutliers) {
    EXPECT_DOUBLE_EQ(median({900.0, 1.0, 2.0}), 2.0);
    EXPECT_DOUBLE_EQ(median({4.0, 1.0, 900.0, 2.0}), 3.0);
    EXPECT_THROW(median({}), std::invalid_argument);
}

TEST(Statistics, BothSidesRunInTurnAfterOneUnmeasuredRun) {
    std::string order;
    const auto ours = [&order] {
        order += 'o';
        return order.size() == 1 ? 1e9 : 3.0; // the unmeasured run must not count
    };
    const auto reference = [&order] {
        order += 'r';
        return 7.0;
    };
    const PairedMedians taken = medianInTurn(2, ours, reference);
    EXPECT_EQ(order, "ororro");
    EXPECT_DOUBLE_EQ(taken.ours, 3.0);
    EXPECT_DOUBLE_EQ(taken.reference, 7.0);
}

} // namespace
} // namespace zorbel::bench
