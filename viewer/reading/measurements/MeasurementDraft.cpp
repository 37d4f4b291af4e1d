#include "viewer/reading/measurements/MeasurementDraft.h"

namespace zorbel {

using imaging::operator+;
using imaging::operator-;

MeasurementDraft::MeasurementDraft(
    const MeasurementPlane& plane, MeasurementKind kind, const imaging::Vector3& pointer)
    : measurement_(plane.newMeasurement(kind)) {
    measurement_.points.push_back(pointer);
}

void MeasurementDraft::moveTo(const imaging::Vector3& pointer) {
    auto& points = measurement_.points;
    if (points.size() == 1) {
        points[0] = pointer;
        return;
    }
    const imaging::Vector3 way = pointer - points[0];
    points.back() = points[0] + measurement_.alongAxisX(way) + measurement_.alongAxisY(way);
}

bool MeasurementDraft::place() {
    if (measurement_.isComplete())
        return true;
    const imaging::Vector3 placed = measurement_.points.back();
    measurement_.points.push_back(placed);
    return false;
}

} // namespace zorbel
