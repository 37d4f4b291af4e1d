#pragma once

#include "imaging/rendering/WheelAccumulator.h"

#include <QImage>
#include <QWidget>

namespace zorbel::imaging {

/// A view into an image: what the plane and volume views have in common, whatever draws them. User-interface
/// thread.
class RenderWindowWidget : public QWidget {
    Q_OBJECT

public:
    explicit RenderWindowWidget(QWidget* parent = nullptr) : QWidget(parent) {}

    /// Asks for one new frame. Several requests before it is drawn make one frame; a hidden widget draws
    /// none.
    virtual void requestUpdate() = 0;

    /// The complete picture of what the view shows now, in device pixels, without child widgets
    /// (QWidget::grab() has those too); waits for it.
    virtual QImage grabFrame() = 0;

    /// Time it took to compute the last frame, until the graphics card had finished it where one draws; 0
    /// before the first.
    double lastFrameMilliseconds() const { return lastFrameMs_; }

Q_SIGNALS:
    /// After a frame was drawn; delivered from the event loop.
    void frameRendered();
    void doubleClicked(const QPointF& position);
    /// Whole notches of the wheel, positive away from the user.
    void wheelScrolled(int notches, Qt::KeyboardModifiers modifiers);

protected:
    void setLastFrameMilliseconds(double milliseconds) { lastFrameMs_ = milliseconds; }
    /// Emits frameRendered() from the event loop.
    void announceFrame();

    void wheelEvent(QWheelEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    WheelAccumulator wheel_;
    double lastFrameMs_ = 0.0;
};

} // namespace zorbel::imaging
