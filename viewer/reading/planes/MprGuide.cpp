#include "viewer/reading/planes/MprGuide.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace zorbel {

namespace {

constexpr double centerRadius = 24.0;
constexpr double handleRadius = 11.5;
constexpr double lineRadius = 6.0;
constexpr double snapAngle = std::numbers::pi / 12.0;
constexpr double smallestStep = 1e-6;

/// How far one goes from a point along a unit direction until the widget's border; 0 where there is no way.
double distanceToBorder(const MprGuide::View& view, const Point2& from, const Point2& direction) {
    if (length(direction) <= 1e-8 || view.width <= 0.0 || view.height <= 0.0)
        return 0.0;
    double enter = 0.0;
    double leave = std::numeric_limits<double>::infinity();
    const auto clip = [&](double start, double step, double size) {
        if (std::abs(step) < 1e-12) {
            if (start < 0.0 || start > size)
                leave = 0.0;
            return;
        }
        const double first = -start / step;
        const double second = (size - start) / step;
        enter = std::max(enter, std::min(first, second));
        leave = std::min(leave, std::max(first, second));
    };
    clip(from.x, direction.x, view.width);
    clip(from.y, direction.y, view.height);
    return enter <= leave ? leave : 0.0;
}

/// To the nearest whole number, halves away from zero.
double roundedAway(double value) {
    return value >= 0.0 ? std::floor(value + 0.5) : std::ceil(value - 0.5);
}

} // namespace

void MprGuide::setView(const View& view) {
    view_ = view;
    if (!view_.active)
        cancel();
}

void MprGuide::setMode(GuideMode mode) {
    if (mode != mode_)
        cancel();
    mode_ = mode;
}

MprGuide::Handles MprGuide::handles(int index) const {
    const GuideLine& line = view_.lines[static_cast<std::size_t>(index)];
    // Both sides use the way along +direction, so that the handles stay symmetric about the centre.
    const double way = distanceToBorder(view_, view_.center, line.direction);
    const double rotation = std::min(140.0, std::max(34.0, 0.4 * way));
    const double slab = std::max(rotation + 34.0, 0.7 * way);
    const Point2 toRotation = line.direction * rotation;
    const Point2 toSlab = line.direction * slab + perpendicular(line.direction) * line.slabHalfThickness;
    return {
        {view_.center + toRotation, view_.center - toRotation},
        {view_.center + toSlab, view_.center - toSlab}};
}

MprGuide::Hit MprGuide::hitTest(const Point2& pointer) const {
    if (!view_.active)
        return {};
    const double fromCenter = length(pointer - view_.center);
    if (mode_ == GuideMode::Crosshair)
        return fromCenter <= centerRadius ? Hit{Hit::Kind::Center} : Hit{};
    if (mode_ != GuideMode::Rotate || !view_.linesVisible)
        return {};

    Hit nearest;
    double smallest = handleRadius;
    for (int index = 0; index < 2; ++index) {
        if (!view_.lines[static_cast<std::size_t>(index)].exists())
            continue;
        const Handles points = handles(index);
        const auto offer = [&](Hit::Kind kind, const std::array<Point2, 2>& pair) {
            for (const int side : {1, -1}) {
                const double distance = length(pointer - pair[side > 0 ? 0 : 1]);
                if (distance <= smallest) {
                    smallest = distance;
                    nearest = {kind, index, side};
                }
            }
        };
        offer(Hit::Kind::RotationHandle, points.rotation);
        offer(Hit::Kind::SlabHandle, points.slab);
    }
    if (nearest.kind != Hit::Kind::None || fromCenter <= centerRadius)
        return nearest;

    for (int index = 0; index < 2; ++index) {
        const GuideLine& line = view_.lines[static_cast<std::size_t>(index)];
        if (line.exists() &&
            std::abs(dot(perpendicular(line.direction), pointer - view_.center)) <= lineRadius)
            return {Hit::Kind::LineBody, index};
    }
    return {};
}

std::optional<GuideEvent> MprGuide::press(const Point2& pointer) {
    cancel();
    if (!view_.active)
        return std::nullopt;
    pressed_ = pointer;
    pressedView_ = view_;
    grabbed_ = hitTest(pointer);
    switch (grabbed_.kind) {
    case Hit::Kind::RotationHandle:
        drag_ = DragState::Rotate;
        lastAngle_ = pointerAngle(pointer);
        return std::nullopt;
    case Hit::Kind::SlabHandle:
        drag_ = DragState::Slab;
        return std::nullopt;
    case Hit::Kind::LineBody:
        drag_ = DragState::MoveLine;
        return std::nullopt;
    case Hit::Kind::Center:
        drag_ = DragState::MoveCenter;
        return CrosshairMove{pointer};
    case Hit::Kind::None:
        break;
    }
    return std::nullopt;
}

std::optional<GuideEvent> MprGuide::move(const Point2& pointer, bool snap) {
    switch (drag_) {
    case DragState::None:
        break;
    case DragState::Rotate:
        return rotate(pointer, snap);
    case DragState::Slab: {
        const GuideLine& line = pressedView_.lines[static_cast<std::size_t>(grabbed_.line)];
        const double outwards = grabbed_.side * dot(acrossGrabbedLine(), pointer - pressed_);
        return SlabChange{line.plane, std::max(0.0, line.slabHalfThickness + outwards)};
    }
    case DragState::MoveLine: {
        const Point2 across = acrossGrabbedLine();
        return CrosshairMove{pressedView_.center + across * dot(across, pointer - pressed_)};
    }
    case DragState::MoveCenter:
        return CrosshairMove{pointer};
    }
    return std::nullopt;
}

void MprGuide::cancel() {
    drag_ = DragState::None;
    grabbed_ = {};
    accumulated_ = applied_ = 0.0;
}

std::optional<GuideEvent> MprGuide::rotate(const Point2& pointer, bool snap) {
    if (pointer == view_.center)
        return std::nullopt; // no direction
    const double angle = pointerAngle(pointer);
    double turned = angle - lastAngle_;
    while (turned > std::numbers::pi)
        turned -= 2.0 * std::numbers::pi;
    while (turned < -std::numbers::pi)
        turned += 2.0 * std::numbers::pi;
    accumulated_ += turned;
    lastAngle_ = angle;

    const double target = snap ? roundedAway(accumulated_ / snapAngle) * snapAngle : accumulated_;
    const double step = target - applied_;
    if (std::abs(step) <= smallestStep)
        return std::nullopt;
    applied_ = target;
    return RotateStep{view_.lines[static_cast<std::size_t>(grabbed_.line)].axisId, step};
}

double MprGuide::pointerAngle(const Point2& pointer) const {
    return std::atan2(pointer.y - view_.center.y, pointer.x - view_.center.x);
}

Point2 MprGuide::acrossGrabbedLine() const {
    return perpendicular(pressedView_.lines[static_cast<std::size_t>(grabbed_.line)].direction);
}

} // namespace zorbel
