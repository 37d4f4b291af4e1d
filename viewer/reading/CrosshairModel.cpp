#include "viewer/reading/CrosshairModel.h"

#include <algorithm>
#include <cmath>

namespace zorbel {

void CrosshairModel::setGeometry(const imaging::ImageGeometry& geometry) {
    geometry_ = geometry;
    centre();
}

void CrosshairModel::clear() {
    *this = CrosshairModel();
}

bool CrosshairModel::moveTo(const imaging::Vector3& point) {
    if (!geometry_ || !std::all_of(point.begin(), point.end(), [](double v) { return std::isfinite(v); }))
        return false;
    const imaging::Vector3 index = geometry_->worldToIndex(point);
    imaging::Vector3 inside = index;
    for (std::size_t axis = 0; axis < inside.size(); ++axis)
        inside[axis] = std::clamp(index[axis], 0.0, std::max(0.0, geometry_->dimensions()[axis] - 1.0));
    // A point inside is taken as it is, without the rounding of the way there and back.
    const imaging::Vector3 target = inside == index ? point : geometry_->indexToWorld(inside);
    const bool moved = target != point_;
    point_ = target;
    return moved;
}

bool CrosshairModel::centre() {
    if (!geometry_)
        return false;
    imaging::Vector3 middle{};
    for (std::size_t axis = 0; axis < middle.size(); ++axis)
        middle[axis] = geometry_->dimensions()[axis] / 2;
    const imaging::Vector3 target = geometry_->indexToWorld(middle);
    const bool moved = target != point_;
    point_ = target;
    return moved;
}

} // namespace zorbel
