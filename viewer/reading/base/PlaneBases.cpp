#include "viewer/reading/base/PlaneBases.h"

#include <cmath>

namespace zorbel {

namespace {

using imaging::Vector3;
// Vector3 is an alias of std::array: its operators are not found by their arguments.
using imaging::operator+;
using imaging::operator-;
using imaging::operator*;

bool vanishes(const Vector3& vector) {
    return !(imaging::length(vector) > 1e-8);
}

Vector3 rotated(const Vector3& vector, const Vector3& axis, double cosine, double sine) {
    return vector * cosine + imaging::cross(axis, vector) * sine +
           axis * (imaging::dot(axis, vector) * (1.0 - cosine));
}

} // namespace

bool areOrthogonal(const PlaneBases& bases) {
    constexpr double tolerance = 0.001;
    for (const PlaneBasis& basis : bases) {
        if (!basis.isValid() || vanishes(basis.normal()))
            return false;
    }
    for (std::size_t first = 0; first < bases.size(); ++first) {
        for (std::size_t second = first + 1; second < bases.size(); ++second) {
            if (!(std::abs(imaging::dot(bases[first].normal(), bases[second].normal())) <= tolerance))
                return false;
        }
    }
    return true;
}

std::optional<PlaneBases>
rotatedAbout(const PlaneBases& bases, imaging::ViewDirection source, double radians) {
    const Vector3 axis = basisOf(bases, source).normal();
    if (vanishes(axis))
        return std::nullopt;
    const double cosine = std::cos(radians);
    const double sine = std::sin(radians);

    PlaneBases result = bases;
    for (std::size_t plane = 0; plane < result.size(); ++plane) {
        if (plane == static_cast<std::size_t>(source))
            continue;
        PlaneBasis& basis = result[plane];
        basis.axis0 = imaging::normalized(rotated(basis.axis0, axis, cosine, sine));
        const Vector3 second = rotated(basis.axis1, axis, cosine, sine);
        basis.axis1 = imaging::normalized(second - basis.axis0 * imaging::dot(second, basis.axis0));
        if (vanishes(basis.axis0) || vanishes(basis.axis1))
            return std::nullopt;
    }
    return result;
}

} // namespace zorbel
