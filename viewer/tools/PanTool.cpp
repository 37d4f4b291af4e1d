#include "viewer/tools/PanTool.h"

#include "viewer/tools/ToolTarget.h"

namespace zorbel {

bool PanTool::press(ToolTarget& target, const Pointer& pointer) {
    last_ = pointer.position;
    return target.showsImage();
}

void PanTool::drag(ToolTarget& target, const Pointer& pointer) {
    target.panBy(pointer.position - last_);
    last_ = pointer.position;
}

} // namespace zorbel
