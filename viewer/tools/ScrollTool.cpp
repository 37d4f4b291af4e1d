#include "viewer/tools/ScrollTool.h"

#include "viewer/reading/display/WheelStep.h"
#include "viewer/tools/ToolTarget.h"

#include <cmath>

namespace zorbel {

bool ScrollTool::press(ToolTarget& target, const Pointer& pointer) {
    last_ = pointer.position;
    rest_ = 0.0;
    return target.showsImage();
}

void ScrollTool::drag(ToolTarget& target, const Pointer& pointer) {
    rest_ += last_.y() - pointer.position.y();
    last_ = pointer.position;
    const double slices = std::trunc(rest_ / target.pixelsPerSlice());
    rest_ -= slices * target.pixelsPerSlice();
    if (slices != 0.0)
        target.step(slices);
}

bool ScrollTool::takesWheel(const ToolTarget& target) const {
    return target.showsImage();
}

void ScrollTool::wheel(ToolTarget& target, int notches, const Pointer& pointer) {
    target.step(wheelStep(
        notches, pointer.modifiers.testFlag(Qt::ShiftModifier), pointer.modifiers.testFlag(Qt::AltModifier)));
}

} // namespace zorbel
