#pragma once

#include <QObject>

namespace zorbel {

/// Leaves the keys that a focused button or drop-down list answers to with it: the window's one-key shortcuts
/// would otherwise take them away. A press of Space on a button that Tab has reached is a press of that
/// button. To be made with the window, whose child it is.
class FocusKeys : public QObject {
    Q_OBJECT

public:
    explicit FocusKeys(QObject* window);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};

} // namespace zorbel
