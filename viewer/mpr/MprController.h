#pragma once

#include "imaging/Image.h"
#include "imaging/VoiTransform.h"
#include "viewer/reading/base/Tool.h"
#include "viewer/reading/display/SlabModel.h"
#include "viewer/reading/display/WindowDrag.h"
#include "viewer/reading/measurements/MeasurementJump.h"
#include "viewer/reading/measurements/MeasurementView.h"
#include "viewer/reading/planes/CrosshairModel.h"
#include "viewer/reading/planes/GuideEvent.h"
#include "viewer/reading/planes/MprPlanes.h"
#include "viewer/studies/StudyIdentity.h"

#include <QObject>
#include <QPointF>
#include <QString>

#include <array>
#include <memory>
#include <optional>

namespace zorbel {

namespace imaging {
class PlaneView;
} // namespace imaging

class MeasurementController;
class MeasurementOverlay;
class MprGuideOverlay;
class ToolCursor;
class ViewportFrame;
class ViewportOverlay;

/// Shows a volume in three linked planes that meet at the crosshair, and moves, turns, windows and thickens
/// them. The widgets belong to the workspace's layout. User-interface thread.
class MprController : public QObject {
    Q_OBJECT

public:
    MprController(ToolCursor& cursor, MeasurementController& measurements, QObject* parent = nullptr);

    /// Axial, coronal, sagittal: made here and handed to the layout, which takes ownership.
    const std::array<ViewportFrame*, 3>& frames() const { return frames_; }

    /// Standard planes through the middle, in the image's own window. study names what the image itself does
    /// not.
    void setImage(const std::shared_ptr<const imaging::Image>& image, const StudyIdentity& study);
    void clear();

    void setTool(Tool tool);
    /// Moves a plane (0 to 2) by slices; positive is the next slice.
    void stepPlane(int plane, double slices);
    void fitToView();
    /// Standard planes through the middle, fitted, with the image's own window; lines and slab stay.
    void resetView();

    const imaging::Vector3& crosshair() const { return crosshair_.point(); }
    void centreCrosshair();
    /// The slices through a point.
    void moveCrosshair(const imaging::Vector3& point);
    /// Turns and moves the planes so that a measurement is seen where it was drawn.
    void jumpTo(const MeasurementJump& jump);
    /// Turns the planes to these axes, through a point.
    void orient(const imaging::Vector3& point, const PlaneBases& bases);
    imaging::PlaneView* view(int plane) const { return panes_[static_cast<std::size_t>(plane)].view; }
    /// A measurement lies on a plane that is on the screen.
    bool shows(const Measurement& measurement) const;
    bool linesShown() const { return linesShown_; }
    void setLinesShown(bool shown);
    void setOverlaysShown(bool shown);

    PlaneBases liveBases() const;
    const imaging::LevelWindow& window() const { return window_; }
    void setWindow(const imaging::LevelWindow& window);

    const SlabModel& slab() const { return slab_; }
    void setSlab(const SlabModel& slab);

Q_SIGNALS:
    /// All planes have drawn the image given to setImage().
    void imageDrawn();
    void viewportPressed(int viewport);
    void maximiseRequested(int viewport);
    void slabChanged();
    /// Crosshair or planes moved.
    void positionChanged();
    /// By a drag with the window/level tool.
    void windowDragged();

private:
    /// One plane's widgets.
    struct Pane {
        imaging::PlaneView* view = nullptr;
        MprGuideOverlay* guide = nullptr;
        ViewportOverlay* texts = nullptr;
        MeasurementOverlay* measurements = nullptr;
    };

    void buildPane(int index, ToolCursor& cursor, MeasurementController& measurements);
    void connectPane(int index);
    bool beginDrag(int index, const QPointF& position);
    void continueDrag(int index, const QPointF& position, const QPointF& total, const QPointF& step);
    void onGuideEvent(int index, const GuideEvent& event);
    void onSliceChanged(int index);
    void selectSlices();
    void rotate(int source, double radians);
    void applyStoredBases(int source);
    void changeSlab(const SlabChange& change);
    void showSlab();
    void refreshGuides();
    void updateTexts(int index);
    void onFrameRendered(int index);
    MeasurementView measurementView(int index) const;

    std::array<Pane, 3> panes_;
    std::array<ViewportFrame*, 3> frames_{};
    std::shared_ptr<const imaging::Image> image_;
    StudyIdentity study_;
    MprPlanes planes_;
    CrosshairModel crosshair_;
    SlabModel slab_;
    imaging::LevelWindow window_;
    Tool tool_ = Tool::Crosshair;
    std::optional<WindowDrag> windowDrag_;
    double scrollRest_ = 0.0; ///< pixels of a scroll drag that have not made a slice yet
    bool linesShown_ = true;
    bool syncingPlanes_ = false; ///< the planes move each other: what they report is no move of the user's
    unsigned awaitedFrames_ = 0; ///< bit set of the planes that have not drawn the new image yet
};

} // namespace zorbel
