#include "imaging/display/CephalogramPose.h"
#include "SyntheticImage.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>

namespace zorbel::imaging::test {
namespace {

/// A skull's brightness in profile, facing right: x and y from 0 to 1, y downwards.
double skull(double x, double y) {
    const auto inEllipse = [x, y](double centreX, double centreY, double radiusX, double radiusY) {
        const double dx = (x - centreX) / radiusX;
        const double dy = (y - centreY) / radiusY;
        return dx * dx + dy * dy < 1.0;
    };
    if (inEllipse(0.5, 0.36, 0.4, 0.34))
        return 3000.0;
    if (inEllipse(0.68, 0.72, 0.16, 0.16) || (x > 0.36 && x < 0.52 && y > 0.6))
        return 1700.0;
    return 100.0;
}

std::shared_ptr<const Image>
film(int columns, int rows, const std::function<double(double, double)>& value, ImageMetadata metadata = {}) {
    const ImageGeometry geometry(
        {columns, rows, 1}, {0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {1.0, 1.0, 1.0});
    return makeImage<std::uint16_t>(
        geometry, VoxelType::UInt16,
        [&](int column, int row, int) { return value((column + 0.5) / columns, (row + 0.5) / rows); },
        std::move(metadata));
}

TEST(CephalogramPose, turnsALyingSkullUprightFromEitherSide) {
    // Lying with the vault to the left: the upright picture turned counter-clockwise, and the other way
    // round.
    const auto vaultLeft = film(400, 500, [](double x, double y) { return skull(1.0 - y, x); });
    ImageOrientation2D clockwise;
    clockwise.rotateClockwise();
    EXPECT_EQ(uprightCephalogram(*vaultLeft), clockwise);
    const auto vaultRight = film(400, 500, [](double x, double y) { return skull(y, 1.0 - x); });
    ImageOrientation2D counterClockwise;
    counterClockwise.rotateCounterClockwise();
    EXPECT_EQ(uprightCephalogram(*vaultRight), counterClockwise);

    ImageMetadata negative;
    negative.inverted = true;
    const auto inverted = film(
        400, 500, [](double x, double y) { return 4000.0 - skull(1.0 - y, x); }, negative);
    EXPECT_EQ(uprightCephalogram(*inverted), clockwise);
}

TEST(CephalogramPose, leavesAloneWhatStandsUprightOrSaysHowItLies) {
    EXPECT_TRUE(uprightCephalogram(*film(500, 400, skull)).isOriginal());
    EXPECT_TRUE(uprightCephalogram(*film(400, 500, skull)).isOriginal());
    const auto upsideDown = film(400, 500, [](double x, double y) { return skull(x, 1.0 - y); });
    EXPECT_TRUE(uprightCephalogram(*upsideDown).isOriginal()) << "not plain enough to turn by half";
    EXPECT_TRUE(uprightCephalogram(*film(300, 300, [](double, double) { return 7.0; })).isOriginal());
    ImageMetadata oriented;
    oriented.patientOrientation = {"A", "F"};
    const auto lying = film(
        400, 500, [](double x, double y) { return skull(1.0 - y, x); }, oriented);
    EXPECT_TRUE(uprightCephalogram(*lying).isOriginal()) << "the file's word counts";
}

} // namespace
} // namespace zorbel::imaging::test
