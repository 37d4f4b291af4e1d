#pragma once

#include "viewer/tools/ViewTool.h"

namespace zorbel {

/// Zooms about the point where the button went down: upwards enlarges.
class ZoomTool : public ViewTool {
public:
    ZoomTool() : ViewTool(Tool::Zoom) {}

    bool press(ToolTarget& target, const Pointer& pointer) override;
    void drag(ToolTarget& target, const Pointer& pointer) override;

private:
    QPointF anchor_;
    QPointF last_;
};

} // namespace zorbel
