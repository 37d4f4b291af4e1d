#include "imaging/geometry/PlaneGeometry.h"

#include <stdexcept>

namespace zorbel::imaging {

PlaneGeometry::PlaneGeometry(const Vector3& center, const Vector3& axis0, const Vector3& axis1)
    : center_(center) {
    axes_[0] = normalized(axis0);
    axes_[1] = normalized(axis1 - axes_[0] * dot(axis1, axes_[0]));
    if (length(axes_[0]) == 0.0 || length(axes_[1]) == 0.0)
        throw std::invalid_argument("PlaneGeometry: the axes span no plane");
}

PlaneGeometry PlaneGeometry::movedTo(const Vector3& center) const {
    PlaneGeometry moved = *this;
    moved.center_ = center;
    return moved;
}

std::array<double, 2> PlaneGeometry::toPlane(const Vector3& point) const {
    const Vector3 offset = point - center_;
    return {dot(offset, axes_[0]), dot(offset, axes_[1])};
}

Vector3 PlaneGeometry::fromPlane(double along0, double along1) const {
    return center_ + axes_[0] * along0 + axes_[1] * along1;
}

} // namespace zorbel::imaging
