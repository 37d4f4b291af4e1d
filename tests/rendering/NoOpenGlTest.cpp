#include "imaging/rendering/OpenGlCapabilities.h"
#include "imaging/rendering/PlaneView.h"
#include "imaging/rendering/VolumeView.h"

#include "tests/rendering/SyntheticImage.h"

#include <QLabel>

#include <gtest/gtest.h>

using namespace zorbel::imaging;
using namespace zorbel::imaging::test;

namespace {

TEST(WithoutOpenGl, ViewsSaySoAndKeepWorking) {
    if (OpenGlCapabilities::instance().available)
        GTEST_SKIP() << "this platform plugin offers OpenGL";
    const ImageGeometry geometry({16, 16, 16}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    const auto image =
        makeImage<std::int16_t>(geometry, VoxelType::Int16, [](int column, int, int) { return column; });
    PlaneView plane(ViewDirection::Axial);
    VolumeView volume;
    volume.resize(300, 200);
    volume.show();
    const auto* label = volume.findChild<QLabel*>(QStringLiteral("openGlFailure"));
    ASSERT_NE(label, nullptr);
    EXPECT_TRUE(label->isVisible());
    EXPECT_TRUE(volume.grabFrame().isNull());
    plane.resize(300, 200);
    plane.show();
    plane.setImage(image);
    volume.setImage(image);
    plane.navigation().step(2.0);
    EXPECT_EQ(plane.navigation().sliceLabel(), "Axial 11/16");
    const QImage picture = plane.grabFrame(); // Planes need no OpenGL.
    const int middle = picture.height() / 2;
    EXPECT_LT(
        qRed(picture.pixel(picture.width() * 2 / 5, middle)),
        qRed(picture.pixel(picture.width() * 3 / 5, middle)));
    plane.clear();
    volume.clear();
}

} // namespace
