#include "viewer/views/ViewDrag.h"

#include <QMouseEvent>
#include <QWidget>

#include <cmath>
#include <utility>

namespace zorbel {

namespace {

constexpr double zoomPerPixel = 1.008; // a drag over 90 pixels doubles

} // namespace

ViewDrag::ViewDrag(QWidget* view, Actions actions) : QObject(view), actions_(std::move(actions)) {
    view->installEventFilter(this);
}

bool ViewDrag::eventFilter(QObject* watched, QEvent* event) {
    const auto type = event->type();
    if (type != QEvent::MouseButtonPress && type != QEvent::MouseMove && type != QEvent::MouseButtonRelease)
        return QObject::eventFilter(watched, event);
    const auto* mouse = static_cast<QMouseEvent*>(event);
    if (type == QEvent::MouseButtonPress && button_ == Qt::NoButton &&
        (mouse->button() == Qt::MiddleButton || mouse->button() == Qt::RightButton)) {
        button_ = mouse->button();
        anchor_ = last_ = mouse->position();
        return false; // others may want to know that the view was pressed
    }
    if (type == QEvent::MouseMove && !mouse->buttons().testFlag(button_))
        button_ = Qt::NoButton; // the release went elsewhere, as to a dialog that opened meanwhile
    if (type == QEvent::MouseMove && button_ != Qt::NoButton) {
        const QPointF moved = mouse->position() - last_;
        last_ = mouse->position();
        if (button_ == Qt::MiddleButton)
            actions_.pan(moved);
        else
            actions_.zoom(std::pow(zoomPerPixel, -moved.y()), anchor_);
        return true;
    }
    if (type == QEvent::MouseButtonRelease && mouse->button() == button_)
        button_ = Qt::NoButton;
    return QObject::eventFilter(watched, event);
}

} // namespace zorbel
