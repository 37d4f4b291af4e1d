#pragma once

#include "imaging/geometry/PlaneGeometry.h"

#include <string>

namespace zorbel::imaging {

/// The letters at the four edges of a view: R, L, A, P, H (head) and F (feet).
struct OrientationLabels {
    std::string left;
    std::string right;
    std::string top;
    std::string bottom;

    friend bool operator==(const OrientationLabels&, const OrientationLabels&) = default;

    static OrientationLabels of(const PlaneGeometry& plane);
};

/// Letters of a direction in LPS: the largest component first, then each further one that turns the direction
/// by more than 20° (a component above sin 20° of the length). Empty for a direction of length at most 1e-8.
std::string orientationLetters(const Vector3& direction);

/// Letters of the opposite direction; a character that is none of the six stays.
std::string oppositeLetters(const std::string& letters);

} // namespace zorbel::imaging
