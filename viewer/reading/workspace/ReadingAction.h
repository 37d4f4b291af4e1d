#pragma once

namespace zorbel {

/// What a reader asks the workspace for, by a key, on the rail or in a menu. The comments name the argument,
/// where there is one.
enum class ReadingAction {
    StepSlices,       ///< slices in the active plane: −1 as the rail's "Previous", +1 as "Next", ±10
    ActivateViewport, ///< viewport of the mode
    WindowPreset,     ///< index in windowPresets
    SelectTool,       ///< Tool
    ToggleSlab,
    ChangeSlab,   ///< +1 thicker, −1 thinner
    SetSlabMode,  ///< imaging::SlabMode
    SetSlabCount, ///< slices
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
    Mirror,
    FlipVertical,
    Rotate180,
    ShowSheet,
    ShowFindings,
    ShowKeyImages,
};

} // namespace zorbel
