#include "viewer/mpr/MprGuideOverlay.h"

#include <QEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace zorbel {

namespace {

constexpr double lineGap = 15.0; ///< around the centre, so that the lines do not cover what they point at
constexpr double rotationRadius = 6.5;
constexpr double slabHalfSide = 5.0;

Point2 toPoint(const QPointF& position) {
    return {position.x(), position.y()};
}

QPointF toQt(const Point2& point) {
    return {point.x, point.y};
}

QColor colourOf(std::uint32_t rgb) {
    return QColor::fromRgb(static_cast<QRgb>(rgb));
}

} // namespace

MprGuideOverlay::MprGuideOverlay(QWidget* view) : QWidget(view) {
    setAttribute(Qt::WA_NoSystemBackground);
    setMouseTracking(true);
    setStyleSheet(QStringLiteral("background: transparent;"));
    view->installEventFilter(this);
    resize(view->size());
}

void MprGuideOverlay::setGuide(
    const Point2& center, const std::array<GuideLine, 2>& lines, bool active, bool linesVisible) {
    MprGuide::View view;
    view.width = width();
    view.height = height();
    view.center = center;
    view.lines = lines;
    view.active = active;
    view.linesVisible = linesVisible;
    guide_.setView(view);
    update();
}

void MprGuideOverlay::setMode(GuideMode mode) {
    guide_.setMode(mode);
    hover({});
    update();
}

bool MprGuideOverlay::eventFilter(QObject* watched, QEvent* event) {
    // Taken over before anybody else hears of the new size, so that the lines are never drawn for the old
    // one.
    if (watched == parent() && event->type() == QEvent::Resize)
        resize(static_cast<QResizeEvent*>(event)->size());
    return QWidget::eventFilter(watched, event);
}

void MprGuideOverlay::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    const auto asked = guide_.press(toPoint(event->position()));
    if (guide_.dragState() == MprGuide::DragState::None) {
        event->ignore();
        return;
    }
    event->accept();
    Q_EMIT pressed();
    if (asked)
        Q_EMIT guideEvent(*asked);
    update();
}

void MprGuideOverlay::mouseMoveEvent(QMouseEvent* event) {
    const Point2 pointer = toPoint(event->position());
    if (!event->buttons().testFlag(Qt::LeftButton))
        guide_.cancel(); // the release went elsewhere, as to a dialog that opened meanwhile
    if (guide_.dragState() == MprGuide::DragState::None) {
        if (event->buttons() == Qt::NoButton)
            hover(guide_.hitTest(pointer));
        event->ignore();
        return;
    }
    event->accept();
    if (const auto asked = guide_.move(pointer, event->modifiers().testFlag(Qt::ShiftModifier)))
        Q_EMIT guideEvent(*asked);
    update();
}

void MprGuideOverlay::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || guide_.dragState() == MprGuide::DragState::None) {
        event->ignore();
        return;
    }
    event->accept();
    if (const auto asked = guide_.release(toPoint(event->position())))
        Q_EMIT guideEvent(*asked);
    hover(guide_.hitTest(toPoint(event->position())));
    update();
}

void MprGuideOverlay::mouseDoubleClickEvent(QMouseEvent* event) {
    event->ignore(); // the view's, also over the centre; the default would take it for a press
}

void MprGuideOverlay::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

void MprGuideOverlay::leaveEvent(QEvent* event) {
    hover({});
    QWidget::leaveEvent(event);
}

void MprGuideOverlay::hover(const MprGuide::Hit& hit) {
    if (hit == hovered_)
        return;
    hovered_ = hit;
    update();
}

QColor MprGuideOverlay::markColour(const MprGuide::Hit& mark) const {
    return colourOf(
        guide_.grabbed() == mark ? GuideColours::grabbed
        : hovered_ == mark       ? GuideColours::hovered
                                 : GuideColours::idle);
}

void MprGuideOverlay::paintEvent(QPaintEvent*) {
    const auto& view = guide_.view();
    if (!view.active)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (view.linesVisible) {
        for (int index = 0; index < 2; ++index)
            paintLine(painter, index);
        if (guide_.mode() == GuideMode::Rotate)
            for (int index = 0; index < 2; ++index)
                paintHandles(painter, index);
    }
    if (view.linesVisible || guide_.mode() == GuideMode::Crosshair)
        paintCenter(painter);
}

void MprGuideOverlay::paintLine(QPainter& painter, int index) const {
    const GuideLine& line = guide_.view().lines[static_cast<std::size_t>(index)];
    if (!line.exists())
        return;
    const QPointF center = toQt(guide_.view().center);
    const QPointF along = toQt(line.direction);
    const QPointF across = toQt(perpendicular(line.direction));
    const double reach = std::hypot(width(), height()) + std::hypot(center.x(), center.y());
    const MprGuide::Hit body{MprGuide::Hit::Kind::LineBody, index, 1};
    const bool marked = guide_.grabbed() == body || hovered_ == body;
    QPen pen(colourOf(line.colour), marked ? 2.4 : 1.4);
    painter.setPen(pen);
    painter.drawLine(center + along * lineGap, center + along * reach);
    painter.drawLine(center - along * lineGap, center - along * reach);
    if (line.slabHalfThickness > 1.0) {
        pen.setWidthF(1.0);
        pen.setDashPattern({6.0, 5.0});
        painter.setPen(pen);
        for (const double side : {-1.0, 1.0}) {
            const QPointF shift = center + across * (side * line.slabHalfThickness);
            painter.drawLine(shift - along * reach, shift + along * reach);
        }
    }
}

void MprGuideOverlay::paintHandles(QPainter& painter, int index) const {
    using Kind = MprGuide::Hit::Kind;
    const GuideLine& line = guide_.view().lines[static_cast<std::size_t>(index)];
    if (!line.exists())
        return;
    const auto handles = guide_.handles(index);
    painter.setPen(QPen(colourOf(GuideColours::outline), 1.6));
    for (int end = 0; end < 2; ++end) {
        const int side = end == 0 ? 1 : -1;
        const QPointF rotation = toQt(handles.rotation[static_cast<std::size_t>(end)]);
        painter.setBrush(markColour({Kind::RotationHandle, index, side}));
        painter.drawEllipse(rotation, rotationRadius, rotationRadius);
        painter.setBrush(colourOf(line.colour));
        painter.drawEllipse(rotation, rotationRadius * 0.4, rotationRadius * 0.4);
        const QPointF slab = toQt(handles.slab[static_cast<std::size_t>(end)]);
        painter.setBrush(markColour({Kind::SlabHandle, index, side}));
        painter.drawRect(
            QRectF(slab - QPointF(slabHalfSide, slabHalfSide), slab + QPointF(slabHalfSide, slabHalfSide)));
    }
}

void MprGuideOverlay::paintCenter(QPainter& painter) const {
    const QPointF center = toQt(guide_.view().center);
    const QColor colour = markColour({MprGuide::Hit::Kind::Center, 0, 1});
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(colourOf(GuideColours::outline), 3.0));
    painter.drawEllipse(center, 5.0, 5.0);
    painter.setPen(QPen(colour, 1.5));
    painter.drawEllipse(center, 5.0, 5.0);
}

} // namespace zorbel
