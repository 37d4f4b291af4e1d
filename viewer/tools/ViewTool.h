#pragma once

#include "viewer/reading/base/Tool.h"

#include <QCursor>
#include <QPointF>

class QPainter;

namespace zorbel {

class ToolTarget;

/// The pointer at one moment: logical pixels of the view.
struct Pointer {
    QPointF position;
    Qt::MouseButtons buttons = Qt::NoButton; ///< that are down, the one that just went down included
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
};

/// What the mouse does in the viewports while this tool is active, its pointer, and what it paints over the
/// image. One object may serve several viewports: it is told which one. User-interface thread.
class ViewTool {
public:
    /// tool: whose pointer is shown.
    explicit ViewTool(Tool tool) : tool_(tool) {}
    virtual ~ViewTool() = default;
    ViewTool(const ViewTool&) = delete;
    ViewTool& operator=(const ViewTool&) = delete;

    /// A button went down. True where the tool takes the drag that follows; it is then told of its moves and
    /// of its end.
    virtual bool press(ToolTarget& target, const Pointer& pointer) = 0;
    virtual void drag(ToolTarget&, const Pointer&) {}
    virtual void release(ToolTarget&, const Pointer&) {}
    /// Instead of the release, which went elsewhere, as to a dialog that opened meanwhile.
    virtual void giveUp(ToolTarget&) {}
    /// The pointer moves and no button is down; it leaves.
    virtual void hover(ToolTarget&, const Pointer&) {}
    virtual void leave(ToolTarget&) {}
    /// Whether wheel() is the tool's here, and not the view's own; then, whole notches, positive away from
    /// the user.
    virtual bool takesWheel(const ToolTarget&) const { return false; }
    virtual void wheel(ToolTarget&, int, const Pointer&) {}
    /// True where the tool needs the double-click for itself.
    virtual bool doubleClick(ToolTarget&, const Pointer&) { return false; }
    virtual QCursor cursor(bool pressed, double pixelRatio) const {
        return cursorOf(tool_, pressed, pixelRatio);
    }
    virtual void paint(const ToolTarget&, QPainter&) const {}

    /// The pointer that shows a tool, sharp at this device pixel ratio.
    static QCursor cursorOf(Tool tool, bool pressed, double pixelRatio);

protected:
    Tool tool_;
};

} // namespace zorbel
