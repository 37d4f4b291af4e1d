#pragma once

#include "viewer/reading/display/WindowDrag.h"
#include "viewer/tools/ViewTool.h"

#include <optional>

namespace zorbel {

/// Sets the window: see WindowDrag.
class WindowLevelTool : public ViewTool {
public:
    WindowLevelTool() : ViewTool(Tool::WindowLevel) {}

    bool press(ToolTarget& target, const Pointer& pointer) override;
    void drag(ToolTarget& target, const Pointer& pointer) override;

private:
    QPointF pressed_;
    std::optional<WindowDrag> window_;
};

} // namespace zorbel
