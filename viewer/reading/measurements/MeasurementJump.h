#pragma once

#include "viewer/reading/base/PlaneBases.h"
#include "viewer/reading/records/Measurement.h"

#include <string>

namespace zorbel {

/// Where to go to see a measurement. Value type.
struct MeasurementJump {
    /// The middle of its points, of an angle the vertex: for the crosshair, or in the coordinates of the 2D
    /// image's grid.
    imaging::Vector3 point{0.0, 0.0, 0.0};
    /// What to load where it is not shown; empty for any series.
    std::string seriesInstanceUid;

    bool onImage = false;
    int slice = 0; ///< of a 2D image

    /// Of a measurement in a volume: the view that then shows it, and the planes to turn to. Where a view
    /// need only be moved to show all of it, that view and the planes as they are.
    imaging::ViewDirection view = imaging::ViewDirection::Axial;
    PlaneBases bases{};
    bool turnsPlanes = false;

    /// current: the planes as they are; all three turn together, so that they keep their angles.
    static MeasurementJump to(const Measurement& measurement, const PlaneBases& current);
};

} // namespace zorbel
