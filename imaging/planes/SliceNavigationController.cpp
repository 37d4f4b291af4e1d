#include "imaging/planes/SliceNavigationController.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zorbel::imaging {

void SliceNavigationController::setGeometry(const ImageGeometry& geometry) {
    geometry_ = geometry;
    plane_ = standardPlane(geometry, direction_);
    measure();
    moveTo(std::floor(last_ / 2.0 + 0.5), true);
}

void SliceNavigationController::clear() {
    geometry_.reset();
    plane_ = {};
    first_ = last_ = position_ = 0.0;
    spacing_ = 1.0;
    if (changed_)
        changed_();
}

int SliceNavigationController::sliceCount() const {
    return static_cast<int>(std::floor(last_ + 1e-4)) + 1;
}

int SliceNavigationController::currentSlice() const {
    return std::clamp(static_cast<int>(std::lround(position_)) + 1, 1, sliceCount());
}

std::string SliceNavigationController::sliceLabel() const {
    return std::string(viewDirectionName(direction_)) + " " + std::to_string(currentSlice()) + "/" +
           std::to_string(sliceCount());
}

void SliceNavigationController::step(double slices) {
    moveTo(position_ + slices);
}

void SliceNavigationController::selectSlice(int slice) {
    moveTo(slice - 1.0);
}

void SliceNavigationController::selectSliceByPoint(const Vector3& point) {
    moveTo((dot(point, plane_.normal()) - first_) / spacing_);
}

void SliceNavigationController::reorientSlices(
    const Vector3& point, const Vector3& axis0, const Vector3& axis1) {
    plane_ = PlaneGeometry(point, axis0, axis1);
    if (!geometry_) {
        if (changed_)
            changed_();
        return;
    }
    measure();
    moveTo((dot(point, plane_.normal()) - first_) / spacing_, true);
}

void SliceNavigationController::resetOrientation(const Vector3& point) {
    if (!geometry_)
        return;
    const PlaneGeometry standard = standardPlane(*geometry_, direction_);
    reorientSlices(point, standard.axisVector(0), standard.axisVector(1));
}

void SliceNavigationController::measure() {
    const ImageGeometry& image = *geometry_;
    const Vector3 normal = plane_.normal();

    double lowest = std::numeric_limits<double>::infinity();
    double highest = -lowest;
    for (int corner = 0; corner < 8; ++corner) {
        Vector3 index{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            index[axis] = (corner >> axis) & 1 ? image.dimensions()[axis] - 1.0 : 0.0;
        const double along = dot(image.indexToWorld(index), normal);
        lowest = std::min(lowest, along);
        highest = std::max(highest, along);
    }

    // The distance at which the index has moved by one voxel: the image's own spacing along its own axes,
    // something between for an oblique plane.
    const std::array<Vector3, 3> axes{image.row(), image.column(), image.normal()};
    double voxelsPerMillimetre = 0.0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double part = dot(normal, axes[axis]) / image.spacing()[axis];
        voxelsPerMillimetre += part * part;
    }
    spacing_ = 1.0 / std::sqrt(voxelsPerMillimetre);
    first_ = lowest;
    last_ = (highest - lowest) / spacing_;
    if (std::abs(last_ - std::round(last_)) < 1e-4)
        last_ = std::round(last_);
}

void SliceNavigationController::moveTo(double position, bool force) {
    if (!geometry_ || !std::isfinite(position))
        return;
    double target = std::clamp(position, 0.0, last_);
    // Ten steps of a tenth are one slice, drawn without interpolation.
    if (std::abs(target - std::round(target)) < 1e-6)
        target = std::round(target);
    if (!force && target == position_)
        return;
    position_ = target;

    const Vector3 normal = plane_.normal();
    const Vector3 middle = geometry_->center();
    plane_ = plane_.movedTo(middle + normal * (first_ + position_ * spacing_ - dot(middle, normal)));
    if (changed_)
        changed_();
}

} // namespace zorbel::imaging
