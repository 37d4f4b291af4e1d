#include "viewer/reading/workspace/LayoutModel.h"

#include "imaging/geometry/ViewDirection.h"

namespace zorbel {

namespace {

std::string planeName(int viewport) {
    return std::string(imaging::viewDirectionName(static_cast<imaging::ViewDirection>(viewport)));
}

} // namespace

void LayoutModel::setVolumeShown(bool shown) {
    *this = LayoutModel();
    volumeShown_ = shown;
}

CellPlan LayoutModel::cellPlan() const {
    return volumeFocused_ ? zorbel::cellPlan(Layout::Single, VolumeViewport)
                          : zorbel::cellPlan(layout_, primary_);
}

std::string LayoutModel::layoutText() const {
    return "Layout " + std::string(layoutLabel(layout_));
}

LayoutChange LayoutModel::setActiveViewport(int viewport) {
    LayoutChange change;
    if (viewport < AxialViewport || viewport > VolumeViewport)
        return change;
    change.active = viewport != active_;
    active_ = viewport;
    if (viewport != VolumeViewport)
        change.activeText = "Active plane: " + planeName(viewport);
    return change;
}

LayoutChange LayoutModel::applyLayout(Layout layout, int primary) {
    LayoutChange change;
    if (!volumeShown_)
        return change;
    enter(layout, primaryOfActive(primary));
    change.layout = true;
    change.layoutText = layoutText();
    return change;
}

LayoutChange LayoutModel::setLayoutFromShortcut(Layout layout) {
    return applyLayout(layout, active_);
}

LayoutChange LayoutModel::toggleMaximise(int viewport) {
    if (!volumeShown_)
        return {};
    const int primary = primaryOfActive(viewport);
    LayoutChange change;
    if (layout_ == Layout::Single && primary_ == primary && !volumeFocused_) {
        enter(beforeMaximise_, primary);
        change.layoutText = "Layout restored";
    } else {
        change = setActiveViewport(primary);
        enter(Layout::Single, primary);
        change.layoutText = planeName(primary) + " maximised";
    }
    change.layout = true;
    return change;
}

LayoutChange LayoutModel::toggleVolumeFocus() {
    if (!volumeShown_)
        return {};
    LayoutChange change;
    if (volumeFocused_) {
        volumeFocused_ = false;
        change.layoutText = "Restored MPR + 3D layout";
    } else {
        change = setActiveViewport(VolumeViewport);
        volumeFocused_ = true;
        change.layoutText = "Focused 3D view";
    }
    change.layout = true;
    return change;
}

void LayoutModel::enter(Layout layout, int primary) {
    if (layout == Layout::Single && layout_ != Layout::Single)
        beforeMaximise_ = layout_;
    layout_ = layout;
    primary_ = primary;
    volumeFocused_ = false;
}

} // namespace zorbel
