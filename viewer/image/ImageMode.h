#pragma once

#include "imaging/VoiTransform.h"
#include "viewer/reading/display/Image2DState.h"
#include "viewer/tools/PanTool.h"
#include "viewer/tools/ScrollTool.h"
#include "viewer/tools/ToolTarget.h"
#include "viewer/tools/WindowLevelTool.h"
#include "viewer/tools/ZoomTool.h"
#include "viewer/workspace/ReadingMode.h"

class QLabel;

namespace zorbel {

namespace imaging {
class ImageView2D;
} // namespace imaging

class MeasureTool;
class MeasurementController;
class ToolLayer;
class ViewportOverlay;

/// A panoramic, cephalometric or other 2D image, upright in one view; of several frames one at a time.
class ImageMode : public ReadingMode, public ToolTarget {
    Q_OBJECT

public:
    /// measure and measurements must outlive the mode.
    ImageMode(MeasureTool& measure, MeasurementController& measurements, QObject* parent = nullptr);

    ViewMode viewMode() const override { return ViewMode::TwoD; }
    std::vector<ViewportFrame*> frames() const override { return {frame_}; }
    bool canShow(const StudySeries& series) const override { return !series.isVolume(); }
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

    bool showsImage() const override;
    void panBy(const QPointF& pixels) override;
    void zoomBy(double factor, const QPointF& anchor) override;
    void step(double frames) override;
    double pixelsPerSlice() const override { return 8.0; }
    std::optional<WindowDrag> beginWindowDrag() const override;
    void dragWindow(const imaging::LevelWindow& window) override;
    MeasurementView measurementView() const override;

    const Image2DState& state() const { return state_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool isGrey() const;
    bool hasSeveralFrames() const;
    /// As the image is first shown.
    void present();
    /// What the reading says is what the view shows.
    void applyHanging();
    void setWindow(const imaging::LevelWindow& window);
    void turn(void (Image2DState::*operation)());
    void toggleInverted();
    void toggleLines();
    void stateChanged();
    void recordView();
    void updateTexts();
    std::shared_ptr<const imaging::Image> image() const;

    imaging::ImageView2D* view_ = nullptr;
    ViewportFrame* frame_ = nullptr;
    ViewportOverlay* overlay_ = nullptr;
    ToolLayer* layer_ = nullptr;
    QLabel* orientationChip_ = nullptr;
    QLabel* toneChip_ = nullptr;
    MeasureTool& measure_;
    std::map<Tool, PanTool> hands_; ///< under the pointers of the tools that have nothing to hold here
    ZoomTool zoom_;
    ScrollTool scroll_;
    WindowLevelTool windowLevel_;
    std::shared_ptr<StudyReading> reading_;
    StudyReading::Subscription subscription_;
    Image2DState state_;
    std::optional<HangingProtocol::Window> appliedWindow_; ///< nothing: the file's own function
    bool linesShown_ = true;       ///< as the key for them says; there are none to see here
    bool turnedByContent_ = false; ///< the file names no orientation
    bool showing_ = false;         ///< what changes is nobody's doing
    bool awaitsFrame_ = false;
};

} // namespace zorbel
