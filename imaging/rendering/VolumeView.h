#pragma once

#include "imaging/Image.h"
#include "imaging/display/VolumeAppearance.h"
#include "imaging/planes/OrientationLabels.h"
#include "imaging/rendering/OpenGlRenderWindowWidget.h"

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
/// it, and for the first picture, fewer rays are cast; the full picture follows after a moment of rest. How
/// many rays either takes is found from the measured time of each frame. User-interface thread.
class VolumeView : public OpenGlRenderWindowWidget {
    Q_OBJECT

public:
    explicit VolumeView(QWidget* parent = nullptr);
    ~VolumeView() override;

    /// Null is clear(). An image that is no volume (Image::isVolumetric) is not drawn; notice() says so.
    void setImage(std::shared_ptr<const Image> image);
    void clear();
    const std::shared_ptr<const Image>& image() const { return image_; }
    /// The volume is prepared and drawn.
    bool isReady() const { return scene_ != nullptr; }

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

    /// Replaces the appearance chosen for the image; kept until the next setImage().
    void setAppearance(const VolumeAppearance& appearance);
    const VolumeAppearance& appearance() const { return appearance_; }

    /// For the reader: why there is no picture, or only a reduced one; empty when all is well.
    const QString& notice() const { return notice_; }

Q_SIGNALS:
    void volumeReady();
    /// Turned, moved, zoomed or resized.
    void viewChanged();
    void noticeChanged(const QString& notice);
    /// After a frame in full quality; delivered from the event loop.
    void stillFrameRendered();

protected:
    void prepareFrame(const QSize& pixels) override;
    void finishFrame() override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Prepared;
    static Prepared prepare(
        const std::shared_ptr<const Image>& image, int maxSide, std::size_t maxBytes,
        const std::shared_ptr<std::atomic<bool>>& cancel);
    void startPreparing(int maxSide);
    void present(const Prepared& prepared);
    void setNotice(const QString& notice);
    void interact();
    void removeScene();
    void resetScale();
    double imageStep(bool still) const;

    std::shared_ptr<const Image> image_;
    std::unique_ptr<VolumeScene> scene_;
    VolumeAppearance appearance_;
    bool ownAppearance_ = false;                ///< set by setAppearance()
    std::shared_ptr<std::atomic<bool>> cancel_; ///< of the preparation now running
    QString notice_;
    QTimer rest_;
    QPointF lastPosition_;
    int maxSide_ = 0;
    bool still_ = false;
    bool fitted_ = true;
    int framesOfVolume_ = 0;
    double costPerRay_ =
        0.0; ///< milliseconds for one ray that samples every voxel once; 0 before it is measured
};

} // namespace zorbel::imaging
