#include "imaging/geometry/ViewDirection.h"

#include <algorithm>
#include <cmath>

namespace zorbel::imaging {

namespace {

using Axes = std::array<Vector3, 3>;

/// The image's orthonormal axes, ordered and flipped so that together they lie nearest to +x, +y, +z.
Axes nearestToPatientAxes(const ImageGeometry& geometry) {
    const Axes own{geometry.row(), geometry.column(), geometry.normal()};
    std::array<std::size_t, 3> order{0, 1, 2};
    std::array<std::size_t, 3> best = order;
    double bestSum = -1.0;
    do {
        double sum = 0.0;
        for (std::size_t axis = 0; axis < 3; ++axis)
            sum += std::abs(own[order[axis]][axis]);
        if (sum > bestSum + 1e-9) {
            bestSum = sum;
            best = order;
        }
    } while (std::next_permutation(order.begin(), order.end()));

    Axes result{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const Vector3& chosen = own[best[axis]];
        result[axis] = chosen[axis] < 0.0 ? chosen * -1.0 : chosen;
    }
    return result;
}

} // namespace

std::string_view viewDirectionName(ViewDirection direction) {
    switch (direction) {
    case ViewDirection::Axial:
        return "Axial";
    case ViewDirection::Coronal:
        return "Coronal";
    case ViewDirection::Sagittal:
        break;
    }
    return "Sagittal";
}

PlaneGeometry standardPlane(const ImageGeometry& geometry, ViewDirection direction) {
    const auto [left, back, head] = nearestToPatientAxes(geometry);
    switch (direction) {
    case ViewDirection::Axial:
        return {geometry.center(), left, back};
    case ViewDirection::Coronal:
        return {geometry.center(), left, head * -1.0};
    case ViewDirection::Sagittal:
        break;
    }
    return {geometry.center(), back, head * -1.0};
}

} // namespace zorbel::imaging
