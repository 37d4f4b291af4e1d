#pragma once

#include "cache/StudyClassification.h"
#include "imaging/Image.h"
#include "imaging/VoiTransform.h"
#include "viewer/reading/base/Tool.h"
#include "viewer/reading/display/Image2DState.h"
#include "viewer/reading/display/WindowDrag.h"
#include "viewer/reading/measurements/ImageGrid2D.h"
#include "viewer/reading/measurements/MeasurementView.h"
#include "viewer/reading/records/KeyImage.h"
#include "viewer/studies/StudyIdentity.h"

#include <QObject>
#include <QPixmap>
#include <QPointF>
#include <QString>

#include <memory>
#include <optional>

class QLabel;

namespace zorbel {

namespace imaging {
class ImageView2D;
} // namespace imaging

class MeasurementController;
class MeasurementOverlay;
class ToolCursor;
class ViewportFrame;
class ViewportOverlay;

/// Shows a panoramic, cephalometric or other 2D image upright in the 2D view. The widgets belong to the
/// workspace's layout. User-interface thread.
class ImageController : public QObject {
    Q_OBJECT

public:
    ImageController(ToolCursor& cursor, MeasurementController& measurements, QObject* parent = nullptr);

    ViewportFrame* frame() const { return frame_; }

    /// study names what the image itself does not.
    void setImage(
        const std::shared_ptr<const imaging::Image>& image, const StudyIdentity& study,
        const StudyClassification& kind);
    void clear();
    void setTool(Tool tool);
    /// A measurement lies on the frame that is on the screen.
    bool shows(const Measurement& measurement) const;
    /// Goes to a frame, from 0.
    void showFrame(int frame);
    /// Moves through the frames of an image that has several.
    void step(int frames);
    bool hasSeveralFrames() const;
    const Image2DState& state() const { return state_; }
    /// Turns or mirrors what is seen.
    void turn(void (Image2DState::*operation)());
    void toggleInverted();
    /// One component a pixel: it has a window, and tones to invert.
    bool isOnScreen() const;
    QPixmap grab() const;
    /// From 1; nothing for an image of one frame.
    std::optional<KeyImageView::Slice> shownFrame() const;
    bool isGrey() const { return image_ && image_->components() == 1; }
    imaging::LevelWindow window() const;
    void setWindow(const imaging::LevelWindow& window);
    void fitToView();
    /// As it was first shown.
    void resetView();
    void setOverlaysShown(bool shown);

Q_SIGNALS:
    /// The image given to setImage() was painted.
    void imageDrawn();
    /// Turned, mirrored, inverted or reset.
    void stateChanged();
    /// By a drag with the window/level tool.
    void windowDragged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void present();
    MeasurementView measurementView() const;
    bool beginDrag();
    void continueDrag(const QPointF& position, const QPointF& total, const QPointF& step);
    void updateTexts();

    imaging::ImageView2D* view_ = nullptr;
    ViewportFrame* frame_ = nullptr;
    ViewportOverlay* overlay_ = nullptr;
    MeasurementOverlay* measurements_ = nullptr;
    QLabel* orientationChip_ = nullptr;
    QLabel* toneChip_ = nullptr;
    std::shared_ptr<const imaging::Image> image_;
    StudyIdentity study_;
    StudyClassification kind_;
    Image2DState state_;
    Tool tool_ = Tool::Crosshair;
    std::optional<WindowDrag> windowDrag_;
    double scrollRest_ = 0.0;      ///< pixels of a scroll drag that have not made a frame yet
    bool turnedByContent_ = false; ///< the file names no orientation
    bool awaitsFrame_ = false;
};

} // namespace zorbel
