#pragma once

#include "viewer/reading/measurements/MeasurementDrawing.h"
#include "viewer/tools/ViewTool.h"

class QFont;

namespace zorbel {

class MeasurementController;

/// Places and edits measurements in any viewport, and paints those that lie in it. It is painted whichever
/// tool is active.
class MeasureTool : public ViewTool {
public:
    /// measurements must outlive the tool.
    explicit MeasureTool(MeasurementController& measurements)
        : ViewTool(Tool::Length), measurements_(measurements) {}

    bool press(ToolTarget& target, const Pointer& pointer) override;
    void drag(ToolTarget& target, const Pointer& pointer) override;
    void release(ToolTarget& target, const Pointer& pointer) override;
    void hover(ToolTarget& target, const Pointer& pointer) override;
    void leave(ToolTarget& target) override;
    bool doubleClick(ToolTarget& target, const Pointer& pointer) override;
    void paint(const ToolTarget& target, QPainter& painter) const override;

private:
    static QFont labelFont();
    static void paintShape(QPainter& painter, const MeasurementPicture& picture);
    static void paintLabel(QPainter& painter, const MeasurementPicture& picture);

    MeasurementController& measurements_;
};

} // namespace zorbel
