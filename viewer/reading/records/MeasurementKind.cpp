#include "viewer/reading/records/MeasurementKind.h"

namespace zorbel {

std::string_view measurementToolName(MeasurementKind kind) {
    switch (kind) {
    case MeasurementKind::Length:
        break;
    case MeasurementKind::Angle:
        return "angle";
    case MeasurementKind::Probe:
        return "probe";
    case MeasurementKind::Box:
        return "rectangle-roi";
    case MeasurementKind::Oval:
        return "ellipse-roi";
    }
    return "length";
}

std::optional<MeasurementKind> measurementKindOf(std::string_view toolName) {
    for (const MeasurementKind kind :
         {MeasurementKind::Length, MeasurementKind::Angle, MeasurementKind::Probe, MeasurementKind::Box,
          MeasurementKind::Oval})
        if (toolName == measurementToolName(kind))
            return kind;
    return std::nullopt;
}

std::optional<MeasurementKind> measurementKindOf(Tool tool) {
    if (tool < Tool::Length || tool > Tool::OvalRoi)
        return std::nullopt;
    return static_cast<MeasurementKind>(static_cast<int>(tool) - static_cast<int>(Tool::Length) + 1);
}

std::string_view measurementTitle(MeasurementKind kind) {
    switch (kind) {
    case MeasurementKind::Length:
        break;
    case MeasurementKind::Angle:
        return "Angle";
    case MeasurementKind::Probe:
        return "Probe";
    case MeasurementKind::Box:
        return "Box ROI";
    case MeasurementKind::Oval:
        return "Oval ROI";
    }
    return "Length";
}

std::size_t measurementPointCount(MeasurementKind kind) {
    switch (kind) {
    case MeasurementKind::Angle:
        return 3;
    case MeasurementKind::Probe:
        return 1;
    case MeasurementKind::Length:
    case MeasurementKind::Box:
    case MeasurementKind::Oval:
        break;
    }
    return 2;
}

} // namespace zorbel
