#pragma once

#include "viewer/reading/base/Tool.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace zorbel {

enum class MeasurementKind { Length = 1, Angle = 2, Probe = 3, Box = 4, Oval = 5 };

/// As records name it: "length", "angle", "probe", "rectangle-roi", "ellipse-roi".
std::string_view measurementToolName(MeasurementKind kind);
/// Nothing for any other text.
std::optional<MeasurementKind> measurementKindOf(std::string_view toolName);
/// Nothing for a tool that does not measure.
std::optional<MeasurementKind> measurementKindOf(Tool tool);
/// For the reader, as the tools are labelled: "Length", "Angle", "Probe", "Box ROI", "Oval ROI".
std::string_view measurementTitle(MeasurementKind kind);

/// Length 2, angle 3 (the vertex is the second), probe 1, regions 2 (opposite corners).
std::size_t measurementPointCount(MeasurementKind kind);
constexpr bool isRegion(MeasurementKind kind) {
    return kind == MeasurementKind::Box || kind == MeasurementKind::Oval;
}

} // namespace zorbel
