#include "imaging/display/GreyRamp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using namespace zorbel::imaging;

namespace {

TEST(GreyRamp, MapsAsTheWindowFunctionsDo) {
    std::vector<float> values;
    for (int step = -6000; step <= 6000; ++step)
        values.push_back(static_cast<float>(step) * 0.37F);
    values.push_back(-3e38F);
    values.push_back(3e38F);
    std::vector<std::uint32_t> pixels(values.size());
    for (const auto function : {VoiFunction::Linear, VoiFunction::LinearExact, VoiFunction::Sigmoid}) {
        for (const auto& [center, width] :
             {std::pair{400.0, 1800.0},
              {-600.0, 1500.0},
              {40.0, 80.0},
              {0.0, 2.0},
              {37.0, 1.0},
              {0.5, 0.0}}) {
            for (const bool inverted : {false, true}) {
                const LevelWindow window{center, width, function, {}};
                GreyRamp(window, inverted).map(values.data(), values.size(), pixels.data());
                for (std::size_t index = 0; index < values.size(); ++index) {
                    const double grey = applyWindow(window, values[index]);
                    const double expected = 255.0 * (inverted ? 1.0 - grey : grey);
                    const std::uint32_t found = pixels[index];
                    ASSERT_EQ(found, 0xFF000000U | (found & 0xFFU) * 0x010101U);
                    ASSERT_NEAR(found & 0xFFU, expected, 0.55)
                        << "value " << values[index] << " window " << center << "/" << width << " function "
                        << static_cast<int>(function);
                }
            }
        }
    }
}

TEST(GreyRamp, LeavesWhatIsNoNumberBlack) {
    const std::vector<float> values(5, std::numeric_limits<float>::quiet_NaN());
    std::vector<std::uint32_t> pixels(values.size());
    for (const auto function : {VoiFunction::Linear, VoiFunction::Sigmoid}) {
        for (const bool inverted : {false, true}) {
            GreyRamp({100.0, 50.0, function, {}}, inverted).map(values.data(), values.size(), pixels.data());
            for (const std::uint32_t pixel : pixels)
                EXPECT_EQ(pixel, 0xFF000000U);
        }
    }
}

} // namespace
