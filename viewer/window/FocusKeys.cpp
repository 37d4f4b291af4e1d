#include "viewer/window/FocusKeys.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>

namespace zorbel {

FocusKeys::FocusKeys(QObject* window) : QObject(window) {
    window->installEventFilter(this);
}

bool FocusKeys::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::ShortcutOverride)
        return QObject::eventFilter(watched, event);
    const auto* keys = static_cast<QKeyEvent*>(event);
    const QWidget* focused = QApplication::focusWidget();
    bool own = false;
    if (keys->modifiers() == Qt::NoModifier && qobject_cast<const QAbstractButton*>(focused)) {
        own = keys->key() == Qt::Key_Space;
    } else if (keys->modifiers() == Qt::NoModifier && qobject_cast<const QComboBox*>(focused)) {
        const int key = keys->key();
        own = key == Qt::Key_Space || key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_PageUp ||
              key == Qt::Key_PageDown || key == Qt::Key_Home || key == Qt::Key_End;
    }
    event->setAccepted(own);
    return own || QObject::eventFilter(watched, event);
}

} // namespace zorbel
