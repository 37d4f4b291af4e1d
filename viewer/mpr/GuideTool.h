#pragma once

#include "viewer/reading/planes/MprGuide.h"
#include "viewer/tools/ViewTool.h"

#include <functional>

namespace zorbel {

/// The guide over one plane: the lines of the two other planes with their handles, and the crosshair's
/// centre. It is the tool that moves the crosshair and the one that turns the planes, and is painted
/// whichever tool is active.
class GuideTool : public ViewTool {
public:
    struct Actions {
        std::function<void(const GuideEvent&)> guide;
        /// The crosshair tool was pressed, and is dragged, beside the guide's own marks.
        std::function<void(const QPointF&)> moveCrosshair;
        std::function<void()> repaint;
    };

    explicit GuideTool(Actions actions) : ViewTool(Tool::Crosshair), actions_(std::move(actions)) {}

    void setView(const MprGuide::View& view) { guide_.setView(view); }
    void setMode(GuideMode mode);
    const MprGuide& guide() const { return guide_; }

    bool press(ToolTarget& target, const Pointer& pointer) override;
    void drag(ToolTarget& target, const Pointer& pointer) override;
    void release(ToolTarget& target, const Pointer& pointer) override;
    void giveUp(ToolTarget& target) override;
    void hover(ToolTarget& target, const Pointer& pointer) override;
    void leave(ToolTarget& target) override;
    void paint(const ToolTarget& target, QPainter& painter) const override;

private:
    void paintLine(QPainter& painter, int index) const;
    void paintHandles(QPainter& painter, int index) const;
    void paintCenter(QPainter& painter) const;
    QColor markColour(const MprGuide::Hit& mark) const;
    void hover(const MprGuide::Hit& hit);

    Actions actions_;
    MprGuide guide_;
    MprGuide::Hit hovered_;
};

} // namespace zorbel
