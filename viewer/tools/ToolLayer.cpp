#include "viewer/tools/ToolLayer.h"

#include "viewer/tools/ToolTarget.h"

#include <QEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <utility>

namespace zorbel {

namespace {

Pointer pointerOf(const QMouseEvent& event) {
    return {event.position(), event.buttons(), event.modifiers()};
}

} // namespace

ToolLayer::ToolLayer(QWidget* view, ToolTarget& target) : QWidget(view), target_(target) {
    setAttribute(Qt::WA_NoSystemBackground);
    setStyleSheet(QStringLiteral("background: transparent;"));
    setMouseTracking(true);
    view->installEventFilter(this);
    resize(view->size());
}

void ToolLayer::setTools(ViewTool* active, std::vector<const ViewTool*> painted) {
    giveUp();
    if (active_ && active_ != active)
        active_->leave(target_);
    active_ = active;
    painted_ = std::move(painted);
    showCursor(false);
    update();
}

void ToolLayer::giveUp() {
    if (holder_)
        std::exchange(holder_, nullptr)->giveUp(target_);
}

void ToolLayer::showCursor(bool pressed) {
    if (active_)
        setCursor(active_->cursor(pressed, devicePixelRatioF()));
    else
        unsetCursor();
}

bool ToolLayer::eventFilter(QObject* watched, QEvent* event) {
    // Taken over before anybody else hears of the new size, so that nothing is ever painted for the old one.
    if (watched == parent() && event->type() == QEvent::Resize)
        resize(static_cast<QResizeEvent*>(event)->size());
    return QWidget::eventFilter(watched, event);
}

void ToolLayer::mousePressEvent(QMouseEvent* event) {
    event->accept();
    Q_EMIT pressed();
    showCursor(true);
    if (holder_)
        return; // another button during a drag
    const bool navigates = event->button() == Qt::MiddleButton || event->button() == Qt::RightButton;
    ViewTool* tool = event->button() == Qt::LeftButton ? active_ : navigates ? &navigation_ : nullptr;
    if (!tool || !tool->press(target_, pointerOf(*event)))
        return;
    holder_ = tool;
    held_ = event->button();
}

void ToolLayer::mouseMoveEvent(QMouseEvent* event) {
    event->accept();
    if (!event->buttons().testFlag(held_))
        giveUp();
    if (holder_)
        holder_->drag(target_, pointerOf(*event));
    else if (active_ && event->buttons() == Qt::NoButton)
        active_->hover(target_, pointerOf(*event));
}

void ToolLayer::mouseReleaseEvent(QMouseEvent* event) {
    event->accept();
    showCursor(false);
    if (holder_ && event->button() == held_)
        std::exchange(holder_, nullptr)->release(target_, pointerOf(*event));
}

void ToolLayer::mouseDoubleClickEvent(QMouseEvent* event) {
    event->setAccepted(active_ && active_->doubleClick(target_, pointerOf(*event))); // or it is the view's
}

void ToolLayer::wheelEvent(QWheelEvent* event) {
    // A tool that takes the wheel takes its smallest step too.
    const QPoint angle = event->angleDelta();
    const Pointer pointer{event->position(), event->buttons(), event->modifiers()};
    const bool taken = active_ && !angle.isNull() && active_->takesWheel(target_);
    event->setAccepted(taken);
    if (!taken)
        return;
    if (const int notches = wheel_.add(*event); notches != 0)
        active_->wheel(target_, notches, pointer);
}

void ToolLayer::enterEvent(QEnterEvent* event) {
    showCursor(false);
    QWidget::enterEvent(event);
}

void ToolLayer::leaveEvent(QEvent* event) {
    if (active_)
        active_->leave(target_);
    QWidget::leaveEvent(event);
}

void ToolLayer::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    for (const ViewTool* tool : painted_) {
        painter.save();
        tool->paint(target_, painter);
        painter.restore();
    }
}

} // namespace zorbel
