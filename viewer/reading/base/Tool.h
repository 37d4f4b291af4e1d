#pragma once

namespace zorbel {

/// What the left mouse button does in the viewports.
enum class Tool {
    WindowLevel = 0,
    Crosshair = 1,
    Pan = 2,
    Scroll = 3,
    Zoom = 4,
    Rotate = 5,
    Length = 6,
    Angle = 7,
    Probe = 8,
    BoxRoi = 9,
    OvalRoi = 10,
};

/// How the guide overlay of a plane reads the mouse.
enum class GuideMode {
    None = 0, ///< not at all: the press belongs to the view below
    Crosshair = 1,
    Pan = 2,
    Zoom = 3,
    Rotate = 4,
    Measurement = 5,
};

/// None for window/level and scroll, which the view below the overlay handles.
GuideMode guideModeOf(Tool tool);

} // namespace zorbel
