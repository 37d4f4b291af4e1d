#pragma once

#include "viewer/reading/measurements/MeasurementDrawing.h"
#include "viewer/reading/measurements/MeasurementView.h"

#include <QWidget>

#include <functional>

namespace zorbel {

class MeasurementController;

/// Draws the measurements that lie in a view over it, and hands the mouse to them while a measuring tool is
/// active; otherwise the mouse goes through. Fills the view it lies on.
class MeasurementOverlay : public QWidget {
    Q_OBJECT

public:
    /// viewNow: how the view lies at this moment.
    MeasurementOverlay(
        QWidget* view, MeasurementController& measurements, std::function<MeasurementView()> viewNow);

    void setMeasuring(bool measuring);

Q_SIGNALS:
    /// A button went down that a measurement took.
    void pressed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QFont labelFont() const;
    static void paint(QPainter& painter, const MeasurementPicture& picture);
    static void paintLabel(QPainter& painter, const MeasurementPicture& picture);

    MeasurementController& measurements_;
    std::function<MeasurementView()> viewNow_;
};

} // namespace zorbel
