#pragma once

#include "tests/rendering/SyntheticImage.h"
#include "viewer/reading/measurements/ImageGrid2D.h"
#include "viewer/reading/measurements/MeasurementView.h"

#include <functional>
#include <type_traits>
#include <vector>

namespace zorbel::test {

using imaging::Image;
using imaging::ImageGeometry;
using imaging::ImageMetadata;
using imaging::PlaneGeometry;
using imaging::Vector3;
using imaging::VoxelType;
using imaging::operator+;
using imaging::operator-;
using imaging::operator*;

template <class T>
constexpr VoxelType voxelTypeOf() {
    if constexpr (std::is_same_v<T, float>)
        return VoxelType::Float32;
    else if constexpr (std::is_same_v<T, std::int16_t>)
        return VoxelType::Int16;
    else
        return VoxelType::UInt8;
}

/// An image whose voxels hold the value of a function at their centres.
template <class T>
std::shared_ptr<const Image> imageOf(
    const ImageGeometry& geometry, const std::function<double(const Vector3&)>& value,
    const ImageMetadata& metadata = {}, int components = 1) {
    return imaging::test::makeImage<T>(
        geometry, voxelTypeOf<T>(),
        [&](int column, int row, int slice) {
            return value(geometry.indexToWorld({1.0 * (column / components), 1.0 * row, 1.0 * slice}));
        },
        metadata, components);
}

inline Measurement
onPlane(MeasurementKind kind, std::vector<Vector3> points, const PlaneGeometry& plane = {}) {
    Measurement measurement = MeasurementPlane::ofVolume(plane, 1.0, {}).newMeasurement(kind);
    measurement.points = std::move(points);
    return measurement;
}

/// A view of 600 × 400 pixels with the plane's centre in its middle.
inline MeasurementView
viewOf(const PlaneGeometry& plane, double millimetresPerPixel, double thickness = 1.0) {
    MeasurementView view;
    view.plane = MeasurementPlane::ofVolume(plane, thickness, {});
    view.width = 600.0;
    view.height = 400.0;
    view.toWidget = [=](const Vector3& point) {
        const auto at = plane.toPlane(point);
        return Point2{300.0 + at[0] / millimetresPerPixel, 200.0 + at[1] / millimetresPerPixel};
    };
    view.fromWidget = [=](const Point2& at) {
        return plane.fromPlane((at.x - 300.0) * millimetresPerPixel, (at.y - 200.0) * millimetresPerPixel);
    };
    return view;
}

/// A plane turned out of all the patient's axes.
inline PlaneGeometry obliquePlane() {
    return PlaneGeometry({3.0, -2.0, 5.0}, {0.8, 0.3, -0.5}, {0.2, 0.7, 0.74});
}

} // namespace zorbel::test
