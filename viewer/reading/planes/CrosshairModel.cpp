#include "viewer/reading/planes/CrosshairModel.h"

#include <algorithm>
#include <cmath>

namespace zorbel {

using imaging::Vector3;
using imaging::operator+;
using imaging::operator-;
using imaging::operator*;

void CrosshairModel::setGeometry(const imaging::ImageGeometry& geometry) {
    geometry_ = geometry;
    centre();
}

void CrosshairModel::clear() {
    *this = CrosshairModel();
}

bool CrosshairModel::moveTo(const Vector3& point) {
    if (!geometry_ || !std::all_of(point.begin(), point.end(), [](double v) { return std::isfinite(v); }))
        return false;
    const Vector3 target = clamped(point);
    const bool moved = target != point_;
    point_ = target;
    return moved;
}

bool CrosshairModel::moveOnto(const imaging::PlaneGeometry& plane) {
    if (!geometry_)
        return false;
    const Vector3 straight = plane.project(point_);
    constexpr double rounding = 1e-6; // millimetres, of a plane through the outermost voxels
    if (imaging::length(clamped(straight) - straight) <= rounding) {
        moveTo(straight);
        return false;
    }
    // Beyond the volume's side, the clamped point slides along that side as its source goes along the normal,
    // and meets the plane on its way.
    double reach = imaging::length(straight - geometry_->center());
    for (std::size_t axis = 0; axis < 3; ++axis)
        reach += geometry_->dimensions()[axis] * geometry_->spacing()[axis];
    // Along a side that the normal hardly leans to, the way is long.
    reach *= 1e6;
    double low = -reach;
    double high = reach;
    for (int halving = 0; halving < 90; ++halving) {
        const double middle = (low + high) / 2.0;
        (plane.signedDistance(clamped(straight + plane.normal() * middle)) < 0.0 ? low : high) = middle;
    }
    return moveTo(clamped(straight + plane.normal() * high));
}

bool CrosshairModel::centre() {
    if (!geometry_)
        return false;
    Vector3 middle{};
    for (std::size_t axis = 0; axis < middle.size(); ++axis)
        middle[axis] = geometry_->dimensions()[axis] / 2;
    const Vector3 target = geometry_->indexToWorld(middle);
    const bool moved = target != point_;
    point_ = target;
    return moved;
}

Vector3 CrosshairModel::clamped(const Vector3& point) const {
    const Vector3 index = geometry_->worldToIndex(point);
    Vector3 inside = index;
    for (std::size_t axis = 0; axis < inside.size(); ++axis)
        inside[axis] = std::clamp(index[axis], 0.0, std::max(0.0, geometry_->dimensions()[axis] - 1.0));
    // A point inside is taken as it is, without the rounding of the way there and back.
    return inside == index ? point : geometry_->indexToWorld(inside);
}

} // namespace zorbel
