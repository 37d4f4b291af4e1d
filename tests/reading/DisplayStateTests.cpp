#include "viewer/reading/base/NumberText.h"
#include "viewer/reading/display/Image2DState.h"
#include "viewer/reading/display/SlabModel.h"
#include "viewer/reading/display/VolumeDisplay.h"
#include "viewer/reading/display/WindowDrag.h"
#include "viewer/reading/display/WindowPresets.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zorbel {
namespace {

using imaging::LevelWindow;
using imaging::VoiFunction;

LevelWindow windowOf(double width, double center, VoiFunction function = VoiFunction::Linear) {
    LevelWindow window;
    window.width = width;
    window.center = center;
    window.function = function;
    return window;
}

TEST(NumberText, writesAPointAndNoNegativeZero) {
    EXPECT_EQ(fixedText(-0.004, 2), "0.00");
    EXPECT_EQ(fixedText(-0.006, 2), "-0.01");
    EXPECT_EQ(fixedText(1234.5, 1), "1234.5");
    EXPECT_EQ(fixedText(1e300, 0).size(), 301U);
    EXPECT_EQ(windowText(windowOf(0.5, 0.25)), "W: 0.50  L: 0.25");
    EXPECT_EQ(windowText(windowOf(1500.0, -600.4)), "W: 1500  L: -600");
}

TEST(WindowDrag, suitsNarrowAndWideWindows) {
    for (const double width : {1.0, 80.0, 255.0, 400.0, 4000.0}) {
        const WindowDrag drag(windowOf(width, 100.0), -1024.0, 3071.0);
        EXPECT_EQ(drag.at(0.0, 0.0).width, width);
        EXPECT_EQ(drag.at(0.0, 0.0).center, 100.0);
        const double step = drag.at(1.0, 0.0).width - width;
        EXPECT_NEAR(step, std::max(1.0, width / 256.0), 0.05 * step) << width;
        EXPECT_NEAR(drag.at(0.0, 1.0).center - 100.0, std::max(1.0, width / 256.0), 1e-9) << width;
        for (int pixels = -900; pixels < 900; pixels += 7)
            EXPECT_GE(drag.at(pixels + 1.0, 0.0).width, drag.at(pixels, 0.0).width) << width;
    }
    // A second drag back takes the first one back.
    const LevelWindow widened = WindowDrag(windowOf(80.0, 40.0), -1024.0, 3071.0).at(400.0, 0.0);
    EXPECT_NEAR(WindowDrag(widened, -1024.0, 3071.0).at(-400.0, 0.0).width, 80.0, 1e-9);
}

TEST(WindowDrag, staysWithinTheImage) {
    const WindowDrag drag(windowOf(400.0, 50.0), -1000.0, 3000.0);
    EXPECT_EQ(drag.at(-5000.0, 0.0).width, 1.0);
    EXPECT_EQ(drag.at(50'000.0, 0.0).width, 8000.0);
    EXPECT_EQ(drag.at(0.0, 50'000.0).center, 3000.0);
    EXPECT_EQ(drag.at(0.0, -50'000.0).center, -1000.0);
    EXPECT_GT(drag.at(0.0, 10.0).center, 50.0);

    // A preset beyond the values of the image does not jump when it is dragged.
    const LevelWindow beyond = WindowDrag(windowOf(1500.0, -600.0), 0.0, 100.0).at(1.0, -1.0);
    EXPECT_EQ(beyond.width, 1500.0);
    EXPECT_EQ(beyond.center, -600.0);

    const LevelWindow constant = WindowDrag(windowOf(2.0, 7.0), 7.0, 7.0).at(30.0, 30.0);
    EXPECT_EQ(constant.center, 7.0);
    EXPECT_GE(constant.width, 1.0);
}

TEST(WindowDrag, isFineForImagesOfFractions) {
    const WindowDrag drag(windowOf(0.5, 0.25, VoiFunction::LinearExact), 0.0, 1.0);
    EXPECT_NEAR(drag.at(64.0, 0.0).width, 0.75, 1e-9);
    EXPECT_NEAR(drag.at(0.0, 64.0).center, 0.5, 1e-9);
    EXPECT_NEAR(drag.at(-1000.0, 0.0).width, 1.0 / 256.0, 1e-9);
    EXPECT_EQ(drag.at(1.0, 0.0).function, VoiFunction::LinearExact);
}

TEST(SlabModel, keepsAnOddCountWithinItsLimits) {
    SlabModel slab;
    EXPECT_EQ(slab.sliceCount(), 5);
    EXPECT_TRUE(slab.thin());
    EXPECT_FALSE(slab.thin());
    EXPECT_EQ(slab.sliceCount(), 3);
    EXPECT_TRUE(slab.setSliceCount(50));
    EXPECT_EQ(slab.sliceCount(), 51);
    EXPECT_FALSE(slab.thicken());
    EXPECT_EQ(slab.sliceCount(), 51);
    slab.setSliceCount(-7);
    EXPECT_EQ(slab.sliceCount(), 3);
}

TEST(SlabModel, becomesAsThickAsItsHandleIsDragged) {
    SlabModel slab;
    EXPECT_TRUE(slab.dragTo(7.5, 0.6)); // 15 mm: 25 slices
    EXPECT_TRUE(slab.isEnabled());
    EXPECT_EQ(slab.sliceCount(), 25);
    EXPECT_FALSE(slab.dragTo(7.6, 0.6));
    for (int count = 3; count <= 51; count += 2) {
        slab.dragTo(count * 0.6 / 2.0, 0.6); // where the handle of this count lies
        EXPECT_EQ(slab.sliceCount(), count);
    }
    slab.dragTo(1000.0, 0.6);
    EXPECT_EQ(slab.sliceCount(), 51);
    EXPECT_TRUE(slab.dragTo(0.7, 0.6)); // 2.3 slices
    EXPECT_EQ(slab.sliceCount(), 3);
    EXPECT_TRUE(slab.isEnabled());
    EXPECT_TRUE(slab.dragTo(0.5, 0.6)); // 1.7 slices
    EXPECT_FALSE(slab.isEnabled());
    EXPECT_FALSE(slab.dragTo(0.0, 0.6));
    EXPECT_FALSE(slab.dragTo(5.0, 0.0));
    EXPECT_TRUE(slab.dragTo(0.9, 0.6));
    EXPECT_EQ(slab.shownSlices(), 3);
}

TEST(Image2DState, composesWithTheUprightPose) {
    imaging::ImageOrientation2D upright;
    upright.rotateClockwise();
    Image2DState state(upright, true);
    EXPECT_EQ(state.orientationChip(), "Panorama corrected upright");
    EXPECT_EQ(state.modeChip(), "PANO · upright");
    state.mirror();
    EXPECT_EQ(state.orientationChip(), "Mirrored left / right");
    EXPECT_EQ(state.modeChip(), "PANO · adjusted");
    // Mirrored as seen on the screen, after the quarter turn: row 0 of the image ran down the right side.
    imaging::ImageOrientation2D expected = upright;
    expected.mirror();
    EXPECT_EQ(state.orientation(), expected);
    EXPECT_TRUE(state.orientation().isMirrored());

    state.reset();
    EXPECT_EQ(state.orientation(), upright);
    EXPECT_EQ(Image2DState({}, true).modeChip(), "2D review");
    EXPECT_EQ(Image2DState(upright, false).orientationChip(), "Turned upright");
}

TEST(VolumeDisplay, drawsVolumesAlone) {
    VolumeDisplay display;
    for (const std::array<int, 3>& flat :
         {std::array<int, 3>{512, 512, 1}, std::array<int, 3>{512, 512, 2}, std::array<int, 3>{1, 512, 9}}) {
        display.setImage(flat, "CT");
        EXPECT_FALSE(display.isEnabled());
        EXPECT_EQ(display.setEnabled(true), VolumeDisplay::unavailableText);
        EXPECT_FALSE(display.isEnabled());
    }
    display.setImage({2, 2, 3}, "CT");
    EXPECT_TRUE(display.isEnabled());
    EXPECT_EQ(display.preset(), VolumePreset::CtDefault);
    EXPECT_EQ(display.setEnabled(false), "3D volume rendering disabled");
    EXPECT_EQ(display.setEnabled(true), "3D volume rendering enabled");

    display.setPreset(VolumePreset::CtBoneEdge);
    display.setBlendMode(VolumeBlendMode::MinIp);
    EXPECT_EQ(display.presetText(), "Preset: CT Bone Edge  |  GPU rendering");
    EXPECT_EQ(display.blendText(), "Blend: MinIP  |  GPU rendering");
    display.setImage({64, 64, 64}, "MR");
    EXPECT_EQ(display.presetText(), "Preset: MR / Generic  |  GPU rendering");
    EXPECT_EQ(display.blendText(), "Blend: Composite  |  GPU rendering");
}

} // namespace
} // namespace zorbel
