#pragma once

#include "imaging/VoiTransform.h"
#include "viewer/mpr/MprPane.h"
#include "viewer/reading/planes/CrosshairModel.h"
#include "viewer/reading/planes/MprPlanes.h"
#include "viewer/tools/PanTool.h"
#include "viewer/tools/ScrollTool.h"
#include "viewer/tools/WindowLevelTool.h"
#include "viewer/tools/ZoomTool.h"
#include "viewer/workspace/ReadingMode.h"

#include <array>

namespace zorbel {

class MeasureTool;
class MeasurementController;
class VolumePane;

/// A volume in three linked planes that meet at the crosshair, and in 3D. Moves, turns, windows and thickens
/// the planes.
class MprMode : public ReadingMode {
    Q_OBJECT

public:
    /// measure and measurements must outlive the mode.
    MprMode(MeasureTool& measure, MeasurementController& measurements, QObject* parent = nullptr);

    ViewMode viewMode() const override { return ViewMode::Mpr; }
    std::vector<ViewportFrame*> frames() const override;
    bool canShow(const StudySeries& series) const override { return series.isVolume(); }
    void show(const std::shared_ptr<StudyReading>& reading) override;
    void clear() override;
    ModeControls controls() const override;
    void setTool(Tool tool) override;
    QString toolText(Tool tool) const override;
    void perform(ReadingAction action, int argument) override;
    void setOverlaysShown(bool shown) override;
    void setFramings(const std::map<int, HangingProtocol::Framing>& framings) override;
    std::optional<ModeCapture> capture() override;
    bool shows(const Measurement& measurement) const override;
    std::optional<int> showMeasurement(const Measurement& measurement) override;
    std::vector<DisplayProperties> displayProperties() const override;
    std::optional<imaging::Vector3> location() const override;
    /// The slices through a point, LPS millimetres.
    void goTo(const imaging::Vector3& point) override;

    const imaging::Vector3& crosshair() const { return crosshair_.point(); }
    PlaneBases liveBases() const;
    /// Turns the planes to these axes, through a point.
    void orient(const imaging::Vector3& point, const PlaneBases& bases);
    imaging::LevelWindow window() const;
    SlabModel slab() const;
    MprPane& pane(int plane) const { return *panes_[static_cast<std::size_t>(plane)]; }

private:
    void connectPane(int index);
    /// The 3D view has no slices: the axial ones move instead.
    int activePlane() const;
    void onGuideEvent(int index, const GuideEvent& event);
    void onSliceChanged(int index);
    void selectSlices();
    void rotate(int source, double radians);
    void applyStoredBases(int source);
    void setWindow(const imaging::LevelWindow& window);
    void setSlab(const SlabModel& slab);
    void sayWindow();
    void applyPreset(int index);
    void fitToView();
    void resetView();
    void toggleLines();
    /// What the reading says is what the views show.
    void applyHanging();
    void recordPosition();
    void recordFraming(int index);
    void refreshGuides();
    void updateTexts(int index);
    void onFrameRendered(int index);
    std::shared_ptr<const imaging::Image> image() const;

    std::array<MprPane*, 3> panes_{};
    VolumePane* volume_ = nullptr;
    MeasureTool& measure_;
    PanTool hand_;
    ZoomTool zoom_;
    ScrollTool scroll_;
    WindowLevelTool windowLevel_;
    std::shared_ptr<StudyReading> reading_;
    StudyReading::Subscription subscription_;
    MprPlanes planes_;
    CrosshairModel crosshair_;
    imaging::LevelWindow initialWindow_; ///< the image's own
    Tool tool_ = Tool::Crosshair;
    bool linesShown_ = true;
    bool syncingPlanes_ = false; ///< the planes move each other: what they report is no move of the user's
    bool showing_ = false;       ///< what changes is nobody's doing
    bool recording_ = false;     ///< the reading is told what the views show already
    unsigned awaitedFrames_ = 0; ///< bit set of the planes that have not drawn the new image yet
};

} // namespace zorbel
