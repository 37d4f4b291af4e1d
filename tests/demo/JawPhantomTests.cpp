#include "demo/JawPhantom.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace zorbel::demo {
namespace {

using Position = JawPhantom::Position;

double distance(const Position& a, const Position& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

/// The voxels of a cube about a place, as the whole volume would hold them.
struct Cube {
    Cube(const JawPhantom& phantom, const Position& middle, double half, double noise = 0) {
        const int n = static_cast<int>(std::ceil(2 * half / 0.4)) + 1;
        grid = {{n, n, n}, {middle[0] - half, middle[1] - half, middle[2] - half}, {0.4, 0.4, 0.4}};
        greys = phantom.rasterize(grid, noise);
    }

    void each(const std::function<void(const Position&, double)>& visit) const {
        std::size_t at = 0;
        for (int k = 0; k < grid.size[2]; ++k) {
            for (int j = 0; j < grid.size[1]; ++j) {
                for (int i = 0; i < grid.size[0]; ++i) {
                    visit(
                        {grid.origin[0] + 0.4 * i, grid.origin[1] + 0.4 * j, grid.origin[2] + 0.4 * k},
                        greys[at++]);
                }
            }
        }
    }

    /// Centre of gravity of the voxels above a grey value; NaN when there are none.
    Position centroidAbove(double grey) const {
        Position sum{};
        double count = 0;
        each([&](const Position& p, double value) {
            if (value > grey) {
                sum = {sum[0] + p[0], sum[1] + p[1], sum[2] + p[2]};
                ++count;
            }
        });
        return {sum[0] / count, sum[1] / count, sum[2] / count};
    }

    JawPhantom::Grid grid;
    std::vector<std::int16_t> greys;
};

TEST(JawPhantom, landmarksLieWhereTheVolumeShowsThem) {
    const JawPhantom phantom;
    const Position filling = phantom.landmark("filling 26");
    EXPECT_LT(distance(Cube(phantom, filling, 5).centroidAbove(3900), filling), 0.1);

    // The screw's axis runs through its landmarks: its middle third lies on the line between them.
    const Position top = phantom.landmark("implant 46 top");
    const Position apex = phantom.landmark("implant 46 apex");
    EXPECT_NEAR(distance(top, apex), 11.5, 1e-4);
    const Position middle{(top[0] + apex[0]) / 2, (top[1] + apex[1]) / 2, (top[2] + apex[2]) / 2};
    EXPECT_LT(distance(Cube(phantom, middle, 2.8).centroidAbove(3000), middle), 0.3);

    const Position left = phantom.landmark("condyle left");
    const Position right = phantom.landmark("condyle right");
    EXPECT_NEAR(distance(left, right), 100, 1e-4);
    // Straight above its middle the condyle ends after 5.5 mm; the temporal bone follows after a gap.
    double highest = -1000;
    Cube(phantom, left, 7).each([&](const Position& p, double value) {
        const bool above = std::abs(p[0] - left[0]) < 1 && std::abs(p[1] - left[1]) < 1;
        if (above && value > 700 && p[2] < left[2] + 7) {
            highest = std::max(highest, p[2]);
        }
    });
    EXPECT_NEAR(highest, left[2] + 5.5, 0.4);

    // The nerve leaves through the bone's surface at the mental foramen: dark, with bone close by.
    for (const char* name : {"mental foramen left", "mental foramen right"}) {
        const Position foramen = phantom.landmark(name);
        double brightest = -1000;
        Cube(phantom, foramen, 4).each([&](const Position&, double value) {
            brightest = std::max(brightest, value);
        });
        EXPECT_LT(Cube(phantom, foramen, 0.2).greys[0], 300) << name;
        EXPECT_GT(brightest, 1000) << name;
    }
}

} // namespace
} // namespace zorbel::demo
