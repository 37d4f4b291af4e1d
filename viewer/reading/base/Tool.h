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

} // namespace zorbel
