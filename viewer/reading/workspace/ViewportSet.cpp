#include "viewer/reading/workspace/ViewportSet.h"

#include <cmath>
#include <cstddef>

namespace zorbel {

namespace {

constexpr int primaryStretch = 3; ///< of PrimaryPlusThree, beside 1 for the others

} // namespace

CellPlan cellPlan(const ViewportSet& viewports, Layout layout, int primary) {
    const int count = static_cast<int>(viewports.size());
    CellPlan plan;
    plan.cells.resize(viewports.size());
    const auto place = [&plan](int viewport, int row, int column, int rowSpan = 1) {
        plan.cells[static_cast<std::size_t>(viewport)] = {row, column, rowSpan, 1, true};
    };
    switch (layout) {
    case Layout::Quad: {
        const int columns = static_cast<int>(std::ceil(std::sqrt(count)));
        for (int viewport = 0; viewport < count; ++viewport)
            place(viewport, viewport / columns, viewport % columns);
        plan.rowStretch.assign(static_cast<std::size_t>((count + columns - 1) / columns), 1);
        plan.columnStretch.assign(static_cast<std::size_t>(columns), 1);
        break;
    }
    case Layout::Single:
        place(primary, 0, 0);
        plan.rowStretch = plan.columnStretch = {1};
        break;
    case Layout::SideBySide:
        place(primary, 0, 0);
        place(viewports[static_cast<std::size_t>(primary)].companion, 0, 1);
        plan.rowStretch = {1};
        plan.columnStretch = {1, 1};
        break;
    case Layout::PrimaryPlusThree: {
        place(primary, 0, 0, count - 1);
        int row = 0;
        for (int viewport = 0; viewport < count; ++viewport)
            if (viewport != primary)
                place(viewport, row++, 1);
        plan.rowStretch.assign(static_cast<std::size_t>(count - 1), 1);
        plan.columnStretch = {primaryStretch, 1};
        break;
    }
    }
    return plan;
}

int primaryOfActive(const ViewportSet& viewports, int activeViewport) {
    const bool known = activeViewport >= 0 && activeViewport < static_cast<int>(viewports.size());
    return known && viewports[static_cast<std::size_t>(activeViewport)].isPrimary ? activeViewport : 0;
}

} // namespace zorbel
