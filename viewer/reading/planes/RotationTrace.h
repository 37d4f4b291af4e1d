#pragma once

#include "app/log/LogFormat.h"
#include "imaging/geometry/ViewDirection.h"
#include "viewer/reading/base/PlaneBases.h"

namespace zorbel {

/// One applied step of a coupled rotation, for the log: stored bases and what the views made of them.
struct RotationTrace {
    imaging::ViewDirection source = imaging::ViewDirection::Axial; ///< the view that was dragged in
    double radians = 0.0;                                          ///< the step
    imaging::Vector3 focalPoint{0.0, 0.0, 0.0};                    ///< the crosshair, LPS millimetres
    PlaneBases stored{};
    PlaneBases live{};

    /// The log line's fields. `hasAxes`: all live bases are valid; `axialGuideDeg`: direction of the axial
    /// view's first guide line, degrees clockwise from the screen's right. Numbers with six decimals; a plane
    /// without a basis is written "<no basis>".
    LogMeta fields() const;
    /// Logs "rotation step".
    void write() const;

    /// The environment variable ZORBEL_MPR_TRACE held a non-zero integer when first asked.
    static bool isEnabled();
    /// text: the variable's value, null where it is not set.
    static bool isEnabledBy(const char* text);
};

} // namespace zorbel
