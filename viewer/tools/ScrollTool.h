#pragma once

#include "viewer/tools/ViewTool.h"

namespace zorbel {

/// Goes through the slices or frames: dragged upwards to the next ones, and by the wheel in every view.
class ScrollTool : public ViewTool {
public:
    ScrollTool() : ViewTool(Tool::Scroll) {}

    bool press(ToolTarget& target, const Pointer& pointer) override;
    void drag(ToolTarget& target, const Pointer& pointer) override;
    bool takesWheel(const ToolTarget& target) const override;
    void wheel(ToolTarget& target, int notches, const Pointer& pointer) override;

private:
    QPointF last_;
    double rest_ = 0.0; ///< pixels that have not made a slice yet
};

} // namespace zorbel
