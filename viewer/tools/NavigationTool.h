#pragma once

#include "viewer/tools/PanTool.h"
#include "viewer/tools/ZoomTool.h"

namespace zorbel {

/// What works in every image view whatever tool is active: the middle button moves the picture, the right one
/// zooms about the point where it went down.
class NavigationTool : public ViewTool {
public:
    NavigationTool() : ViewTool(Tool::Pan) {}

    bool press(ToolTarget& target, const Pointer& pointer) override {
        held_ = pointer.buttons.testFlag(Qt::MiddleButton) ? static_cast<ViewTool*>(&hand_) : &zoom_;
        return held_->press(target, pointer);
    }
    void drag(ToolTarget& target, const Pointer& pointer) override { held_->drag(target, pointer); }

private:
    PanTool hand_;
    ZoomTool zoom_;
    ViewTool* held_ = &hand_;
};

} // namespace zorbel
