#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace zorbel {

/// Viewport indices, in the fixed order of all layouts. The first three are imaging::ViewDirection's.
enum Viewport : int { AxialViewport = 0, CoronalViewport = 1, SagittalViewport = 2, VolumeViewport = 3 };

/// How the four viewports share the workspace; in the order of Ctrl+1 to Ctrl+4.
enum class Layout { Quad = 0, Single = 1, SideBySide = 2, PrimaryPlusThree = 3 };

/// "2x2", "1x1", "1x2", "1+3".
std::string_view layoutLabel(Layout layout);
/// The name in files: "quad", "single", "side-by-side", "primary-plus-three".
std::string_view layoutName(Layout layout);
/// Nothing for an unknown name.
std::optional<Layout> layoutFromName(std::string_view name);

/// Where each viewport goes in the grid. Hidden viewports have an all-zero cell.
struct CellPlan {
    struct Cell {
        int row = 0;
        int column = 0;
        int rowSpan = 0;
        int columnSpan = 0;
        bool visible = false;
        friend bool operator==(const Cell&, const Cell&) = default;
    };

    std::array<Cell, 4> cells{}; ///< by viewport
    int rows = 0;
    int columns = 0;
    std::array<int, 3> rowStretch{}; ///< 0 beyond `rows`
    std::array<int, 2> columnStretch{};
};

/// primary: the viewport that the layout is built around; Quad has none.
CellPlan cellPlan(Layout layout, int primary);

/// The viewport beside the primary in SideBySide: axial's is coronal, coronal's is sagittal, any other's
/// axial.
int companionOf(int primary);

/// The viewport that a layout or maximise request is built around: the active one where it is coronal or
/// sagittal, else axial. The 3D view never is; it has a maximise button of its own.
int primaryOfActive(int activeViewport);

} // namespace zorbel
