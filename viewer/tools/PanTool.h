#pragma once

#include "viewer/tools/ViewTool.h"

namespace zorbel {

/// The hand: moves the picture.
class PanTool : public ViewTool {
public:
    explicit PanTool(Tool tool = Tool::Pan) : ViewTool(tool) {}

    bool press(ToolTarget& target, const Pointer& pointer) override;
    void drag(ToolTarget& target, const Pointer& pointer) override;

private:
    QPointF last_;
};

} // namespace zorbel
