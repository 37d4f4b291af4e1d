#include "imaging/rendering/PlaneView.h"
#include "tests/rendering/PictureCheck.h"
#include "tests/rendering/SyntheticImage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace zorbel::imaging;
using namespace zorbel::imaging::test;

namespace {

/// A grey of its own for each octant of the patient: left, back and head.
int octantGrey(bool left, bool back, bool head) {
    return 20 + 30 * (left ? 1 : 0) + 60 * (back ? 1 : 0) + 120 * (head ? 1 : 0);
}

TEST(PlaneLetters, nameTheSidesOfThePatientInEveryOrientationOfTheVolume) {
    const auto geometries = axisGeometries({12, 16, 20}, {1.0, 1.2, 1.5});
    ASSERT_EQ(geometries.size(), 48U);
    // Right and lower edge of each view, as an index into L, P, H and its sign.
    struct Sides {
        OrientationLabels letters;
        int right, rightSign, down, downSign, depth;
    };
    const std::array<Sides, 3> sides{
        {{{"R", "L", "A", "P"}, 0, 1, 1, 1, 2},
         {{"R", "L", "H", "F"}, 0, 1, 2, -1, 1},
         {{"A", "P", "H", "F"}, 1, 1, 2, -1, 0}}};
    for (std::size_t which = 0; which < geometries.size(); ++which) {
        const ImageGeometry& geometry = geometries[which];
        const Vector3 middle = geometry.center();
        const auto image =
            makeImage<std::uint8_t>(geometry, VoxelType::UInt8, [&](int column, int row, int slice) {
                const Vector3 from = geometry.indexToWorld({1.0 * column, 1.0 * row, 1.0 * slice}) - middle;
                return octantGrey(from[0] > 0.0, from[1] > 0.0, from[2] > 0.0);
            });
        for (std::size_t direction = 0; direction < 3; ++direction) {
            const Sides& expected = sides[direction];
            PlaneView view(static_cast<ViewDirection>(direction));
            view.resize(160, 160);
            view.setImage(image);
            view.setWindow(128.0, 256.0);
            EXPECT_EQ(view.orientationLabels(), expected.letters) << which << " view " << direction;
            for (const int depth : {-1, 1}) {
                Vector3 point = middle;
                point[static_cast<std::size_t>(expected.depth)] += 3.0 * depth;
                view.navigation().selectSliceByPoint(point);
                const QImage picture = view.grabFrame();
                const double ratio = view.devicePixelRatioF();
                for (const int right : {-1, 1}) {
                    for (const int down : {-1, 1}) {
                        std::array<bool, 3> octant{};
                        octant[static_cast<std::size_t>(expected.right)] = right * expected.rightSign > 0;
                        octant[static_cast<std::size_t>(expected.down)] = down * expected.downSign > 0;
                        octant[static_cast<std::size_t>(expected.depth)] = depth > 0;
                        const QPointF at = QPointF(80 + 30 * right, 80 + 30 * down) * ratio;
                        EXPECT_NEAR(
                            qRed(picture.pixel(at.toPoint())), octantGrey(octant[0], octant[1], octant[2]), 1)
                            << which << " view " << direction << " depth " << depth << " at " << right << ","
                            << down;
                    }
                }
                if (HasFailure())
                    savePicture(picture, currentTestName());
            }
        }
    }
}

/// A soft ball: smooth enough that linear interpolation between the voxels misses it by a quarter grey value.
constexpr double ballRadius = 12.0;
constexpr double ballPeak = 1000.0;

double ball(double squaredDistance) {
    return ballPeak * std::exp(-squaredDistance / (2.0 * ballRadius * ballRadius));
}

TEST(PlanePhantom, showsObliquePlanesAndSlabsAsComputed) {
    const ImageGeometry geometry(
        {100, 90, 80}, {-30.0, -25.0, 12.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.6, 0.6, 0.6});
    const Vector3 ballCenter = geometry.center() + Vector3{3.0, -2.0, 4.0};
    const auto image = makeImage<float>(geometry, VoxelType::Float32, [&](int column, int row, int slice) {
        const Vector3 from = geometry.indexToWorld({1.0 * column, 1.0 * row, 1.0 * slice}) - ballCenter;
        return ball(dot(from, from));
    });
    const double sine = std::sin(30.0 * 3.14159265358979 / 180.0);
    const double cosine = std::sqrt(1.0 - sine * sine);
    const Vector3 right{cosine, sine, 0.0};
    const std::array<Vector3, 2> downs{
        Vector3{0.0, 0.0, -1.0}, Vector3{-sine * cosine, cosine * cosine, sine}};
    for (const Vector3& down : downs) {
        const Vector3 normal = cross(right, down);
        const Vector3 through = ballCenter + normal * 2.5 + right * 1.0;
        PlaneView view(ViewDirection::Coronal);
        view.resize(301, 260);
        view.setImage(image);
        view.navigation().reorientSlices(through, right, down);
        view.zoomBy(2.0, {150.5, 130.0});
        const double spacing = 0.6; // of a grid of cubes, whatever the plane's direction
        for (int mode = 0; mode < slabModeCount; ++mode) {
            for (const int count : {1, 25}) { // 25 planes are 15 mm
                SCOPED_TRACE(
                    testing::Message() << slabModeName(static_cast<SlabMode>(mode)) << " of " << count);
                const Slab slab{static_cast<SlabMode>(mode), count, spacing};
                // A sum's window grows with the root of its planes; here it is to span the whole sum.
                const double planes = slab.mode == SlabMode::Sum ? count : 1.0;
                view.setWindow(500.0 * std::sqrt(planes), 1000.0 * std::sqrt(planes));
                LevelWindow window;
                window.center = 500.0 * planes;
                window.width = 1000.0 * planes;
                view.setSlab(slab.mode, count);
                const QImage picture = view.grabFrame();
                savePicture(picture, currentTestName() + QStringLiteral("-%1-%2").arg(mode).arg(count));
                const double ratio = view.devicePixelRatioF();
                // The picture's middle shows the volume's own, projected on the plane.
                const Vector3 center = geometry.center() + normal * dot(through - geometry.center(), normal);
                double largest = 0.0;
                int compared = 0;
                for (int y = 2; y < picture.height(); y += 5) {
                    for (int x = 2; x < picture.width(); x += 5) {
                        const Vector3 point =
                            center +
                            right * (((x + 0.5) / ratio - view.width() / 2.0) * view.millimetresPerPixel()) +
                            down * (((y + 0.5) / ratio - view.height() / 2.0) * view.millimetresPerPixel());
                        if (length(point - geometry.center()) > 15.0)
                            continue; // the slab's ends would be outside the volume
                        double brightest = 0.0;
                        double darkest = ballPeak;
                        double sum = 0.0;
                        for (int plane = -count / 2; plane <= count / 2; ++plane) {
                            const Vector3 from = point + normal * (plane * spacing) - ballCenter;
                            const double value = ball(dot(from, from));
                            brightest = std::max(brightest, value);
                            darkest = std::min(darkest, value);
                            sum += value;
                        }
                        const std::array<double, 4> values{brightest, sum / count, darkest, sum};
                        const double grey =
                            255.0 * applyWindow(window, values[static_cast<std::size_t>(mode)]);
                        largest = std::max(largest, std::abs(qRed(picture.pixel(x, y)) - grey));
                        ++compared;
                    }
                }
                EXPECT_GT(compared, 500);
                EXPECT_LE(largest, 1.0);
            }
        }
    }
}

} // namespace
