#pragma once

#include "imaging/Image.h"
#include "imaging/VoiTransform.h"
#include "imaging/planes/OrientationLabels.h"
#include "imaging/planes/SliceNavigationController.h"
#include "imaging/rendering/RenderWindowWidget.h"

#include <QPointF>

#include <memory>

namespace zorbel::imaging {

/// Shows one plane through a volume, linearly interpolated, without perspective. Positions in the widget are
/// logical pixels, (0, 0) at its upper left corner; world points are LPS millimetres. User-interface thread.
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
    /// A SIGMOID window is drawn as the straight line with the sigmoid's slope at its centre.
    void setWindow(const LevelWindow& window);
    const LevelWindow& window() const { return window_; }
    /// Low values white; set from the image (MONOCHROME1) by setImage().
    void setInverted(bool inverted);
    bool isInverted() const { return inverted_; }

    /// The whole image, centred. A view that was not zoomed or moved since then stays fitted when it is
    /// resized.
    void fitToView();
    /// factor above 1 enlarges; the point under anchor stays.
    void zoomBy(double factor, const QPointF& anchor);
    /// Moves the picture with the pointer.
    void panBy(const QPointF& pixels);
    double millimetresPerPixel() const { return millimetresPerPixel_; }

    /// Of a point off the plane: of its projection.
    QPointF worldToWidget(const Vector3& point) const;
    /// The point of the shown plane.
    Vector3 widgetToWorld(const QPointF& position) const;
    OrientationLabels orientationLabels() const { return OrientationLabels::of(navigation_.plane()); }

Q_SIGNALS:
    /// The shown plane changed: another slice, another orientation, another image.
    void sliceChanged();
    /// What worldToWidget() depends on changed: plane, zoom, position or size.
    void viewChanged();
    void windowChanged();

protected:
    void prepareFrame(const QSize& pixels) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Pipeline;
    void planeChanged();
    void applyWindow();
    void fit();
    Vector3 cameraCenter() const { return navigation_.plane().project(cameraCenter_); }

    std::shared_ptr<const Image> image_;
    SliceNavigationController navigation_;
    std::unique_ptr<Pipeline> pipeline_;
    LevelWindow window_;
    bool inverted_ = false;
    Vector3 cameraCenter_{0.0, 0.0, 0.0}; ///< at the middle of the widget, after projection on the plane
    double millimetresPerPixel_ = 1.0;
    double fittedMillimetresPerPixel_ = 1.0;
    bool fitted_ = true;
};

} // namespace zorbel::imaging
