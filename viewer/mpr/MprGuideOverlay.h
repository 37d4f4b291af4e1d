#pragma once

#include "viewer/reading/planes/MprGuide.h"

#include <QWidget>

namespace zorbel {

/// The guide over one plane's view: the lines of the two other planes with their handles, and the crosshair's
/// centre. Fills the view it lies on; mouse events that its guide does not take go through to the view.
class MprGuideOverlay : public QWidget {
    Q_OBJECT

public:
    explicit MprGuideOverlay(QWidget* view);

    /// Everything but the size, which is the widget's own.
    void
    setGuide(const Point2& center, const std::array<GuideLine, 2>& lines, bool active, bool linesVisible);
    void setMode(GuideMode mode);
    const MprGuide& guide() const { return guide_; }

Q_SIGNALS:
    void guideEvent(const zorbel::GuideEvent& event);
    /// A button went down that the guide kept for itself.
    void pressed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void paintLine(QPainter& painter, int index) const;
    void paintHandles(QPainter& painter, int index) const;
    void paintCenter(QPainter& painter) const;
    QColor markColour(const MprGuide::Hit& mark) const;
    void hover(const MprGuide::Hit& hit);

    MprGuide guide_;
    MprGuide::Hit hovered_;
};

} // namespace zorbel
