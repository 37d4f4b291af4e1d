#pragma once

#include "imaging/geometry/PlaneGeometry.h"
#include "imaging/geometry/Vector3.h"
#include "imaging/geometry/ViewDirection.h"

#include <array>
#include <optional>

namespace zorbel {

/// The two in-plane axes of a plane: LPS, axis 0 to the right of the screen, axis 1 downwards, of any length.
/// Zero vectors stand for a plane that could not be read. Value type; any thread.
struct PlaneBasis {
    imaging::Vector3 axis0{0.0, 0.0, 0.0};
    imaging::Vector3 axis1{0.0, 0.0, 0.0};

    static PlaneBasis of(const imaging::PlaneGeometry& plane) {
        return {plane.axisVector(0), plane.axisVector(1)};
    }

    /// Unit vector axis 0 × axis 1, away from the reader; zero where the cross product is no longer than
    /// 1e-8.
    imaging::Vector3 normal() const { return imaging::normalized(imaging::cross(axis0, axis1)); }
    /// Both axes are longer than 1e-8.
    bool isValid() const { return imaging::length(axis0) > 1e-8 && imaging::length(axis1) > 1e-8; }

    friend bool operator==(const PlaneBasis&, const PlaneBasis&) = default;
};

/// Axial, coronal, sagittal.
using PlaneBases = std::array<PlaneBasis, 3>;

inline const PlaneBasis& basisOf(const PlaneBases& bases, imaging::ViewDirection plane) {
    return bases[static_cast<std::size_t>(plane)];
}

/// All three are valid planes (axes on one line span none) and each two unit normals n, m hold |n · m| ≤
/// 0.001.
bool areOrthogonal(const PlaneBases& bases);

/// The bases after turning the two planes other than `source` by an angle (radians) about source's normal,
/// right-handed: from source's axis 0 towards its axis 1, which on the screen is clockwise. Rodrigues'
/// formula, then Gram–Schmidt for each turned plane. The source's basis stays as it is, bit by bit. Nothing
/// where an axis vanishes (length at most 1e-8) or a number is not finite.
///
/// The planes need no correction against each other: what a step adds to n · m is the rounding of a rotation,
/// far below 1e-12 after ten thousand steps.
std::optional<PlaneBases>
rotatedAbout(const PlaneBases& bases, imaging::ViewDirection source, double radians);

} // namespace zorbel
