#pragma once

#include <QObject>

class QKeyEvent;

namespace zorbel {

/// Leaves the keys that a button or a drop-down list answers to with it, where Tab has led to it: the
/// window's one-key shortcuts would otherwise take them away. What was reached by the mouse does not get
/// them: a click must not take the arrow keys away from the viewports. To be made with the window, whose
/// child it is.
class FocusKeys : public QObject {
    Q_OBJECT

public:
    explicit FocusKeys(QObject* window);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool isOwn(const QKeyEvent& event) const;

    bool tabPressed_ = false;
    bool reachedByTab_ = false; ///< what has the focus now
};

} // namespace zorbel
