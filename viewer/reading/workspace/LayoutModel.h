#pragma once

#include "viewer/reading/workspace/ViewportSet.h"

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

/// Which layout of a mode's viewports is shown, around which of them, and which one is active. Where there is
/// only one viewport, layout and maximise requests change nothing. One thread.
class LayoutModel {
public:
    /// At least one viewport; the first can be a primary.
    explicit LayoutModel(ViewportSet viewports) : viewports_(std::move(viewports)) {}

    /// Starts over: all viewports, the first active. Lay the grid out after it.
    void reset();

    const ViewportSet& viewports() const { return viewports_; }
    bool hasLayouts() const { return viewports_.size() > 1; }
    Layout layout() const { return layout_; }
    int primary() const { return primary_; }
    int activeViewport() const { return active_; }
    /// The viewport, no primary, that alone fills the workspace; layout() is what comes back after it. −1 for
    /// none.
    int focusedViewport() const { return focused_; }
    CellPlan cellPlan() const;
    /// "Layout 2x2"; empty where there is nothing to choose.
    std::string layoutText() const;

    /// An unknown viewport changes nothing; only those that can be a primary are spoken of.
    LayoutChange setActiveViewport(int viewport);
    /// For a layout that was saved; a primary that is none counts as the first.
    LayoutChange applyLayout(Layout layout, int primary);
    /// Ctrl+1 to Ctrl+4 and the layout buttons: around the active viewport.
    LayoutChange setLayoutFromShortcut(Layout layout);
    /// Space and double-click: this viewport alone, or back from there to the layout before.
    LayoutChange toggleMaximise(int viewport);
    /// The maximise button in the header of a viewport that is no primary.
    LayoutChange toggleFocus(int viewport);

private:
    const ViewportTraits& traits(int viewport) const {
        return viewports_[static_cast<std::size_t>(viewport)];
    }
    void enter(Layout layout, int primary);

    ViewportSet viewports_;
    Layout layout_ = Layout::Quad;
    int primary_ = 0;
    /// The layout to come back to; never Single.
    Layout beforeMaximise_ = Layout::Quad;
    int active_ = 0;
    int focused_ = -1;
};

} // namespace zorbel
