#pragma once

#include "viewer/reading/base/Tool.h"
#include "viewer/reading/base/ViewportLayout.h"
#include "viewer/reading/state/PlanesPosition.h"

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zorbel {

/// How one series hangs: all that a reader sets and wants to find again. Value type; as constructed it is how
/// a series is hung that was never opened.
struct HangingProtocol {
    /// A window that the reader chose.
    struct Window {
        enum class Shape { Linear, LinearExact, Sigmoid };
        double width = 1.0; ///< more than 0
        double level = 0.0;
        Shape shape = Shape::Linear;
        friend bool operator==(const Window&, const Window&) = default;
    };
    /// Where a view looks at, and how closely. Millimetres and LPS of a plane; of a 2D image logical pixels a
    /// pixel, and the image's own pixels (column, row, 0).
    struct Framing {
        double scale = 1.0; ///< more than 0
        std::array<double, 3> center{0.0, 0.0, 0.0};
        friend bool operator==(const Framing&, const Framing&) = default;
    };
    static constexpr int mostSlabHalfSlices = 25;

    Layout layout = Layout::Quad;
    int primary = 0;
    std::optional<Window> window{}; ///< nothing: as the image itself asks for, be it a window or a table
    bool slabEnabled = false;
    /// On either side of the plane's own slice: a slab has 2 × this + 1. 1 to 25, others are clamped.
    int slabHalfSlices = 2;
    int slabMode = 0; ///< in the order of the list of modes
    Tool tool = Tool::Crosshair;
    int frame = 0; ///< of an image of several, from 0
    /// Of the views that the reader zoomed or moved; all others show the whole image.
    std::map<int, Framing> framings{};
    /// Of a volume that was shown in planes. Kept in a file of its own.
    std::optional<PlanesPosition> planes{};

    friend bool operator==(const HangingProtocol&, const HangingProtocol&) = default;
};

/// How the series of one study hang, each under its key.
struct StudyHanging {
    std::map<std::string, HangingProtocol> series;
    std::string last; ///< the series that was shown last

    /// As it hung the last time, or as nothing ever did.
    HangingProtocol of(const std::string& key) const;

    friend bool operator==(const StudyHanging&, const StudyHanging&) = default;
};

/// The name in files: "window-level", "rectangle-roi".
std::string_view toolName(Tool tool);
/// Nothing for an unknown name.
std::optional<Tool> toolFromName(std::string_view name);

/// JSON, without the positions of the planes: how the series shown last hangs, and under "series" each.
std::string hangingProtocolText(const StudyHanging& hanging);
/// Nothing where it is no JSON object; what is missing in it, unknown or out of range is as constructed. A
/// file that names no series speaks for all of them: it is under the empty key.
std::optional<StudyHanging> hangingProtocolFrom(std::string_view text);

} // namespace zorbel
