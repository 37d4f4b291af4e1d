#include "viewer/tools/WindowLevelTool.h"

#include "viewer/tools/ToolTarget.h"

namespace zorbel {

bool WindowLevelTool::press(ToolTarget& target, const Pointer& pointer) {
    pressed_ = pointer.position;
    window_ = target.showsImage() ? target.beginWindowDrag() : std::nullopt;
    return window_.has_value();
}

void WindowLevelTool::drag(ToolTarget& target, const Pointer& pointer) {
    const QPointF way = pointer.position - pressed_;
    target.dragWindow(window_->at(way.x(), way.y()));
}

} // namespace zorbel
