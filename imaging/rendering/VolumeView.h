#pragma once

#include "imaging/Image.h"
#include "imaging/display/VolumeAppearance.h"
#include "imaging/planes/OrientationLabels.h"
#include "imaging/rendering/OpenGlRenderWindowWidget.h"
#include "imaging/rendering/PictureTiles.h"
#include "imaging/rendering/VolumePreparation.h"

#include <QElapsedTimer>
#include <QPointF>
#include <QString>
#include <QTimer>

#include <atomic>
#include <memory>

namespace zorbel::imaging {

class VolumeScene;

/// Shows a volume in three dimensions, by ray casting, without perspective; first from the front, head up.
/// Left drag turns it, wheel and right drag zoom, middle drag or Shift with left drag move it.
///
/// The volume is prepared on a background thread (histogram; a coarser copy where the graphics card cannot
/// hold it, or where the processor draws), so it appears some time after setImage(). While the reader moves
/// it, fewer rays are cast, as many as the measured time allows. After a moment of rest the full picture is
/// drawn in parts from the event loop, so that the next movement is served at once; the parts done are shown
/// meanwhile. User-interface thread.
class VolumeView : public OpenGlRenderWindowWidget {
    Q_OBJECT

public:
    explicit VolumeView(QWidget* parent = nullptr, VolumeLimits limits = {});
    ~VolumeView() override;

    /// Null is clear(). An image that is no volume (Image::isVolumetric) is not drawn; notice() says so.
    void setImage(std::shared_ptr<const Image> image);
    void clear();
    const std::shared_ptr<const Image>& image() const { return image_; }
    /// The volume is prepared and drawn.
    bool isReady() const { return scene_ != nullptr; }
    /// What is shown is the picture in full quality of all that was asked for.
    bool isStill() const { return scene_ && !cancel_ && phase_ == Phase::Still; }

    /// From the front, head up, fitted.
    void resetCamera();
    /// The whole volume, centred, from where it is looked at.
    void fitToView();
    /// Turns the volume as a ball under the pointer, in degrees: to the right, and downwards.
    void rotateBy(double horizontal, double vertical);
    void zoomBy(double factor);
    void panBy(const QPointF& pixels);

    /// Letters of the directions that point to the edges now.
    OrientationLabels orientationLabels() const;

    /// How the volume looks; kept over images, as is the camera by these calls.
    void setPreset(VolumePreset preset);
    VolumePreset preset() const { return preset_; }
    void setBlendMode(VolumeBlendMode mode);
    VolumeBlendMode blendMode() const { return blendMode_; }
    /// Off: no rays are cast and the view is black; kept over images. Not QWidget::setEnabled(), which would
    /// take mouse and keyboard away as well.
    void setRenderingEnabled(bool enabled);
    bool isRenderingEnabled() const { return renderingEnabled_; }
    /// Paused: no rays are cast, the last picture stays and gestures are ignored; what changed meanwhile
    /// shows when it goes on.
    void setPaused(bool paused);
    bool isPaused() const { return paused_; }

    /// Computes the picture in full quality at once, so that what is grabbed next has it. Waits for it: on
    /// software OpenGL seconds.
    void completePicture();

    /// For the reader: why there is no picture, or only a reduced one; empty when all is well.
    const QString& notice() const { return notice_; }

    /// Of the volume that is drawn: the image's own, or those of a coarser copy; zeros while there is none.
    std::array<int, 3> drawnDimensions() const;
    /// It is a coarser copy.
    bool isReduced() const { return scene_ && prepared_.reduced; }

    /// What the last picture in full quality took in all, and the longest of its parts; 0 before the first.
    double stillMilliseconds() const { return stillMs_; }
    double longestPartMilliseconds() const { return longestPartMs_; }

Q_SIGNALS:
    void volumeReady();
    /// Turned, moved, zoomed or resized.
    void viewChanged();
    void noticeChanged(const QString& notice);
    /// The picture in full quality is shown; delivered from the event loop.
    void stillFrameRendered();

protected:
    bool isPictureCurrent() const override;
    void prepareFrame(const QSize& pixels) override;
    void finishFrame() override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    /// Of the picture: being moved, being redrawn in parts, complete.
    enum class Phase { Moving, Refining, Still };

    void startPreparing(int maxSide);
    void present(const PreparedVolume& prepared);
    bool showScene(const PreparedVolume& prepared);
    void retrySmaller(int tooLong);
    void measureRay();
    void updateAppearance();
    void setNotice(const QString& notice);
    void interact();
    void startRefining();
    void refine();
    void removeScene();
    void resetScale();
    double movingImageStep() const;
    double devicePixelCount() const;

    VolumeLimits limits_;
    std::shared_ptr<const Image> image_;
    PreparedVolume prepared_; ///< what scene_ draws
    std::unique_ptr<VolumeScene> scene_;
    VolumePreset preset_ = VolumePreset::CtDefault;
    VolumeBlendMode blendMode_ = VolumeBlendMode::Composite;
    bool renderingEnabled_ = true;
    bool paused_ = false;
    std::shared_ptr<std::atomic<bool>> cancel_; ///< of the preparation now running
    int maxSide_ = 0;                           ///< asked for in the preparation last begun
    QString notice_;
    QPointF lastPosition_;
    bool framed_ = false; ///< the camera looks at this image
    bool fitted_ = true;

    Phase phase_ = Phase::Moving;
    QTimer rest_;
    QTimer nextPart_;
    PictureTiles tiles_;
    QElapsedTimer sinceShown_;
    bool announced_ = true; ///< stillFrameRendered() was emitted for this picture
    int framesOfVolume_ = 0;
    double costPerRay_ = 0.0; ///< ms for one ray that samples every voxel once; 0 before it is measured
    double partPixels_ = 0.0; ///< of the next part
    double partsMs_ = 0.0;
    double longestMs_ = 0.0;
    double stillMs_ = 0.0;
    double longestPartMs_ = 0.0;
};

} // namespace zorbel::imaging
