#pragma once

#include "viewer/reading/base/Tool.h"
#include "viewer/reading/base/ViewportLayout.h"

#include <optional>
#include <string>
#include <string_view>

namespace zorbel {

/// How a study was hung. Value type; as constructed it is how a study is hung that was never opened.
struct HangingProtocol {
    struct Window {
        double width = 1.0; ///< more than 0
        double level = 0.0;
        friend bool operator==(const Window&, const Window&) = default;
    };
    static constexpr int mostSlabHalfSlices = 25;

    Layout layout = Layout::Quad;
    Viewport primary = AxialViewport;
    std::optional<Window> window{}; ///< nothing: as the image itself asks for
    bool slabEnabled = false;
    /// On either side of the plane's own slice: a slab has 2 × this + 1. 1 to 25, others are clamped.
    int slabHalfSlices = 2;
    Tool tool = Tool::Crosshair;

    friend bool operator==(const HangingProtocol&, const HangingProtocol&) = default;
};

/// The name in files: "window-level", "rectangle-roi".
std::string_view toolName(Tool tool);
/// Nothing for an unknown name.
std::optional<Tool> toolFromName(std::string_view name);

/// JSON.
std::string hangingProtocolText(const HangingProtocol& hanging);
/// Nothing where it is no JSON object; what is missing in it, unknown or out of range is as constructed.
std::optional<HangingProtocol> hangingProtocolFrom(std::string_view text);

} // namespace zorbel
