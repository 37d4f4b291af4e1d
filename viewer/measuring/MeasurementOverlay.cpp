#include "viewer/measuring/MeasurementOverlay.h"

#include "viewer/measuring/MeasurementController.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QMouseEvent>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>
#include <utility>

namespace zorbel {

namespace {

constexpr double handleHalfSide = 3.5;
constexpr QRgb rim = 0xB0041426;
constexpr QRgb labelGround = 0x90041426;

Point2 toPoint(const QPointF& position) {
    return {position.x(), position.y()};
}

QPolygonF polygonOf(const MeasurementShape::Polyline& line) {
    QPolygonF polygon;
    for (const Point2& point : line.points)
        polygon << QPointF(point.x, point.y);
    if (line.closed && !polygon.isEmpty())
        polygon << polygon.front();
    return polygon;
}

/// Light lines on bright bone need a dark rim.
void stroke(QPainter& painter, const QPolygonF& line, const QColor& colour, double width) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor::fromRgba(rim), width + 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(line);
    painter.setPen(QPen(colour, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(line);
}

} // namespace

MeasurementOverlay::MeasurementOverlay(
    QWidget* view, MeasurementController& measurements, std::function<MeasurementView()> viewNow)
    : QWidget(view), measurements_(measurements), viewNow_(std::move(viewNow)) {
    setAttribute(Qt::WA_NoSystemBackground);
    setStyleSheet(QStringLiteral("background: transparent;"));
    setMouseTracking(true);
    setMeasuring(false);
    view->installEventFilter(this);
    resize(view->size());
    connect(&measurements, &MeasurementController::repaintNeeded, this, qOverload<>(&QWidget::update));
}

void MeasurementOverlay::setMeasuring(bool measuring) {
    setAttribute(Qt::WA_TransparentForMouseEvents, !measuring);
}

bool MeasurementOverlay::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parent() && event->type() == QEvent::Resize)
        resize(static_cast<QResizeEvent*>(event)->size());
    return QWidget::eventFilter(watched, event);
}

void MeasurementOverlay::mousePressEvent(QMouseEvent* event) {
    const bool taken =
        event->button() == Qt::LeftButton && measurements_.press(viewNow_(), toPoint(event->position()));
    event->setAccepted(taken);
    if (taken)
        Q_EMIT pressed();
}

void MeasurementOverlay::mouseMoveEvent(QMouseEvent* event) {
    const bool others = (event->buttons() & ~Qt::LeftButton) != 0;
    event->setAccepted(!others && measurements_.move(viewNow_(), toPoint(event->position())));
}

void MeasurementOverlay::mouseReleaseEvent(QMouseEvent* event) {
    event->setAccepted(
        event->button() == Qt::LeftButton && measurements_.release(viewNow_(), toPoint(event->position())));
}

void MeasurementOverlay::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

void MeasurementOverlay::leaveEvent(QEvent* event) {
    measurements_.leave();
    QWidget::leaveEvent(event);
}

QFont MeasurementOverlay::labelFont() const {
    QFont font(QString::fromLatin1(MeasurementDrawing::labelFont));
    font.setStyleHint(QFont::Monospace);
    font.setPixelSize(13);
    return font;
}

void MeasurementOverlay::paintEvent(QPaintEvent*) {
    const MeasurementView view = viewNow_();
    const QFontMetricsF metrics(labelFont());
    const auto sizeOf = [&metrics](const std::string& text) {
        const QSizeF size = metrics.size(0, QString::fromStdString(text));
        return Point2{size.width(), size.height()};
    };
    const auto labelOf = [this](const Measurement& measurement) {
        return measurements_.valuesOf(measurement).label;
    };
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(labelFont());
    const auto pictures =
        MeasurementDrawing::of(measurements_.list(), measurements_.editor(), view, labelOf, sizeOf);
    for (const auto& picture : pictures)
        paint(painter, picture);
    for (const auto& picture : pictures) // over the lines of all
        paintLabel(painter, picture);
}

void MeasurementOverlay::paint(QPainter& painter, const MeasurementPicture& picture) {
    const QColor line = QColor::fromRgb(picture.lineColour);
    for (const auto& polyline : picture.shape.body)
        stroke(painter, polygonOf(polyline), line, picture.isInHand ? 2.0 : 1.5);
    for (const auto& polyline : picture.shape.marks)
        stroke(painter, polygonOf(polyline), line, 1.5);
    if (picture.showsHandles) {
        painter.setPen(QPen(QColor::fromRgba(rim), 1.0));
        painter.setBrush(line);
        for (const Point2& handle : picture.shape.handles)
            painter.drawRect(QRectF(
                handle.x - handleHalfSide, handle.y - handleHalfSide, 2 * handleHalfSide,
                2 * handleHalfSide));
    }
}

void MeasurementOverlay::paintLabel(QPainter& painter, const MeasurementPicture& picture) {
    if (picture.label.empty())
        return;
    const auto& box = picture.labelBox;
    const QRectF area(box.corner.x, box.corner.y, box.size.x, box.size.y);
    const QString label = QString::fromStdString(picture.label);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgba(labelGround)); // light letters must be read on enamel as well
    painter.drawRoundedRect(area.adjusted(-3.0, -1.0, 3.0, 1.0), 3.0, 3.0);
    painter.setPen(QColor::fromRgb(picture.labelColour));
    painter.drawText(area, Qt::AlignLeft | Qt::AlignTop | Qt::TextDontClip, label);
}

} // namespace zorbel
