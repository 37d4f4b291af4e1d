// What of the workspace outlives it: how the study hangs, where the reader is, and pictures of the viewports.

#include "imaging/rendering/PlaneView.h"
#include "imaging/rendering/VolumeView.h"
#include "viewer/image/ImageController.h"
#include "viewer/mpr/MprController.h"
#include "viewer/mpr/VolumeController.h"
#include "viewer/workspace/ViewerWorkspace.h"

#include <algorithm>

namespace zorbel {

namespace {

KeyImageView::Window captionWindow(const imaging::LevelWindow& window) {
    return {window.width, window.center};
}

} // namespace

HangingProtocol ViewerWorkspace::hangingProtocol() const {
    HangingProtocol hanging;
    hanging.tool = tool_;
    const imaging::LevelWindow window = hasVolume() ? mpr_->window() : image_->window();
    if (hasVolume() || image_->isGrey())
        hanging.window = {window.width, window.center};
    if (hasVolume()) {
        hanging.layout = layout_.layout();
        hanging.primary = static_cast<Viewport>(layout_.primary());
        hanging.slabEnabled = mpr_->slab().isEnabled();
        hanging.slabHalfSlices = mpr_->slab().sliceCount() / 2;
    }
    return hanging;
}

void ViewerWorkspace::applyHangingProtocol(const HangingProtocol& hanging) {
    if (mode_ == ViewMode::None)
        return;
    if (hanging.window) {
        imaging::LevelWindow window;
        window.width = hanging.window->width;
        window.center = hanging.window->level;
        if (hasVolume())
            mpr_->setWindow(window);
        else if (image_->isGrey())
            image_->setWindow(window);
    }
    if (hasVolume()) {
        SlabModel slab = mpr_->slab();
        slab.setSliceCount(2 * hanging.slabHalfSlices + 1);
        slab.setEnabled(hanging.slabEnabled);
        mpr_->setSlab(slab);
        rail_->setSlab(slab);
        applyChange(layout_.applyLayout(hanging.layout, hanging.primary));
    }
    setTool(hanging.tool);
}

std::optional<ReadingPosition> ViewerWorkspace::readingPosition() const {
    if (!hasVolume())
        return std::nullopt;
    ReadingPosition position;
    position.crosshair = mpr_->crosshair();
    position.axes = mpr_->liveBases();
    return position;
}

void ViewerWorkspace::applyReadingPosition(const ReadingPosition& position) {
    if (hasVolume())
        mpr_->orient(position.crosshair, position.axes);
}

std::optional<ViewerWorkspace::Capture> ViewerWorkspace::captureActiveViewport() {
    if (mode_ == ViewMode::None)
        return std::nullopt;
    // A widget's own grab has what lies over it, in the screen's pixels, and neither the pointer nor other
    // windows.
    Capture capture;
    if (hasImage()) {
        if (!image_->isOnScreen())
            return std::nullopt;
        capture.picture = image_->grab();
        capture.view.name = "2D";
        capture.view.slice = image_->shownFrame();
        if (image_->isGrey())
            capture.view.window = captionWindow(image_->window());
        return capture;
    }
    const int active = layout_.activeViewport();
    if (active == VolumeViewport) {
        if (!volume_->view().isVisible())
            return std::nullopt;
        capture.picture = volume_->view().grab();
        capture.view.name = "3D";
        return capture;
    }
    auto* view = mpr_->view(active);
    if (!view->isVisible())
        return std::nullopt;
    view->waitForFrame();
    capture.picture = view->grab();
    constexpr std::array<std::string_view, 3> names{"Axial", "Coronal", "Sagittal"};
    capture.view.name = names[static_cast<std::size_t>(active)];
    capture.view.slice = {view->navigation().currentSlice(), view->navigation().sliceCount()};
    capture.view.window = captionWindow(mpr_->window());
    return capture;
}

} // namespace zorbel
