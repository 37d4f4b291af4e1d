#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zorbel {

/// What a key of the main window does. The comments name the argument, where there is one.
enum class ShortcutAction {
    StepSlices,       ///< slices in the active plane: −1 as the rail's "Previous", +1 as "Next", ±10
    ActivateViewport, ///< Viewport
    WindowPreset,     ///< index in windowPresets
    SelectTool,       ///< Tool
    ToggleSlab,
    ChangeSlab, ///< +1 thicker, −1 thinner
    FitViews,
    ResetViews,
    ToggleMaximise, ///< of the active viewport
    CenterCrosshair,
    SetLayout, ///< Layout
    CaptureView,
    Cancel, ///< the measurement that is being drawn
    DeleteMeasurement,
    ToggleOverlays,
    ToggleLines,
    ToggleInverted,
    ShowSheet,
    ShowFindings,
};

/// One key of the main window.
struct ShortcutBinding {
    std::string_view key; ///< as QKeySequence's portable text: "Shift+R", "PgDown", "Esc"
    ShortcutAction action = ShortcutAction::ShowSheet;
    int argument = 0;
};

/// The one list of the keys: what is bound, and what the sheet "Keyboard shortcuts" says about it.
class ShortcutTable {
public:
    /// One cell pair of the sheet with the keys that it explains; the wheel's has none.
    struct Entry {
        std::string_view keys;   ///< as shown, HTML
        std::string_view action; ///< as shown, HTML
        std::vector<ShortcutBinding> bindings;
    };

    /// In reading order of the sheet: left, right, next row.
    static const std::vector<Entry>& entries();
    static std::vector<ShortcutBinding> bindings();
    /// The sheet: a table with two pairs of key and action a row.
    static std::string sheetHtml();
};

} // namespace zorbel
