#include "viewer/reading/workspace/ShortcutTable.h"

#include "viewer/reading/planes/MprViewports.h"

#include "viewer/reading/base/Tool.h"
#include "viewer/reading/base/ViewportLayout.h"

namespace zorbel {

namespace {

using Action = ReadingAction;

ShortcutBinding toolKey(std::string_view key, Tool tool) {
    return {key, Action::SelectTool, static_cast<int>(tool)};
}

ShortcutBinding layoutKey(std::string_view key, Layout layout) {
    return {key, Action::SetLayout, static_cast<int>(layout)};
}

std::vector<ShortcutTable::Entry> buildEntries() {
    return {
        {"Arrows",
         "Previous / next slice",
         {{"Left", Action::StepSlices, -1},
          {"Right", Action::StepSlices, 1},
          {"Up", Action::StepSlices, 1},
          {"Down", Action::StepSlices, -1}}},
        {"C", "Crosshair", {toolKey("C", Tool::Crosshair)}},
        {"PgUp / PgDn",
         "Ten slices",
         {{"PgUp", Action::StepSlices, 10}, {"PgDown", Action::StepSlices, -10}}},
        {"R", "Rotate (Shift snaps 15&deg;)", {toolKey("R", Tool::Rotate)}},
        {"Wheel", "One voxel (Shift &times;10, Alt &times;0.1)", {}},
        {"W", "Window / level", {toolKey("W", Tool::WindowLevel)}},
        {"A / D / S",
         "Axial / coronal / sagittal",
         {{"A", Action::ActivateViewport, AxialViewport},
          {"D", Action::ActivateViewport, CoronalViewport},
          {"S", Action::ActivateViewport, SagittalViewport}}},
        {"P / Z", "Pan / zoom", {toolKey("P", Tool::Pan), toolKey("Z", Tool::Zoom)}},
        {"1 – 9",
         "Window presets",
         {{"1", Action::WindowPreset, 0},
          {"2", Action::WindowPreset, 1},
          {"3", Action::WindowPreset, 2},
          {"4", Action::WindowPreset, 3},
          {"5", Action::WindowPreset, 4},
          {"6", Action::WindowPreset, 5},
          {"7", Action::WindowPreset, 6},
          {"8", Action::WindowPreset, 7},
          {"9", Action::WindowPreset, 8}}},
        {"L / G / B",
         "Length / angle / probe",
         {toolKey("L", Tool::Length), toolKey("G", Tool::Angle), toolKey("B", Tool::Probe)}},
        {"M, + / −",
         "Slab on, thicker / thinner",
         {{"M", Action::ToggleSlab},
          {"+", Action::ChangeSlab, 1},
          {"=", Action::ChangeSlab, 1}, // thicker without Shift
          {"-", Action::ChangeSlab, -1}}},
        {"K / O", "Box / oval region", {toolKey("K", Tool::BoxRoi), toolKey("O", Tool::OvalRoi)}},
        {"F / Shift+R", "Fit / reset view", {{"F", Action::FitViews}, {"Shift+R", Action::ResetViews}}},
        {"Esc / Del",
         "Cancel / delete measurement",
         {{"Esc", Action::Cancel}, {"Del", Action::DeleteMeasurement}}},
        {"Space", "Maximise viewport", {{"Space", Action::ToggleMaximise}}},
        {"H / X", "Hide overlays / lines", {{"H", Action::ToggleOverlays}, {"X", Action::ToggleLines}}},
        {"Home", "Centre crosshair", {{"Home", Action::CenterCrosshair}}},
        {"I", "Invert", {{"I", Action::ToggleInverted}}},
        {"Ctrl+1 – 4",
         "Layout 2&times;2 / 1&times;1 / 1&times;2 / 1+3",
         {layoutKey("Ctrl+1", Layout::Quad), layoutKey("Ctrl+2", Layout::Single),
          layoutKey("Ctrl+3", Layout::SideBySide), layoutKey("Ctrl+4", Layout::PrimaryPlusThree)}},
        {"? / F1", "This sheet", {{"?", Action::ShowSheet}, {"F1", Action::ShowSheet}}},
        {"Ctrl+K", "Capture the view for the report", {{"Ctrl+K", Action::CaptureView}}},
        {"Ctrl+F", "Findings by tooth or region", {{"Ctrl+F", Action::ShowFindings}}},
    };
}

} // namespace

const std::vector<ShortcutTable::Entry>& ShortcutTable::entries() {
    static const std::vector<Entry> entries = buildEntries();
    return entries;
}

std::vector<ShortcutBinding> ShortcutTable::bindings() {
    std::vector<ShortcutBinding> all;
    for (const Entry& entry : entries())
        all.insert(all.end(), entry.bindings.begin(), entry.bindings.end());
    return all;
}

std::string ShortcutTable::sheetHtml() {
    std::string html = "<table cellpadding=\"4\">";
    bool left = true;
    for (const Entry& entry : entries()) {
        if (left)
            html += "<tr>";
        html += "<td><b>";
        html += entry.keys;
        html += "</b></td><td>";
        html += entry.action;
        html += "</td>";
        if (!left)
            html += "</tr>";
        left = !left;
    }
    return html + "</table>";
}

} // namespace zorbel
