#include "viewer/reading/base/Tool.h"

namespace zorbel {

GuideMode guideModeOf(Tool tool) {
    switch (tool) {
    case Tool::WindowLevel:
    case Tool::Scroll:
        break;
    case Tool::Crosshair:
        return GuideMode::Crosshair;
    case Tool::Pan:
        return GuideMode::Pan;
    case Tool::Zoom:
        return GuideMode::Zoom;
    case Tool::Rotate:
        return GuideMode::Rotate;
    case Tool::Length:
    case Tool::Angle:
    case Tool::Probe:
    case Tool::BoxRoi:
    case Tool::OvalRoi:
        return GuideMode::Measurement;
    }
    return GuideMode::None;
}

} // namespace zorbel
