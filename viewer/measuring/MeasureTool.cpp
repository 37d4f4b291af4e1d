#include "viewer/measuring/MeasureTool.h"

#include "viewer/measuring/MeasurementController.h"
#include "viewer/tools/ToolTarget.h"

#include <QFont>
#include <QFontMetricsF>
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

bool MeasureTool::press(ToolTarget& target, const Pointer& pointer) {
    return target.showsImage() && measurements_.press(target.measurementView(), toPoint(pointer.position));
}

void MeasureTool::drag(ToolTarget& target, const Pointer& pointer) {
    if ((pointer.buttons & ~Qt::LeftButton) == 0)
        measurements_.move(target.measurementView(), toPoint(pointer.position));
}

void MeasureTool::release(ToolTarget& target, const Pointer& pointer) {
    measurements_.release(target.measurementView(), toPoint(pointer.position));
}

void MeasureTool::hover(ToolTarget& target, const Pointer& pointer) {
    if (target.showsImage())
        measurements_.move(target.measurementView(), toPoint(pointer.position));
}

void MeasureTool::leave(ToolTarget&) {
    measurements_.leave();
}

bool MeasureTool::doubleClick(ToolTarget&, const Pointer&) {
    return measurements_.doubleClick();
}

QFont MeasureTool::labelFont() {
    QFont font(QString::fromLatin1(MeasurementDrawing::labelFont));
    font.setStyleHint(QFont::Monospace);
    font.setPixelSize(13);
    return font;
}

void MeasureTool::paint(const ToolTarget& target, QPainter& painter) const {
    if (!target.showsImage())
        return;
    const MeasurementView view = target.measurementView();
    const QFontMetricsF metrics(labelFont());
    const auto sizeOf = [&metrics](const std::string& text) {
        const QSizeF size = metrics.size(0, QString::fromStdString(text));
        return Point2{size.width(), size.height()};
    };
    const Measurement* inHand = measurements_.editor().inHand();
    const auto labelOf = [&](const Measurement& measurement) {
        const bool isInHand = inHand && measurement.id == inHand->id;
        return measurements_.areLabelsShown() || isInHand ? measurements_.valuesOf(measurement).label
                                                          : std::string();
    };
    painter.setFont(labelFont());
    const auto pictures =
        MeasurementDrawing::of(measurements_.list(), measurements_.editor(), view, labelOf, sizeOf);
    for (const auto& picture : pictures)
        paintShape(painter, picture);
    for (const auto& picture : pictures) // over the lines of all
        paintLabel(painter, picture);
}

void MeasureTool::paintShape(QPainter& painter, const MeasurementPicture& picture) {
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

void MeasureTool::paintLabel(QPainter& painter, const MeasurementPicture& picture) {
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
