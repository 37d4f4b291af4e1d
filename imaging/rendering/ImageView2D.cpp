#include "imaging/rendering/ImageView2D.h"

#include <QMouseEvent>
#include <QPainter>
#include <QResizeEvent>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace zorbel::imaging {

namespace {

/// A pyramid level, read in an orientation of the screen.
RasterView orientedView(const Raster8& raster, const ImageOrientation2D& orientation) {
    const auto& matrix = orientation.matrix();
    const std::ptrdiff_t pixel = raster.channels;
    const std::ptrdiff_t row = pixel * raster.width;
    RasterView view;
    view.channels = raster.channels;
    view.width = orientation.swapsAxes() ? raster.height : raster.width;
    view.height = orientation.swapsAxes() ? raster.width : raster.height;
    view.xStep = matrix[0] * pixel + matrix[1] * row;
    view.yStep = matrix[2] * pixel + matrix[3] * row;
    view.data = raster.pixels.data();
    if (view.xStep < 0)
        view.data -= view.xStep * (view.width - 1);
    if (view.yStep < 0)
        view.data -= view.yStep * (view.height - 1);
    return view;
}

} // namespace

ImageView2D::ImageView2D(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void ImageView2D::setImage(std::shared_ptr<const Image> image, bool panoramic) {
    image_ = std::move(image);
    shown_ = image_ && image_->isSet() ? image_->member(0) : image_;
    slice_ = 0;
    inverted_ = false;
    orientation_ = {};
    ownVoi_ = true;
    if (shown_) {
        const auto& size = shown_->geometry().dimensions();
        voi_ = initialVoi(*shown_);
        orientation_ = ImageOrientation2D::upright(shown_->metadata(), size[0], size[1], panoramic);
    }
    initialOrientation_ = orientation_;
    invalidate();
    fitToView();
    Q_EMIT windowChanged();
}

int ImageView2D::sliceCount() const {
    return image_ ? image_->geometry().dimensions()[2] : 0;
}

void ImageView2D::setSlice(int slice) {
    const int target = std::clamp(slice, 0, std::max(sliceCount() - 1, 0));
    if (target == slice_)
        return;
    slice_ = target;
    if (image_->isSet()) {
        shown_ = image_->member(slice_);
        if (ownVoi_)
            voi_ = initialVoi(*shown_);
        fit();
    }
    invalidate();
    Q_EMIT sliceChanged();
}

void ImageView2D::clear() {
    setImage(nullptr);
}

void ImageView2D::setWindow(double center, double width) {
    LevelWindow window;
    window.center = center;
    window.width = width;
    setVoi(window);
}

void ImageView2D::setOwnVoi() {
    if (!shown_)
        return;
    setVoi(initialVoi(*shown_));
    ownVoi_ = true;
}

void ImageView2D::setVoi(const VoiChoice& voi) {
    voi_ = voi;
    ownVoi_ = false;
    invalidate();
    Q_EMIT windowChanged();
}

void ImageView2D::setInverted(bool inverted) {
    if (inverted_ == inverted)
        return;
    inverted_ = inverted;
    invalidate();
}

void ImageView2D::setOrientation(const ImageOrientation2D& orientation) {
    orientation_ = orientation;
    center_ = {};
    if (fitted_)
        fit();
    changed();
}

OrientationLabels ImageView2D::orientationLabels() const {
    return shown_ ? orientation_.labels(shown_->metadata()) : OrientationLabels{};
}

void ImageView2D::fitToView() {
    fitted_ = true;
    center_ = {};
    fit();
    changed();
}

void ImageView2D::fit() {
    if (!image_)
        return;
    const QSizeF size = imageSize();
    fittedScale_ =
        std::max(std::min(std::max(width(), 1) / size.width(), std::max(height(), 1) / size.height()), 1e-6);
    if (fitted_)
        scale_ = fittedScale_;
}

void ImageView2D::zoomBy(double factor, const QPointF& anchor) {
    if (!image_ || !(factor > 0.0) || !std::isfinite(factor))
        return;
    constexpr double largest = 40.0;
    const double target = std::clamp(scale_ * factor, std::min(fittedScale_ * 0.2, 1.0), largest);
    const QPointF fromCenter = anchor - QPointF(width() / 2.0, height() / 2.0) - center_;
    center_ += fromCenter * (1.0 - target / scale_);
    scale_ = target;
    fitted_ = false;
    changed();
}

void ImageView2D::panBy(const QPointF& pixels) {
    if (!image_)
        return;
    center_ += pixels;
    fitted_ = false;
    changed();
}

void ImageView2D::lookAt(const QPointF& position, double scale) {
    if (!image_ || !(scale > 0.0))
        return;
    scale_ = scale;
    center_ += QPointF(width() / 2.0, height() / 2.0) - imageToWidget(position);
    fitted_ = false;
    changed();
}

/// Of the turned image, in units of the shorter pixel side.
QSizeF ImageView2D::imageSize() const {
    const auto& size = shown_->geometry().dimensions();
    const double aspect =
        shown_->metadata().pixelAspectRatio > 0.0 ? shown_->metadata().pixelAspectRatio : 1.0;
    const QSizeF upright(size[0] * std::max(1.0, 1.0 / aspect), size[1] * std::max(1.0, aspect));
    return orientation_.swapsAxes() ? upright.transposed() : upright;
}

QSizeF ImageView2D::shownSize() const {
    return imageSize() * scale_;
}

QPointF ImageView2D::shownOrigin() const {
    const QSizeF size = shownSize();
    return QPointF((width() - size.width()) / 2.0, (height() - size.height()) / 2.0) + center_;
}

QPointF ImageView2D::imageToWidget(const QPointF& position) const {
    if (!image_)
        return {};
    const auto& size = shown_->geometry().dimensions();
    const auto& matrix = orientation_.matrix();
    // −½ to ½ across the image, about its centre.
    const double across = (position.x() + 0.5) / size[0] - 0.5;
    const double along = (position.y() + 0.5) / size[1] - 0.5;
    const QSizeF shown = shownSize();
    const QPointF origin = shownOrigin();
    return {
        origin.x() + shown.width() * (matrix[0] * across + matrix[1] * along + 0.5),
        origin.y() + shown.height() * (matrix[2] * across + matrix[3] * along + 0.5)};
}

QPointF ImageView2D::widgetToImage(const QPointF& position) const {
    if (!image_)
        return {};
    const auto& size = shown_->geometry().dimensions();
    const auto& matrix = orientation_.matrix();
    const QSizeF shown = shownSize();
    const QPointF origin = shownOrigin();
    const double right = (position.x() - origin.x()) / shown.width() - 0.5;
    const double down = (position.y() - origin.y()) / shown.height() - 0.5;
    // The inverse of an orthogonal matrix is its transpose.
    return {
        size[0] * (matrix[0] * right + matrix[2] * down + 0.5) - 0.5,
        size[1] * (matrix[1] * right + matrix[3] * down + 0.5) - 0.5};
}

const Raster8& ImageView2D::level(std::size_t index) {
    if (pyramid_.empty())
        pyramid_.push_back(mapToScreen(
            *shown_, voi_, shown_->metadata().inverted != inverted_, image_->isSet() ? 0 : slice_));
    while (pyramid_.size() <= index)
        pyramid_.push_back(halved(pyramid_.back()));
    return pyramid_[index];
}

QImage ImageView2D::render(const QSize& pixels, double ratio) {
    const bool colour = shown_->components() >= 3;
    QImage frame(pixels, colour ? QImage::Format_RGB888 : QImage::Format_Grayscale8);
    frame.fill(Qt::black);

    const auto& size = shown_->geometry().dimensions();
    const QSizeF shown = shownSize() * ratio;
    const QPointF origin = shownOrigin() * ratio;
    const QSizeF whole = orientation_.swapsAxes() ? QSizeF(size[1], size[0]) : QSizeF(size[0], size[1]);
    // The smallest level that is still larger than the picture, so that little detail is averaged twice.
    const double shrinks = std::min(whole.width() / shown.width(), whole.height() / shown.height());
    const auto index = static_cast<std::size_t>(std::max(0.0, std::floor(std::log2(std::max(shrinks, 1.0)))));
    const RasterView view = orientedView(level(index), orientation_);
    const double levelPixel = std::pow(2.0, static_cast<double>(index));

    const auto axis = [&](double start, double length, double sourceLength, int limit, int& first) {
        first = std::clamp(static_cast<int>(std::lround(start)), 0, limit);
        const int end = std::clamp(static_cast<int>(std::lround(start + length)), first, limit);
        ResampleAxis result;
        result.step = sourceLength / length / levelPixel;
        result.origin = (first - start) * result.step;
        result.count = end - first;
        return result;
    };
    int left = 0;
    int top = 0;
    const ResampleAxis horizontal = axis(origin.x(), shown.width(), whole.width(), pixels.width(), left);
    const ResampleAxis vertical = axis(origin.y(), shown.height(), whole.height(), pixels.height(), top);
    resample(
        view, horizontal, vertical, frame.bits() + top * frame.bytesPerLine() + left * view.channels,
        frame.bytesPerLine());
    return frame;
}

void ImageView2D::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const double ratio = devicePixelRatioF();
    const QSize pixels = size() * ratio;
    if (!image_ || pixels.isEmpty()) {
        painter.fillRect(rect(), Qt::black);
        return;
    }
    if (frame_.isNull() || frame_.size() != pixels) {
        frame_ = render(pixels, ratio);
        frame_.setDevicePixelRatio(ratio);
    }
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.drawImage(QPointF(0.0, 0.0), frame_);
}

void ImageView2D::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    fit();
    changed();
}

void ImageView2D::wheelEvent(QWheelEvent* event) {
    if (const int notches = wheel_.add(*event); notches != 0)
        zoomBy(std::pow(1.15, notches), event->position());
    event->accept();
}

void ImageView2D::mousePressEvent(QMouseEvent* event) {
    lastPosition_ = event->position();
    event->accept();
}

void ImageView2D::mouseMoveEvent(QMouseEvent* event) {
    const QPointF moved = event->position() - lastPosition_;
    lastPosition_ = event->position();
    const bool left = event->buttons().testFlag(Qt::LeftButton);
    if (left || event->buttons().testFlag(Qt::MiddleButton))
        panBy(moved);
}

void ImageView2D::mouseDoubleClickEvent(QMouseEvent* event) {
    Q_EMIT doubleClicked(event->position());
    event->accept();
}

void ImageView2D::invalidate() {
    pyramid_.clear();
    changed();
}

void ImageView2D::changed() {
    frame_ = {};
    update();
    Q_EMIT viewChanged();
}

} // namespace zorbel::imaging
