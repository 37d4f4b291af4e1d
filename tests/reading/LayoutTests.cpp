#include "viewer/reading/planes/MprViewports.h"
#include "viewer/reading/workspace/LayoutModel.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zorbel {
namespace {

LayoutModel shownVolume() {
    return LayoutModel(mprViewports());
}

TEST(LayoutModel, buildsShortcutLayoutsAroundTheActivePlaneButNeverAroundTheVolume) {
    LayoutModel model = shownVolume();
    model.setActiveViewport(VolumeViewport);
    const LayoutChange change = model.setLayoutFromShortcut(Layout::PrimaryPlusThree);
    EXPECT_TRUE(change.layout);
    EXPECT_EQ(change.layoutText, "Layout 1+3");
    EXPECT_EQ(model.primary(), AxialViewport);
    EXPECT_EQ(model.activeViewport(), VolumeViewport);
    EXPECT_EQ(model.cellPlan().cells[VolumeViewport], (CellPlan::Cell{2, 1, 1, 1, true}));

    model.setActiveViewport(SagittalViewport);
    model.setLayoutFromShortcut(Layout::SideBySide);
    EXPECT_EQ(model.cellPlan().cells[SagittalViewport].column, 0);
    EXPECT_EQ(model.cellPlan().cells[AxialViewport].column, 1);
}

TEST(LayoutModel, maximisesAndComesBackToTheLayoutBefore) {
    LayoutModel model = shownVolume();
    model.setLayoutFromShortcut(Layout::PrimaryPlusThree);
    LayoutChange change = model.toggleMaximise(AxialViewport);
    EXPECT_EQ(change.activeText, "Active plane: Axial");
    EXPECT_EQ(change.layoutText, "Axial maximised");
    EXPECT_FALSE(change.active);

    // Another plane takes the place of the maximised one; the way back stays the same.
    change = model.toggleMaximise(CoronalViewport);
    EXPECT_TRUE(change.active);
    EXPECT_EQ(change.activeText, "Active plane: Coronal");
    EXPECT_EQ(change.layoutText, "Coronal maximised");
    EXPECT_EQ(model.activeViewport(), CoronalViewport);
    EXPECT_TRUE(model.cellPlan().cells[CoronalViewport].visible);

    change = model.toggleMaximise(CoronalViewport);
    EXPECT_EQ(change.layoutText, "Layout restored");
    EXPECT_TRUE(change.activeText.empty());
    EXPECT_EQ(model.layout(), Layout::PrimaryPlusThree);
    EXPECT_EQ(model.primary(), CoronalViewport);
}

TEST(LayoutModel, focusesTheVolumeAndRestoresWhatWasThere) {
    LayoutModel model = shownVolume();
    model.setActiveViewport(CoronalViewport);
    model.setLayoutFromShortcut(Layout::PrimaryPlusThree);
    const CellPlan before = model.cellPlan();

    EXPECT_EQ(model.toggleFocus(VolumeViewport).layoutText, "Focused 3D view");
    EXPECT_EQ(model.activeViewport(), VolumeViewport);
    const CellPlan focused = model.cellPlan();
    EXPECT_EQ(focused.cells[VolumeViewport], (CellPlan::Cell{0, 0, 1, 1, true}));
    EXPECT_EQ(
        std::count_if(focused.cells.begin(), focused.cells.end(), [](const auto& c) { return c.visible; }),
        1);

    EXPECT_EQ(model.toggleFocus(VolumeViewport).layoutText, "Restored MPR + 3D layout");
    EXPECT_EQ(model.cellPlan().cells, before.cells);

    // A layout request ends the focus, and Space does not take it for a maximised plane.
    model.toggleFocus(VolumeViewport);
    EXPECT_EQ(model.toggleMaximise(model.activeViewport()).layoutText, "Axial maximised");
    EXPECT_LT(model.focusedViewport(), 0);
}

TEST(LayoutModel, ofOneViewportHasNoLayouts) {
    LayoutModel model({{"2D"}});
    for (const LayoutChange& change :
         {model.setLayoutFromShortcut(Layout::Single), model.toggleMaximise(0), model.toggleFocus(0),
          model.applyLayout(Layout::PrimaryPlusThree, 1)}) {
        EXPECT_FALSE(change.layout);
        EXPECT_TRUE(change.layoutText.empty());
    }
    EXPECT_EQ(model.cellPlan().cells, (std::vector<CellPlan::Cell>{{0, 0, 1, 1, true}}));
    EXPECT_FALSE(model.setActiveViewport(1).active);
}

} // namespace
} // namespace zorbel
