#include "viewer/tools/ZoomTool.h"

#include "viewer/tools/ToolTarget.h"

#include <cmath>

namespace zorbel {

namespace {

constexpr double zoomPerPixel = 1.008; // a drag over 90 pixels doubles

} // namespace

bool ZoomTool::press(ToolTarget& target, const Pointer& pointer) {
    anchor_ = last_ = pointer.position;
    return target.showsImage();
}

void ZoomTool::drag(ToolTarget& target, const Pointer& pointer) {
    target.zoomBy(std::pow(zoomPerPixel, last_.y() - pointer.position.y()), anchor_);
    last_ = pointer.position;
}

} // namespace zorbel
