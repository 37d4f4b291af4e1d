#pragma once

#include "imaging/Image.h"

#include <QObject>

#include <array>
#include <memory>

namespace zorbel {

namespace imaging {
class PlaneView;
class VolumeView;
} // namespace imaging

class ViewNotice;
class ViewportFrame;
class ViewportOverlay;

/// Shows a volume in the three planes and the 3D view, and moves through its slices. Owns which viewport is
/// active; the widgets belong to the workspace's layout.
class MprController : public QObject {
    Q_OBJECT

public:
    /// Viewport indices, in the fixed order of all layouts.
    enum Viewport { Axial = 0, Coronal = 1, Sagittal = 2, Volume = 3 };

    explicit MprController(QObject* parent = nullptr);

    /// The four viewports, made here and handed to the layout, which takes ownership.
    const std::array<ViewportFrame*, 4>& frames() const { return frames_; }

    void setImage(const std::shared_ptr<const imaging::Image>& image);
    void clear();

    int activeViewport() const { return active_; }
    /// 0 to 3; emits activeViewportChanged() when it changes.
    void setActiveViewport(int viewport);
    /// Moves the active plane (the axial one while the 3D view is active) by slices; positive is the next
    /// slice.
    void stepActivePlane(double slices);
    void fitToView();
    /// Standard planes through the middle, fitted, with the image's own window.
    void resetView();

    /// Slices for a wheel turned by so many notches: one a notch, Shift ten, Alt a tenth; away from the user
    /// is the next slice.
    static double wheelStep(int notches, Qt::KeyboardModifiers modifiers);

Q_SIGNALS:
    void activeViewportChanged(int viewport);
    /// All viewports have drawn the image given to setImage().
    void imageDrawn();

private:
    void buildPlane(int index);
    void buildVolume();
    void updatePlaneTexts(int index);
    void updateVolumeLetters();
    void onFrameRendered(int index);

    std::array<imaging::PlaneView*, 3> planes_{};
    std::array<ViewportOverlay*, 3> overlays_{};
    std::array<ViewportFrame*, 4> frames_{};
    imaging::VolumeView* volume_ = nullptr;
    ViewportOverlay* volumeOverlay_ = nullptr;
    ViewNotice* volumeNotice_ = nullptr;
    std::shared_ptr<const imaging::Image> image_;
    int active_ = Axial;
    unsigned awaitedFrames_ = 0; ///< bit set of the planes that have not drawn the new image yet
};

} // namespace zorbel
