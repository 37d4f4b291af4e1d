#include "imaging/rendering/PlaneRenderer.h"
#include "imaging/planes/PlaneSampler.h"

#include "tests/rendering/SyntheticImage.h"
#include "tests/support/Waiting.h"

#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace zorbel::imaging;
using namespace zorbel::imaging::test;
using zorbel::test::waitFor;

namespace {

/// Rises evenly in the patient, so that a coarse picture that lies where it should is exact.
std::shared_ptr<const Image> rampImage() {
    const ImageGeometry geometry = obliqueGeometry({90, 80, 70}, {0.5, 0.6, 0.7}, 20.0, -15.0, 0.1);
    return makeImage<float>(geometry, VoxelType::Float32, [&](int column, int row, int slice) {
        const Vector3 point = geometry.indexToWorld({1.0 * column, 1.0 * row, 1.0 * slice});
        return 3.0 * point[0] - 2.0 * point[1] + point[2];
    });
}

PlaneFrame frameOf(const Image& image, double depth = 0.0) {
    PlaneFrame frame;
    const Vector3 center = image.geometry().center() + Vector3{0.0, 0.0, depth};
    frame.plane = PlaneGeometry(center, {0.8, 0.5, 0.2}, {-0.3, 0.6, -0.7});
    frame.width = 307;
    frame.height = 211;
    frame.millimetresPerPixel = 0.06;
    return frame;
}

/// The greatest difference of a picture from the image's values; infinite where a pixel has none.
double largestMiss(const PlanePicture& picture, const Image& image) {
    double largest = 0.0;
    for (int y = 0; y < picture.frame.height; ++y) {
        for (int x = 0; x < picture.frame.width; ++x) {
            const double miss =
                std::abs(picture.values.at(x, y) - trilinear(image, picture.frame.pixelToWorld(x, y)));
            largest = std::max(largest, std::isnan(miss) ? std::numeric_limits<double>::infinity() : miss);
        }
    }
    return largest;
}

TEST(PlaneRenderer, AnswersWithTheFullPictureWhereThatIsQuick) {
    const auto image = rampImage();
    PlaneRenderer renderer;
    QSignalSpy ready(&renderer, &PlaneRenderer::pictureReady);
    renderer.request(frameOf(*image)); // there is no image
    renderer.setSampler(std::make_shared<const PlaneSampler>(image));
    renderer.setInteractiveMilliseconds(1e9);
    const PlaneFrame frame = frameOf(*image);
    renderer.request(frame);
    EXPECT_EQ(renderer.picture(), nullptr);
    ASSERT_TRUE(waitFor(ready));
    EXPECT_TRUE(renderer.isComplete(frame));
    EXPECT_FALSE(renderer.isComplete(frameOf(*image, 1.0)));
    EXPECT_LT(largestMiss(*renderer.picture(), *image), 1e-3);
    const PlaneFrame next = frameOf(*image, 1.0);
    renderer.request(next);
    ASSERT_TRUE(waitFor([&] { return renderer.isComplete(next); }));
    EXPECT_EQ(ready.count(), 2) << "one picture a request";
}

TEST(PlaneRenderer, ShowsACoarsePictureFirstWhereTheFullOneTakesLong) {
    const auto image = rampImage();
    PlaneRenderer renderer;
    renderer.setSampler(std::make_shared<const PlaneSampler>(image));
    renderer.setInteractiveMilliseconds(0.0);
    const PlaneFrame frame = frameOf(*image);
    std::vector<double> misses;
    std::vector<bool> coarse;
    QObject::connect(&renderer, &PlaneRenderer::pictureReady, &renderer, [&] {
        misses.push_back(largestMiss(*renderer.picture(), *image));
        coarse.push_back(renderer.picture()->coarse);
        EXPECT_EQ(renderer.picture()->frame, frame);
    });
    renderer.request(frame);
    ASSERT_TRUE(waitFor([&] { return renderer.isComplete(frame); }));
    EXPECT_EQ(coarse, (std::vector<bool>{true, false}));
    ASSERT_EQ(misses.size(), 2U);
    // Its outer pixels repeat what lies up to one and a half pixels further inside.
    EXPECT_LT(misses[0], 3.8 * 1.5 * frame.millimetresPerPixel * 2.0);
    EXPECT_LT(misses[1], 1e-3);
}

TEST(PlaneRenderer, EnlargesACoarsePictureInPlace) {
    PlaneValues coarse(5, 4);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 5; ++x)
            coarse.row(y)[x] = 10.0F * static_cast<float>(x) + 100.0F * static_cast<float>(y);
    coarse.row(0)[4] = std::numeric_limits<float>::quiet_NaN();
    PlaneValues full(14, 11);
    enlarge(coarse, 3, full);
    for (int y = 1; y < 10; ++y)
        for (int x = 1; x < 10; ++x)
            EXPECT_NEAR(
                full.at(x, y), 10.0 * ((x + 0.5) / 3.0 - 0.5) + 100.0 * ((y + 0.5) / 3.0 - 0.5), 1e-4);
    EXPECT_FLOAT_EQ(full.at(0, 0), 0.0F);
    EXPECT_TRUE(std::isnan(full.at(13, 0)));
    EXPECT_FLOAT_EQ(full.at(11, 0), 30.0F) << "nothing to mix with";
    EXPECT_FALSE(std::isnan(full.at(13, 3)));
}

