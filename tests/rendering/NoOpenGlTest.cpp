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
    for (RenderWindowWidget* view :
         {static_cast<RenderWindowWidget*>(&plane), static_cast<RenderWindowWidget*>(&volume)}) {
        view->resize(300, 200);
        view->show();
        const auto* label = view->findChild<QLabel*>(QStringLiteral("openGlFailure"));
        ASSERT_NE(label, nullptr);
        EXPECT_TRUE(label->isVisible());
        EXPECT_TRUE(view->grabFrame().isNull());
    }
    plane.setImage(image);
    volume.setImage(image);
    plane.navigation().step(2.0);
    EXPECT_EQ(plane.navigation().sliceLabel(), "Axial 11/16");
    plane.clear();
    volume.clear();
}

} // namespace
