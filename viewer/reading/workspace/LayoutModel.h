#pragma once

#include "viewer/reading/base/ViewportLayout.h"

#include <string>

namespace zorbel {

/// What a request to the LayoutModel did. Texts are empty where nothing is to be said.
struct LayoutChange {
    /// The grid is to be laid out after cellPlan(), the visible views refitted once the event loop has come
    /// round, and the hanging protocol saved.
    bool layout = false;
    bool active = false;    ///< activeViewport() changed
    std::string activeText; ///< "Active plane: Coronal"; to be shown before layoutText
    std::string layoutText; ///< "Layout 2x2", "Coronal maximised", "Layout restored", "Focused 3D view", …
};

/// Which layout is shown, around which viewport, and which viewport is active. Layout and maximise requests
/// are answered only while a volume is shown; otherwise they change nothing. One thread.
class LayoutModel {
public:
    /// Whether the workspace shows a volume in planes. Each call starts over: all four viewports, axial
    /// active. Lay the grid out after it.
    void setVolumeShown(bool shown);

    Layout layout() const { return layout_; }
    /// 0 to 2.
    int primary() const { return primary_; }
    /// 0 to 3.
    int activeViewport() const { return active_; }
    /// The 3D view alone fills the workspace; layout() is what comes back after it.
    bool isVolumeFocused() const { return volumeFocused_; }
    CellPlan cellPlan() const;
    /// "Layout 2x2".
    std::string layoutText() const;

    /// A viewport out of 0 to 3 changes nothing; the 3D view has no activeText.
    LayoutChange setActiveViewport(int viewport);
    /// For a layout that was saved; a primary other than coronal and sagittal is axial.
    LayoutChange applyLayout(Layout layout, int primary);
    /// Ctrl+1 to Ctrl+4 and the layout buttons: around the active viewport.
    LayoutChange setLayoutFromShortcut(Layout layout);
    /// Space and double-click: this viewport alone, or back from there to the layout before.
    LayoutChange toggleMaximise(int viewport);
    /// The maximise button of the 3D view's header.
    LayoutChange toggleVolumeFocus();

private:
    void enter(Layout layout, int primary);

    bool volumeShown_ = false;
    Layout layout_ = Layout::Quad;
    int primary_ = AxialViewport;
    /// The layout to come back to; never Single.
    Layout beforeMaximise_ = Layout::Quad;
    int active_ = AxialViewport;
    bool volumeFocused_ = false;
};

} // namespace zorbel
