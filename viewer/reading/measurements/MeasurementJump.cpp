#include "viewer/reading/measurements/MeasurementJump.h"

#include "viewer/reading/measurements/MeasurementPlane.h"

namespace zorbel {

namespace {

using imaging::dot;
using imaging::length;
using imaging::Vector3;
using imaging::ViewDirection;
using imaging::operator+;
using imaging::operator*;

Vector3 middleOf(const Measurement& measurement) {
    const auto& points = measurement.points;
    if (points.empty())
        return {0.0, 0.0, 0.0};
    if (measurement.kind == MeasurementKind::Angle && points.size() > 1)
        return points[1];
    return (points.front() + points.back()) * 0.5;
}

/// All bases turned by the rotation that brings one of them onto another.
PlaneBases turnedOnto(const PlaneBases& bases, const PlaneBasis& from, const PlaneBasis& onto) {
    const auto turned = [&](const Vector3& vector) {
        return onto.axis0 * dot(vector, from.axis0) + onto.axis1 * dot(vector, from.axis1) +
               onto.normal() * dot(vector, from.normal());
    };
    PlaneBases result;
    for (std::size_t i = 0; i < bases.size(); ++i)
        result[i] = {turned(bases[i].axis0), turned(bases[i].axis1)};
    return result;
}

} // namespace

MeasurementJump MeasurementJump::to(const Measurement& measurement, const PlaneBases& current) {
    MeasurementJump jump;
    jump.point = middleOf(measurement);
    jump.seriesInstanceUid = measurement.seriesInstanceUid;
    jump.onImage = measurement.isOnImage();
    jump.slice = measurement.slice;
    jump.view = measurement.nearestView();
    jump.bases = current;
    if (jump.onImage)
        return jump;

    for (const ViewDirection view : {ViewDirection::Axial, ViewDirection::Coronal, ViewDirection::Sagittal}) {
        const PlaneBasis& basis = basisOf(current, view);
        if (length(basis.normal()) == 0.0)
            return jump;
        const imaging::PlaneGeometry plane(jump.point, basis.axis0, basis.axis1);
        constexpr double exactly = 0.02; // millimetres; thinner than any slice
        if (MeasurementPlane::ofVolume(plane, exactly, {}).shows(measurement)) {
            jump.view = view;
            return jump;
        }
    }
    if (length(measurement.unitNormal()) == 0.0)
        return jump;
    // Exactly unit and orthogonal, whatever a file holds.
    const auto orthonormal = [](const Vector3& axis0, const Vector3& axis1) {
        return PlaneBasis::of(imaging::PlaneGeometry({0.0, 0.0, 0.0}, axis0, axis1));
    };
    const PlaneBasis& shown = basisOf(current, jump.view);
    jump.bases = turnedOnto(
        current, orthonormal(shown.axis0, shown.axis1),
        orthonormal(measurement.planeAxisX, measurement.planeAxisY));
    jump.turnsPlanes = true;
    return jump;
}

} // namespace zorbel