TEST(PlaneRenderer, EndsWithTheNewestOfManyRequests) {
    const auto image = rampImage();
    for (const double budget : {0.0, 1e9}) {
        PlaneRenderer renderer;
        renderer.setSampler(std::make_shared<const PlaneSampler>(image));
        renderer.setInteractiveMilliseconds(budget);
        QSignalSpy ready(&renderer, &PlaneRenderer::pictureReady);
        PlaneFrame last;
        for (int request = 0; request < 60; ++request) {
            last = frameOf(*image, 0.01 * request);
            renderer.request(last);
            if (request % 7 == 0)
                QTest::qWait(1);
        }
        ASSERT_TRUE(waitFor([&] { return renderer.isComplete(last); }));
        EXPECT_LT(largestMiss(*renderer.picture(), *image), 1e-3);
        EXPECT_LT(ready.count(), 60);
        const PlaneFrame dropped = frameOf(*image, 1.0);
        QObject::connect(&renderer, &PlaneRenderer::pictureReady, &renderer, [&] {
            EXPECT_FALSE(renderer.picture()->frame == dropped);
        });
        renderer.request(dropped);
        renderer.renderNow(last);
        EXPECT_TRUE(renderer.isComplete(last));
        const PlaneFrame next = frameOf(*image, 2.0);
        renderer.request(next);
        ASSERT_TRUE(waitFor([&] { return renderer.isComplete(next); }));
    }
}

TEST(PlaneRenderer, LetsGoOfTheImageWhateverIsOnItsWay) {
    for (int round = 0; round < 40; ++round) {
        auto image = rampImage();
        const std::weak_ptr<const Image> watched = image;
        auto renderer = std::make_unique<PlaneRenderer>();
        renderer->setSampler(std::make_shared<const PlaneSampler>(image));
        renderer->setInteractiveMilliseconds(round % 2 == 0 ? 0.0 : 1e9);
        PlaneFrame frame = frameOf(*image);
        frame.slab.count = 21;
        renderer->request(frame);
        image.reset();
        if (round % 3 == 0)
            QTest::qWait(1);
        renderer->request(PlaneFrame{frame.plane, 0.1, 200, 100, {}});
        if (round % 4 < 2)
            renderer->setSampler(nullptr);
        else
            renderer.reset();
        EXPECT_TRUE(watched.expired()) << "round " << round;
    }
}

} // namespace
