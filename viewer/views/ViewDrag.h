#pragma once

#include <QObject>
#include <QPointF>

#include <functional>

class QWidget;

namespace zorbel {

/// Mouse drags that work in every image view whatever tool is active: the middle button moves the picture,
/// the right one zooms about the point where it went down.
class ViewDrag : public QObject {
    Q_OBJECT

public:
    struct Actions {
        std::function<void(const QPointF& pixels)> pan;
        std::function<void(double factor, const QPointF& anchor)> zoom;
    };

    /// Belongs to the view.
    ViewDrag(QWidget* view, Actions actions);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Actions actions_;
    Qt::MouseButton button_ = Qt::NoButton;
    QPointF anchor_;
    QPointF last_;
};

} // namespace zorbel
