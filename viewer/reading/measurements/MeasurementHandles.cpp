#include "viewer/reading/measurements/MeasurementHandles.h"

namespace zorbel {

using imaging::Vector3;
using imaging::operator+;
using imaging::operator-;

std::vector<Vector3> measurementHandles(const Measurement& measurement) {
    std::vector<Vector3> handles = measurement.points;
    if (isRegion(measurement.kind) && measurement.isComplete()) {
        const Vector3 diagonal = handles[1] - handles[0];
        handles.push_back(handles[0] + measurement.alongAxisX(diagonal));
        handles.push_back(handles[0] + measurement.alongAxisY(diagonal));
    }
    return handles;
}

Measurement withHandleMoved(Measurement measurement, std::size_t handle, const Vector3& way) {
    const Vector3 across = measurement.alongAxisX(way);
    const Vector3 down = measurement.alongAxisY(way);
    auto& points = measurement.points;
    if (handle < points.size()) {
        points[handle] = points[handle] + across + down;
    } else if (isRegion(measurement.kind) && measurement.isComplete() && handle < 4) {
        Vector3& besides = points[handle == 2 ? 1 : 0];
        Vector3& aboveOrBelow = points[handle == 2 ? 0 : 1];
        besides = besides + across;
        aboveOrBelow = aboveOrBelow + down;
    }
    return measurement;
}

Measurement withAllMoved(Measurement measurement, const Vector3& way) {
    const Vector3 inPlane = measurement.alongAxisX(way) + measurement.alongAxisY(way);
    for (Vector3& point : measurement.points)
        point = point + inPlane;
    return measurement;
}

} // namespace zorbel
