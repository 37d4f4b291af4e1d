#pragma once

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QComboBox>
#include <QLineEdit>
#include <QStringList>

namespace zorbel::test {

/// A person meets the widget as a control of its own, not as a part of another one.
inline bool isControl(const QWidget& widget) {
    const QWidget* parent = widget.parentWidget();
    if (qobject_cast<const QComboBox*>(parent) || qobject_cast<const QAbstractSpinBox*>(parent) ||
        qobject_cast<const QLineEdit*>(parent) || qobject_cast<const QAbstractItemView*>(parent) ||
        widget.objectName().startsWith(QLatin1String("qt_")))
        return false;
    return widget.inherits("QAbstractButton") || widget.inherits("QComboBox") ||
           widget.inherits("QLineEdit") || widget.inherits("QAbstractSpinBox") ||
           (widget.inherits("QAbstractItemView") && !widget.inherits("QHeaderView"));
}

/// What keeps a reader without a mouse or without sight from the visible controls of a window: "name: fault".
inline QStringList barriersIn(const QWidget& window) {
    QStringList barriers;
    for (auto* control : window.findChildren<QWidget*>()) {
        if (!control->isVisibleTo(&window) || !isControl(*control))
            continue;
        const auto add = [&](const char* fault) {
            barriers += control->metaObject()->className() + QStringLiteral(" ") + control->objectName() +
                        QStringLiteral(": ") + QLatin1String(fault);
        };
        const QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(control);
        if (!spoken || spoken->text(QAccessible::Name).isEmpty())
            add("a screen reader has no name for it");
        if (control->isEnabled() && !(control->focusPolicy() & Qt::TabFocus))
            add("Tab does not reach it");
        if (!control->isEnabled() && control->accessibleDescription().isEmpty())
            add("it does not say why it is disabled");
    }
    return barriers;
}

} // namespace zorbel::test
