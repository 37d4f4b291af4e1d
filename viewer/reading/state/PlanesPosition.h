#pragma once

#include "imaging/geometry/Vector3.h"
#include "viewer/reading/base/PlaneBases.h"

namespace zorbel {

/// Where a reader is in a volume: the point that the three planes share, and how they lie. LPS millimetres.
/// Value type.
struct PlanesPosition {
    imaging::Vector3 crosshair{0.0, 0.0, 0.0};
    PlaneBases axes{};

    friend bool operator==(const PlanesPosition&, const PlanesPosition&) = default;
};

} // namespace zorbel
