#pragma once

#include "viewer/reading/base/PlaneBases.h"

namespace zorbel {

/// The last orthogonal orientation of the three planes and the coupled rotation on it. The views' own planes
/// follow: after a successful rotate() the caller turns each plane other than the source to its stored basis,
/// through the crosshair. One thread.
class MprPlanes {
public:
    /// Forgets the volume; rotation is disabled without a warning.
    void reset() { *this = MprPlanes(); }

    /// Takes the planes as they are now. Orthogonal ones are stored and enable rotation; others disable it
    /// and leave the stored bases, with one warning in the log for the change. Returns isRotationEnabled().
    bool checkPlanesOrthogonal(const PlaneBases& live);
    bool isRotationEnabled() const { return rotationEnabled_; }
    const PlaneBases& storedBases() const { return stored_; }

    /// Turns the two stored bases other than the source's by an angle in radians (see rotatedAbout()). False
    /// where rotation is disabled or the step is refused; nothing has changed then.
    bool rotate(imaging::ViewDirection source, double radians);

private:
    PlaneBases stored_{};
    bool rotationEnabled_ = false;
};

} // namespace zorbel
