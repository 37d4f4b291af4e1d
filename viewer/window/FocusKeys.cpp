#include "viewer/window/FocusKeys.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>

#include <utility>

namespace zorbel {

FocusKeys::FocusKeys(QObject* window) : QObject(window) {
    window->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, [this] {
        reachedByTab_ = std::exchange(tabPressed_, false);
    });
}

bool FocusKeys::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::ShortcutOverride)
        return QObject::eventFilter(watched, event);
    const auto& keys = static_cast<const QKeyEvent&>(*event);
    tabPressed_ = keys.key() == Qt::Key_Tab || keys.key() == Qt::Key_Backtab;
    if (tabPressed_) // it leads on at once, or nowhere; a click that follows is none of it
        QMetaObject::invokeMethod(
            this, [this] { tabPressed_ = false; }, Qt::QueuedConnection);
    if (!isOwn(keys))
        return QObject::eventFilter(watched, event);
    event->accept();
    return true;
}

bool FocusKeys::isOwn(const QKeyEvent& event) const {
    if (!reachedByTab_ || event.modifiers() != Qt::NoModifier)
        return false;
    const int key = event.key();
    if (qobject_cast<const QAbstractButton*>(QApplication::focusWidget()))
        return key == Qt::Key_Space;
    return qobject_cast<const QComboBox*>(QApplication::focusWidget()) &&
           (key == Qt::Key_Space || key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_PageUp ||
            key == Qt::Key_PageDown || key == Qt::Key_Home || key == Qt::Key_End);
}

} // namespace zorbel
