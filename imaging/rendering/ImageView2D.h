#pragma once

#include "imaging/Image.h"
#include "imaging/display/ImageOrientation2D.h"
#include "imaging/display/Raster8.h"
#include "imaging/planes/OrientationLabels.h"
#include "imaging/rendering/WheelAccumulator.h"

#include <QImage>
#include <QPointF>
#include <QWidget>

#include <memory>
#include <vector>

namespace zorbel::imaging {

/// Shows one grey or colour image, sharp at every size: area means where it is shrunk, bicubic where it is
/// enlarged. The wheel zooms at the pointer, a drag with the left or middle button moves the image. Positions
/// in the widget are logical pixels; positions in the image are (column, row), whole numbers at pixel
/// centres. User-interface thread.
class ImageView2D : public QWidget {
    Q_OBJECT

public:
    explicit ImageView2D(QWidget* parent = nullptr);

    /// Shows the first slice upright (ImageOrientation2D::upright), fitted, with the file's table or window.
    /// Null is clear().
    void setImage(std::shared_ptr<const Image> image, bool panoramic = false);
    void clear();
    const std::shared_ptr<const Image>& image() const { return image_; }

    /// Which slice of an image of several is shown, from 0; setSlice() clamps and keeps zoom and position. An
    /// image of a set is shown by its own function until setWindow() or setVoi() chooses one for all.
    int slice() const { return slice_; }
    int sliceCount() const;
    void setSlice(int slice);
    /// What is shown: image(), of a set the member in the slice. Its pixels are those of the positions.
    const std::shared_ptr<const Image>& shown() const { return shown_; }

    /// A LINEAR window instead of the file's own.
    void setWindow(double center, double width);
    void setVoi(const VoiChoice& voi);
    /// Back to the file's own.
    void setOwnVoi();
    const VoiChoice& voi() const { return voi_; }
    /// Exchanges black and white of what the image shows by itself.
    void setInverted(bool inverted);
    bool isInverted() const { return inverted_; }

    const ImageOrientation2D& orientation() const { return orientation_; }
    /// What setImage() began with: not original where the file's image was turned upright.
    const ImageOrientation2D& initialOrientation() const { return initialOrientation_; }
    /// Keeps the zoom; centres the image.
    void setOrientation(const ImageOrientation2D& orientation);
    /// Letters at the edges; empty where the file names no orientation.
    OrientationLabels orientationLabels() const;

    /// The whole image, centred. A view that was not zoomed or moved since then stays fitted when it is
    /// resized.
    void fitToView();
    /// factor above 1 enlarges; the image's point under anchor stays.
    void zoomBy(double factor, const QPointF& anchor);
    void panBy(const QPointF& pixels);
    /// Logical pixels for the shorter side of an image pixel.
    double scale() const { return scale_; }
    /// Not zoomed or moved since fitToView().
    bool isFitted() const { return fitted_; }
    /// A position in the image comes to the middle of the widget.
    void lookAt(const QPointF& position, double scale);

    QPointF imageToWidget(const QPointF& position) const;
    QPointF widgetToImage(const QPointF& position) const;

Q_SIGNALS:
    void doubleClicked(const QPointF& position);
    /// What imageToWidget() depends on changed.
    void viewChanged();
    void windowChanged();
    void sliceChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void invalidate();
    void changed();
    void fit();
    const Raster8& level(std::size_t index);
    QSizeF imageSize() const;
    QSizeF shownSize() const;
    QPointF shownOrigin() const;
    QImage render(const QSize& pixels, double ratio);

    std::shared_ptr<const Image> image_;
    std::shared_ptr<const Image> shown_;
    int slice_ = 0;
    VoiChoice voi_;
    bool ownVoi_ = true; ///< the file's
    bool inverted_ = false;
    ImageOrientation2D orientation_;
    ImageOrientation2D initialOrientation_;
    std::vector<Raster8> pyramid_; ///< under voi_ and inverted_; each level half as large as the one before
    QImage frame_;                 ///< what was painted last; null when something changed since
    QPointF center_;               ///< of the shown image, from the widget's middle
    double scale_ = 1.0;
    double fittedScale_ = 1.0;
    bool fitted_ = true;
    QPointF lastPosition_;
    WheelAccumulator wheel_;
};

} // namespace zorbel::imaging
