#include "viewer/views/ToolDrag.h"

#include <QMouseEvent>
#include <QWidget>

#include <utility>

namespace zorbel {

ToolDrag::ToolDrag(QWidget* view, Actions actions) : QObject(view), actions_(std::move(actions)) {
    view->installEventFilter(this);
}

bool ToolDrag::eventFilter(QObject* watched, QEvent* event) {
    const auto type = event->type();
    if (type != QEvent::MouseButtonPress && type != QEvent::MouseMove && type != QEvent::MouseButtonRelease)
        return QObject::eventFilter(watched, event);
    const auto* mouse = static_cast<QMouseEvent*>(event);
    if (type == QEvent::MouseButtonPress && mouse->button() == Qt::LeftButton && !dragging_) {
        dragging_ = actions_.begin(mouse->position());
        pressed_ = last_ = mouse->position();
        return false; // others may want to know that the view was pressed
    }
    // A release that went elsewhere, as to a dialog that opened meanwhile, ends the drag too.
    dragging_ = dragging_ && (type != QEvent::MouseMove || mouse->buttons().testFlag(Qt::LeftButton));
    if (type == QEvent::MouseMove && dragging_) {
        const QPointF step = mouse->position() - last_;
        last_ = mouse->position();
        actions_.move(last_, last_ - pressed_, step);
        return true;
    }
    if (type == QEvent::MouseButtonRelease && mouse->button() == Qt::LeftButton)
        dragging_ = false;
    return QObject::eventFilter(watched, event);
}

} // namespace zorbel
