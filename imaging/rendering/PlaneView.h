#pragma once

#include "imaging/Image.h"
#include "imaging/VoiTransform.h"
#include "imaging/planes/OrientationLabels.h"
#include "imaging/planes/PlaneSampler.h"
#include "imaging/planes/Slab.h"
#include "imaging/planes/SliceNavigationController.h"
#include "imaging/rendering/RenderWindowWidget.h"

#include <QPointF>

#include <memory>

namespace zorbel::imaging {

class PlaneRenderer;

/// Shows one plane or slab through a volume, linearly interpolated, without perspective. Positions in the
/// widget are logical pixels, (0, 0) at its upper left corner; world points are LPS millimetres.
///
/// Pictures that take but a few milliseconds are computed while painting, all others in the background (see
/// PlaneRenderer). What this class tells is about the state asked for; until its picture is there, the one
/// before is shown where it belongs in that state.
/// User-interface thread.
class PlaneView : public RenderWindowWidget {
    Q_OBJECT

public:
    explicit PlaneView(ViewDirection direction, QWidget* parent = nullptr);
    ~PlaneView() override;

    /// Shows the middle slice of the standard plane with the image's initial window, fitted. Null is clear().
    void setImage(std::shared_ptr<const Image> image);
    void clear();
    const std::shared_ptr<const Image>& image() const { return image_; }

    /// The shown plane; changing it redraws this view and emits sliceChanged().
    SliceNavigationController& navigation() { return navigation_; }
    const SliceNavigationController& navigation() const { return navigation_; }

    /// A LINEAR window. Emits windowChanged().
    void setWindow(double center, double width);
    void setWindow(const LevelWindow& window);
    const LevelWindow& window() const { return window_; }
    /// Low values white; set from the image (MONOCHROME1) by setImage().
    void setInverted(bool inverted);
    bool isInverted() const { return inverted_; }

    /// Shows `count` parallel planes, one slice apart, the current one in the middle: made odd, 1 to 51; 1 is
    /// the plane alone. The window then works as windowForSlab() says. Emits slabChanged().
    void setSlab(SlabMode mode, int count);
    SlabMode slabMode() const { return slabMode_; }
    int slabCount() const { return slabCount_; }
    /// The planes in the current orientation.
    Slab slab() const { return {slabMode_, slabCount_, navigation_.sliceSpacing()}; }
    /// Of the slab, or of the single slice; millimetres.
    double thickness() const { return slabCount_ * navigation_.sliceSpacing(); }

    /// The whole image, centred. A view that was not zoomed or moved since then stays fitted when it is
    /// resized.
    void fitToView();
    /// factor above 1 enlarges; the point under anchor stays.
    void zoomBy(double factor, const QPointF& anchor);
    /// Moves the picture with the pointer.
    void panBy(const QPointF& pixels);
    double millimetresPerPixel() const { return millimetresPerPixel_; }
    /// Not zoomed or moved since fitToView().
    bool isFitted() const { return fitted_; }
    /// The point of the patient that, projected on the plane, is at the middle of the widget.
    const Vector3& lookedAt() const { return cameraCenter_; }
    /// As it was zoomed and moved before.
    void lookAt(const Vector3& point, double millimetresPerPixel);

    /// Of a point off the plane: of its projection.
    QPointF worldToWidget(const Vector3& point) const;
    /// The point of the shown plane.
    Vector3 widgetToWorld(const QPointF& position) const;
    OrientationLabels orientationLabels() const { return OrientationLabels::of(navigation_.plane()); }

    void requestUpdate() override;
    /// Computes the full picture first when it is not there yet, also of a hidden view.
    QImage grabFrame() override;
    /// What is painted now is the full picture of the state asked for.
    bool isUpToDate() const;
    /// Computes the full picture at once, so that the next paint shows it.
    void waitForFrame();
    /// The full picture of the current state in another size, about the same centre and with all that the
    /// widget shows; the view itself does not change.
    QImage renderNow(const QSize& pixels) const;
    /// Up to how long a picture may be expected to take and yet be computed while painting.
    void setImmediateMilliseconds(double milliseconds) { immediateMs_ = milliseconds; }

Q_SIGNALS:
    /// The shown plane changed: another slice, another orientation, another image.
    void sliceChanged();
    /// What worldToWidget() depends on changed: plane, zoom, position or size.
    void viewChanged();
    void windowChanged();

    void slabChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void planeChanged();
    void fit();
    void startRendering();
    bool isQuick(const PlaneFrame& frame) const;
    void showNewPicture();
    const QImage& mappedPicture();
    QImage mapped(const PlaneValues& values, const Slab& slab, QImage into = {}) const;
    QSize devicePixels() const;
    PlaneFrame frameFor(const QSize& pixels, double pixelsPerLogical) const;
    PlaneFrame wantedFrame() const { return frameFor(devicePixels(), devicePixelRatioF()); }
    QRectF pictureRect(const PlaneFrame& frame) const;
    Vector3 cameraCenter() const { return navigation_.plane().project(cameraCenter_); }

    std::shared_ptr<const Image> image_;
    SliceNavigationController navigation_;
    std::unique_ptr<PlaneRenderer> renderer_;
    QImage picture_; ///< the renderer's picture under the window
    bool pictureIsMapped_ = false;
    SlabMode slabMode_ = SlabMode::Mip;
    int slabCount_ = 1;
    double immediateMs_ = 4.0; ///< three such views leave the user interface its sixteen milliseconds
    bool renderScheduled_ = false;
    bool pictureIsNew_ = false; ///< not painted yet
    bool frameDue_ = false;     ///< somebody waits for frameRendered()
    LevelWindow window_;
    bool inverted_ = false;
    Vector3 cameraCenter_{0.0, 0.0, 0.0}; ///< at the middle of the widget, after projection on the plane
    double millimetresPerPixel_ = 1.0;
    double fittedMillimetresPerPixel_ = 1.0;
    bool fitted_ = true;
};

} // namespace zorbel::imaging
