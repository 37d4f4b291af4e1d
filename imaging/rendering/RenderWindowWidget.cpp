#include "imaging/rendering/RenderWindowWidget.h"

#include <QMouseEvent>
#include <QWheelEvent>

namespace zorbel::imaging {

void RenderWindowWidget::announceFrame() {
    QMetaObject::invokeMethod(this, &RenderWindowWidget::frameRendered, Qt::QueuedConnection);
}

void RenderWindowWidget::wheelEvent(QWheelEvent* event) {
    if (const int notches = wheel_.add(*event); notches != 0)
        Q_EMIT wheelScrolled(notches, event->modifiers());
    event->accept();
}

void RenderWindowWidget::mouseDoubleClickEvent(QMouseEvent* event) {
    Q_EMIT doubleClicked(event->position());
    event->accept();
}

} // namespace zorbel::imaging
