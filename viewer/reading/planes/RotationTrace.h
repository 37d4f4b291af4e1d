#pragma once

#include "app/log/LogFormat.h"
#include "imaging/geometry/ViewDirection.h"
#include "viewer/reading/base/PlaneBases.h"

namespace zorbel {

/// One applied step of a coupled rotation, for the log: stored bases and what the views made of them. One
/// thread.
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

    /// At first as the environment variable ZORBEL_MPR_TRACE said when first asked: a non-zero integer is on.
    static bool isEnabled();
    static void setEnabled(bool enabled);
    /// text: the variable's value, null where it is not set.
    static bool isEnabledBy(const char* text);
};

} // namespace zorbel
