#pragma once

#include "viewer/reading/base/ViewportLayout.h"

#include <string>
#include <vector>

namespace zorbel {

/// What a layout needs to know of one viewport.
struct ViewportTraits {
    std::string name; ///< as texts speak of it: "Axial"
    /// A layout can be built around it, and it has a maximised state of the layout's own. Any other viewport
    /// is maximised by a button of its own, and says so in these words.
    bool isPrimary = true;
    int companion = 0; ///< the viewport beside it in SideBySide
    std::string focusedText{};
    std::string restoredText{};
};

/// The viewports of a mode, in the fixed order of all its layouts. A mode of one viewport has no layouts to
/// choose.
using ViewportSet = std::vector<ViewportTraits>;

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

    std::vector<Cell> cells; ///< by viewport
    std::vector<int> rowStretch;
    std::vector<int> columnStretch;

    int rows() const { return static_cast<int>(rowStretch.size()); }
    int columns() const { return static_cast<int>(columnStretch.size()); }
};

/// primary: the viewport that the layout is built around; Quad has none. PrimaryPlusThree stacks all others
/// beside it.
CellPlan cellPlan(const ViewportSet& viewports, Layout layout, int primary);

/// The viewport that a layout or maximise request is built around: the active one where a layout can be, else
/// the first.
int primaryOfActive(const ViewportSet& viewports, int activeViewport);

} // namespace zorbel
