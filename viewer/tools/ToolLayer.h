#pragma once

#include "imaging/rendering/WheelAccumulator.h"
#include "viewer/tools/NavigationTool.h"

#include <QWidget>

#include <vector>

namespace zorbel {

class ToolTarget;

/// Lies over an image view and fills it: hands the mouse to the active tool, and shows what tools paint. What
/// no tool takes, as the wheel, goes on to the view below. User-interface thread.
class ToolLayer : public QWidget {
    Q_OBJECT

public:
    /// target: what the view shows; it must outlive the layer.
    ToolLayer(QWidget* view, ToolTarget& target);

    /// active: null without an image. painted: those that are seen, active or not, the lowest first. All must
    /// outlive their time here.
    void setTools(ViewTool* active, std::vector<const ViewTool*> painted);

Q_SIGNALS:
    /// A button went down.
    void pressed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void giveUp();
    void showCursor(bool pressed);

    ToolTarget& target_;
    ViewTool* active_ = nullptr;
    std::vector<const ViewTool*> painted_;
    NavigationTool navigation_;
    ViewTool* holder_ = nullptr; ///< of the drag that goes on
    Qt::MouseButton held_ = Qt::NoButton;
    imaging::WheelAccumulator wheel_;
};

} // namespace zorbel
