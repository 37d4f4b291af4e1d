#include "demo/JawPhantom.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zorbel::demo {
namespace {

using Position = JawPhantom::Position;

double distance(const Position& a, const Position& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

/// Centre of gravity of the voxels above a grey value in a cube about a place, as the whole volume would hold
/// them; NaN when there are none.
Position centroidAbove(double grey, const JawPhantom& phantom, const Position& middle, double half) {
    const int n = static_cast<int>(std::ceil(2 * half / 0.4)) + 1;
    const Position origin{middle[0] - half, middle[1] - half, middle[2] - half};
    const auto greys = phantom.rasterize({{n, n, n}, origin, {0.4, 0.4, 0.4}}, 0);
    Position sum{};
    double count = 0;
    for (int at = 0; at < n * n * n; ++at) {
        if (greys[static_cast<std::size_t>(at)] > grey) {
            sum[0] += origin[0] + 0.4 * (at % n);
            sum[1] += origin[1] + 0.4 * (at / n % n);
            sum[2] += origin[2] + 0.4 * (at / n / n);
            ++count;
        }
    }
    return {sum[0] / count, sum[1] / count, sum[2] / count};
}

TEST(JawPhantom, landmarksLieWhereTheVolumeShowsThem) {
    const JawPhantom phantom;
    const Position filling = phantom.landmark("filling 26");
    EXPECT_LT(distance(centroidAbove(3900, phantom, filling, 5), filling), 0.1);

    // The screw's axis runs through its landmarks: its middle third lies on the line between them.
    const Position top = phantom.landmark("implant 46 top");
    const Position apex = phantom.landmark("implant 46 apex");
    EXPECT_NEAR(distance(top, apex), 11.5, 1e-4);
    const Position middle{(top[0] + apex[0]) / 2, (top[1] + apex[1]) / 2, (top[2] + apex[2]) / 2};
    EXPECT_LT(distance(centroidAbove(3000, phantom, middle, 2.8), middle), 0.3);
}

} // namespace
} // namespace zorbel::demo
