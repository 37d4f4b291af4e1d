#pragma once

#include <QObject>
#include <QPointF>

#include <functional>

class QWidget;

namespace zorbel {

/// Drags with the left button in an image view that nothing above the view has taken. Belongs to the view.
class ToolDrag : public QObject {
    Q_OBJECT

public:
    struct Actions {
        /// At the press: whether the active tool drags here at all.
        std::function<bool(const QPointF& position)> begin;
        /// position: of the pointer; total: from the press; step: from the last call; logical pixels.
        std::function<void(const QPointF& position, const QPointF& total, const QPointF& step)> move;
    };

    ToolDrag(QWidget* view, Actions actions);

    bool isDragging() const { return dragging_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Actions actions_;
    bool dragging_ = false;
    QPointF pressed_;
    QPointF last_;
};

} // namespace zorbel
