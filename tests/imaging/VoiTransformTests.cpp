#include "imaging/VoiTransform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace zorbel::imaging {
namespace {

TEST(VoiTransform, LinearFollowsTheStandardsExamples) {
    // PS3.3 C.11.2.1.2.1: center 2048, width 4096 maps 0 to the lowest and 4095 to the highest output.
    const LevelWindow twelveBit{2048.0, 4096.0, VoiFunction::Linear, {}};
    EXPECT_EQ(applyWindow(twelveBit, 0.0), 0.0);
    EXPECT_NEAR(applyWindow(twelveBit, 4095.0), 1.0, 1e-12);
    EXPECT_NEAR(applyWindow(twelveBit, 2047.5), 0.5, 1e-12);
    // Width 1 is a threshold: center 1, 0 is black and 1 is white.
    const LevelWindow threshold{1.0, 1.0, VoiFunction::Linear, {}};
    EXPECT_EQ(applyWindow(threshold, 0.0), 0.0);
    EXPECT_EQ(applyWindow(threshold, 1.0), 1.0);
    EXPECT_FALSE(std::isnan(applyWindow(threshold, 0.5)));
}

TEST(VoiTransform, LinearExactHasNoHalfSteps) {
    const LevelWindow window{0.5, 1.0, VoiFunction::LinearExact, {}};
    EXPECT_EQ(applyWindow(window, 0.0), 0.0);
    EXPECT_NEAR(applyWindow(window, 0.25), 0.25, 1e-12);
    EXPECT_NEAR(applyWindow(window, 1.0), 1.0, 1e-12);
    EXPECT_EQ(applyWindow(window, 1.5), 1.0);
}

TEST(VoiTransform, SigmoidIsSymmetricAboutItsCenter) {
    const LevelWindow window{100.0, 50.0, VoiFunction::Sigmoid, {}};
    EXPECT_NEAR(applyWindow(window, 100.0), 0.5, 1e-12);
    EXPECT_NEAR(applyWindow(window, 125.0), 1.0 / (1.0 + std::exp(-2.0)), 1e-12);
    EXPECT_NEAR(applyWindow(window, 80.0) + applyWindow(window, 120.0), 1.0, 1e-12);
}

TEST(VoiTransform, TablesClampAtBothEnds) {
    const VoiTable table{-10.0, 10, {0, 511, 1023}, {}};
    EXPECT_EQ(applyTable(table, -1000.0), 0.0);
    EXPECT_NEAR(applyTable(table, -9.0), 511.0 / 1023.0, 1e-12);
    EXPECT_EQ(applyTable(table, 1e9), 1.0);
    EXPECT_EQ(applyTable(table, std::numeric_limits<double>::quiet_NaN()), 0.0);
    EXPECT_EQ(applyTable(VoiTable{}, 5.0), 0.0);
}

} // namespace
} // namespace zorbel::imaging
