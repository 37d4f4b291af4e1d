#include "viewer/reading/base/ViewportLayout.h"

namespace zorbel {

namespace {

struct LayoutWords {
    Layout layout;
    std::string_view label;
    std::string_view name;
};

constexpr std::array<LayoutWords, 4> words{{
    {Layout::Quad, "2x2", "quad"},
    {Layout::Single, "1x1", "single"},
    {Layout::SideBySide, "1x2", "side-by-side"},
    {Layout::PrimaryPlusThree, "1+3", "primary-plus-three"},
}};

const LayoutWords& wordsOf(Layout layout) {
    return words[static_cast<std::size_t>(layout)];
}

} // namespace

std::string_view layoutLabel(Layout layout) {
    return wordsOf(layout).label;
}

std::string_view layoutName(Layout layout) {
    return wordsOf(layout).name;
}

std::optional<Layout> layoutFromName(std::string_view name) {
    for (const LayoutWords& candidate : words) {
        if (candidate.name == name)
            return candidate.layout;
    }
    return std::nullopt;
}

CellPlan cellPlan(Layout layout, int primary) {
    CellPlan plan;
    const auto place = [&plan](int viewport, int row, int column, int rowSpan = 1) {
        plan.cells[static_cast<std::size_t>(viewport)] = {row, column, rowSpan, 1, true};
    };
    switch (layout) {
    case Layout::Quad:
        place(AxialViewport, 0, 0);
        place(CoronalViewport, 0, 1);
        place(SagittalViewport, 1, 0);
        place(VolumeViewport, 1, 1);
        plan.rows = plan.columns = 2;
        plan.rowStretch = {1, 1, 0};
        plan.columnStretch = {1, 1};
        break;
    case Layout::Single:
        place(primary, 0, 0);
        plan.rows = plan.columns = 1;
        plan.rowStretch = {1, 0, 0};
        plan.columnStretch = {1, 0};
        break;
    case Layout::SideBySide:
        place(primary, 0, 0);
        place(companionOf(primary), 0, 1);
        plan.rows = 1;
        plan.columns = 2;
        plan.rowStretch = {1, 0, 0};
        plan.columnStretch = {1, 1};
        break;
    case Layout::PrimaryPlusThree: {
        place(primary, 0, 0, 3);
        int row = 0;
        for (int viewport = AxialViewport; viewport <= VolumeViewport; ++viewport) {
            if (viewport != primary)
                place(viewport, row++, 1);
        }
        plan.rows = 3;
        plan.columns = 2;
        plan.rowStretch = {1, 1, 1};
        plan.columnStretch = {3, 1};
        break;
    }
    }
    return plan;
}

int companionOf(int primary) {
    switch (primary) {
    case AxialViewport:
        return CoronalViewport;
    case CoronalViewport:
        return SagittalViewport;
    default:
        return AxialViewport;
    }
}

int primaryOfActive(int activeViewport) {
    return activeViewport == CoronalViewport || activeViewport == SagittalViewport ? activeViewport
                                                                                   : AxialViewport;
}

} // namespace zorbel
