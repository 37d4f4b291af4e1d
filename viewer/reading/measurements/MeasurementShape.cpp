#include "viewer/reading/measurements/MeasurementShape.h"

#include "viewer/reading/measurements/MeasurementHandles.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace zorbel {

namespace {

using imaging::Vector3;
using imaging::operator+;
using imaging::operator-;
using imaging::operator*;
using Polyline = MeasurementShape::Polyline;

constexpr double markHalfLength = 5.0;
constexpr double largestArc = 26.0;
constexpr int ovalPoints = 128; // a chord stays within 0.2 pixels of an oval as large as a screen

void addEndMarks(MeasurementShape& shape, const Point2& from, const Point2& to) {
    const double distance = length(to - from);
    if (distance < 2.0 * markHalfLength)
        return;
    const Point2 across = perpendicular(to - from) * (markHalfLength / distance);
    shape.marks.push_back({{from - across, from + across}});
    shape.marks.push_back({{to - across, to + across}});
}

void addArc(MeasurementShape& shape, const Point2& first, const Point2& vertex, const Point2& last) {
    const Point2 u = first - vertex;
    const Point2 v = last - vertex;
    const double radius = std::min({largestArc, length(u) / 2.0, length(v) / 2.0});
    if (radius < 4.0)
        return;
    const double start = std::atan2(u.y, u.x);
    const double sweep = std::atan2(dot(perpendicular(u), v), dot(u, v));
    Polyline arc;
    constexpr int steps = 24;
    for (int i = 0; i <= steps; ++i) {
        const double angle = start + sweep * i / steps;
        arc.points.push_back(vertex + Point2{std::cos(angle), std::sin(angle)} * radius);
    }
    shape.marks.push_back(std::move(arc));
}

void addCross(MeasurementShape& shape, const Point2& center) {
    for (const Point2& way : {Point2{markHalfLength, 0.0}, Point2{0.0, markHalfLength}})
        shape.marks.push_back({{center - way, center + way}});
}

Polyline ovalOutline(const Measurement& measurement, const MeasurementView& view) {
    const Vector3 half = (measurement.points[1] - measurement.points[0]) * 0.5;
    const Vector3 across = measurement.alongAxisX(half);
    const Vector3 down = measurement.alongAxisY(half);
    const Vector3 center = measurement.points[0] + across + down;
    Polyline oval;
    oval.closed = true;
    for (int i = 0; i < ovalPoints; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / ovalPoints;
        oval.points.push_back(view.toWidget(center + across * std::cos(angle) + down * std::sin(angle)));
    }
    return oval;
}

double distanceToSegment(const Point2& point, const Point2& from, const Point2& to) {
    const Point2 way = to - from;
    const double square = dot(way, way);
    const double part = square > 0.0 ? std::clamp(dot(point - from, way) / square, 0.0, 1.0) : 0.0;
    return length(point - (from + way * part));
}

} // namespace

bool MeasurementShape::Rect::overlaps(const Rect& other) const {
    return corner.x <= other.corner.x + other.size.x && other.corner.x <= corner.x + size.x &&
           corner.y <= other.corner.y + other.size.y && other.corner.y <= corner.y + size.y;
}

bool MeasurementShape::Rect::contains(const Rect& other) const {
    return other.corner.x >= corner.x && other.corner.x + other.size.x <= corner.x + size.x &&
           other.corner.y >= corner.y && other.corner.y + other.size.y <= corner.y + size.y;
}

MeasurementShape MeasurementShape::of(const Measurement& measurement, const MeasurementView& view) {
    MeasurementShape shape;
    for (const Vector3& handle : measurementHandles(measurement))
        shape.handles.push_back(view.toWidget(handle));
    const auto& at = shape.handles;
    if (at.empty())
        return shape;

    shape.labelAnchor = at[std::min(measurementPointCount(measurement.kind), at.size()) - 1];
    switch (measurement.kind) {
    case MeasurementKind::Length:
        if (at.size() >= 2) {
            shape.body.push_back({{at[0], at[1]}});
            addEndMarks(shape, at[0], at[1]);
        }
        break;
    case MeasurementKind::Angle:
        if (at.size() >= 2)
            shape.body.push_back({at});
        if (at.size() >= 3) {
            addArc(shape, at[0], at[1], at[2]);
            shape.labelAnchor = at[1];
        }
        break;
    case MeasurementKind::Probe:
        addCross(shape, at[0]);
        break;
    case MeasurementKind::Box:
    case MeasurementKind::Oval:
        if (at.size() < 4)
            break;
        shape.body.push_back(
            measurement.kind == MeasurementKind::Box ? Polyline{{at[0], at[2], at[1], at[3]}, true}
                                                     : ovalOutline(measurement, view));
        shape.labelAnchor = *std::max_element(
            at.begin(), at.end(), [](const Point2& a, const Point2& b) { return a.x + a.y < b.x + b.y; });
        break;
    }
    return shape;
}

std::optional<std::size_t> MeasurementShape::handleAt(const Point2& pointer, double radius) const {
    std::optional<std::size_t> nearest;
    for (std::size_t i = 0; i < handles.size(); ++i) {
        const double distance = length(pointer - handles[i]);
        if (distance <= radius) {
            radius = distance;
            nearest = i;
        }
    }
    return nearest;
}

double MeasurementShape::distanceToBody(const Point2& pointer) const {
    double smallest = std::numeric_limits<double>::infinity();
    for (const Polyline& line : body) {
        for (std::size_t i = 1; i < line.points.size(); ++i)
            smallest = std::min(smallest, distanceToSegment(pointer, line.points[i - 1], line.points[i]));
        if (line.closed)
            smallest =
                std::min(smallest, distanceToSegment(pointer, line.points.back(), line.points.front()));
    }
    return smallest;
}

MeasurementShape::Rect MeasurementShape::bounds() const {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Point2 low{infinity, infinity};
    Point2 high{-infinity, -infinity};
    const auto include = [&](const std::vector<Point2>& points) {
        for (const Point2& point : points) {
            low = {std::min(low.x, point.x), std::min(low.y, point.y)};
            high = {std::max(high.x, point.x), std::max(high.y, point.y)};
        }
    };
    include(handles);
    for (const Polyline& line : body)
        include(line.points);
    for (const Polyline& line : marks)
        include(line.points);
    return {low, high - low};
}

} // namespace zorbel
