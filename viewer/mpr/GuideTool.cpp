#include "viewer/mpr/GuideTool.h"

#include "viewer/tools/ToolTarget.h"

#include <QPainter>

#include <cmath>

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

void GuideTool::setMode(GuideMode mode) {
    tool_ = mode == GuideMode::Rotate ? Tool::Rotate : Tool::Crosshair;
    guide_.setMode(mode);
    hover(MprGuide::Hit());
    actions_.repaint();
}

bool GuideTool::press(ToolTarget& target, const Pointer& pointer) {
    const auto asked = guide_.press(toPoint(pointer.position));
    if (asked)
        actions_.guide(*asked);
    actions_.repaint();
    if (guide_.dragState() != MprGuide::DragState::None)
        return true;
    if (guide_.mode() != GuideMode::Crosshair || !target.showsImage())
        return false;
    actions_.moveCrosshair(pointer.position);
    return true;
}

void GuideTool::drag(ToolTarget&, const Pointer& pointer) {
    if (guide_.dragState() == MprGuide::DragState::None) {
        actions_.moveCrosshair(pointer.position);
        return;
    }
    if (const auto asked =
            guide_.move(toPoint(pointer.position), pointer.modifiers.testFlag(Qt::ShiftModifier)))
        actions_.guide(*asked);
    actions_.repaint();
}

void GuideTool::release(ToolTarget&, const Pointer& pointer) {
    guide_.cancel();
    hover(guide_.hitTest(toPoint(pointer.position)));
    actions_.repaint();
}

void GuideTool::giveUp(ToolTarget&) {
    guide_.cancel();
    actions_.repaint();
}

void GuideTool::hover(ToolTarget&, const Pointer& pointer) {
    hover(guide_.hitTest(toPoint(pointer.position)));
}

void GuideTool::leave(ToolTarget&) {
    hover(MprGuide::Hit());
}

void GuideTool::hover(const MprGuide::Hit& hit) {
    if (hit == hovered_)
        return;
    hovered_ = hit;
    actions_.repaint();
}

QColor GuideTool::markColour(const MprGuide::Hit& mark) const {
    return colourOf(
        guide_.grabbed() == mark ? GuideColours::grabbed
        : hovered_ == mark       ? GuideColours::hovered
                                 : GuideColours::idle);
}

void GuideTool::paint(const ToolTarget&, QPainter& painter) const {
    const auto& view = guide_.view();
    if (!view.active)
        return;
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

void GuideTool::paintLine(QPainter& painter, int index) const {
    const GuideLine& line = guide_.view().lines[static_cast<std::size_t>(index)];
    if (!line.exists())
        return;
    const QPointF center = toQt(guide_.view().center);
    const QPointF along = toQt(line.direction);
    const QPointF across = toQt(perpendicular(line.direction));
    const double reach =
        std::hypot(guide_.view().width, guide_.view().height) + std::hypot(center.x(), center.y());
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

void GuideTool::paintHandles(QPainter& painter, int index) const {
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

void GuideTool::paintCenter(QPainter& painter) const {
    const QPointF center = toQt(guide_.view().center);
    const QColor colour = markColour({MprGuide::Hit::Kind::Center, 0, 1});
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(colourOf(GuideColours::outline), 3.0));
    painter.drawEllipse(center, 5.0, 5.0);
    painter.setPen(QPen(colour, 1.5));
    painter.drawEllipse(center, 5.0, 5.0);
}

} // namespace zorbel
