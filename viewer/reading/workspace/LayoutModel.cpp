#include "viewer/reading/workspace/LayoutModel.h"

namespace zorbel {

void LayoutModel::reset() {
    *this = LayoutModel(std::move(viewports_));
}

CellPlan LayoutModel::cellPlan() const {
    if (!hasLayouts())
        return zorbel::cellPlan(viewports_, Layout::Single, 0);
    return focused_ >= 0 ? zorbel::cellPlan(viewports_, Layout::Single, focused_)
                         : zorbel::cellPlan(viewports_, layout_, primary_);
}

std::string LayoutModel::layoutText() const {
    return hasLayouts() ? "Layout " + std::string(layoutLabel(layout_)) : std::string();
}

LayoutChange LayoutModel::setActiveViewport(int viewport) {
    LayoutChange change;
    if (viewport < 0 || viewport >= static_cast<int>(viewports_.size()))
        return change;
    change.active = viewport != active_;
    active_ = viewport;
    if (hasLayouts() && traits(viewport).isPrimary)
        change.activeText = "Active plane: " + traits(viewport).name;
    return change;
}

LayoutChange LayoutModel::applyLayout(Layout layout, int primary) {
    LayoutChange change;
    if (!hasLayouts())
        return change;
    enter(layout, primaryOfActive(viewports_, primary));
    change.layout = true;
    change.layoutText = layoutText();
    return change;
}

LayoutChange LayoutModel::setLayoutFromShortcut(Layout layout) {
    return applyLayout(layout, active_);
}

LayoutChange LayoutModel::toggleMaximise(int viewport) {
    if (!hasLayouts())
        return {};
    const int primary = primaryOfActive(viewports_, viewport);
    LayoutChange change;
    if (layout_ == Layout::Single && primary_ == primary && focused_ < 0) {
        enter(beforeMaximise_, primary);
        change.layoutText = "Layout restored";
    } else {
        change = setActiveViewport(primary);
        enter(Layout::Single, primary);
        change.layoutText = traits(primary).name + " maximised";
    }
    change.layout = true;
    return change;
}

LayoutChange LayoutModel::toggleFocus(int viewport) {
    if (!hasLayouts() || viewport < 0 || viewport >= static_cast<int>(viewports_.size()))
        return {};
    LayoutChange change;
    if (focused_ == viewport) {
        focused_ = -1;
        change.layoutText = traits(viewport).restoredText;
    } else {
        change = setActiveViewport(viewport);
        focused_ = viewport;
        change.layoutText = traits(viewport).focusedText;
    }
    change.layout = true;
    return change;
}

void LayoutModel::enter(Layout layout, int primary) {
    if (layout == Layout::Single && layout_ != Layout::Single)
        beforeMaximise_ = layout_;
    layout_ = layout;
    primary_ = primary;
    focused_ = -1;
}

} // namespace zorbel
