#include "imaging/rendering/PlaneView.h"

#include "imaging/display/DefaultWindow.h"
#include "imaging/display/GreyRamp.h"
#include "imaging/rendering/PlaneRenderer.h"

#include <QElapsedTimer>
#include <QPainter>
#include <QResizeEvent>

#include <algorithm>
#include <cmath>

namespace zorbel::imaging {

namespace {

constexpr int largestSlab = 51;

} // namespace

PlaneView::PlaneView(ViewDirection direction, QWidget* parent)
    : RenderWindowWidget(parent), navigation_(direction), renderer_(std::make_unique<PlaneRenderer>()) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    navigation_.setChangeCallback([this] { planeChanged(); });
    connect(renderer_.get(), &PlaneRenderer::pictureReady, this, &PlaneView::showNewPicture);
}

PlaneView::~PlaneView() {
    navigation_.setChangeCallback({});
}

void PlaneView::setImage(std::shared_ptr<const Image> image) {
    frameDue_ = true;
    if (image != image_ || !image) { // Nothing of another image may be seen for a moment.
        renderer_->setSampler(image ? std::make_shared<const PlaneSampler>(image) : nullptr);
        picture_ = {};
        pictureIsMapped_ = false;
        pictureIsNew_ = false;
        update();
    }
    image_ = std::move(image);
    if (!image_) {
        navigation_.clear();
        return;
    }
    cameraCenter_ = image_->geometry().center();
    fitted_ = true;
    inverted_ = image_->metadata().inverted;
    setWindow(initialWindow(*image_));
    navigation_.setGeometry(image_->geometry());
    fit();
}

void PlaneView::clear() {
    setImage(nullptr);
}

void PlaneView::setWindow(double center, double width) {
    LevelWindow window;
    window.center = center;
    window.width = width;
    setWindow(window);
}

void PlaneView::setWindow(const LevelWindow& window) {
    if (!std::isfinite(window.center) || !std::isfinite(window.width))
        return;
    window_ = window;
    pictureIsMapped_ = false;
    requestUpdate();
    Q_EMIT windowChanged();
}

void PlaneView::setInverted(bool inverted) {
    inverted_ = inverted;
    pictureIsMapped_ = false;
    requestUpdate();
}

void PlaneView::setSlab(SlabMode mode, int count) {
    const int planes = std::clamp(count, 1, largestSlab) | 1;
    if (mode == slabMode_ && planes == slabCount_)
        return;
    slabMode_ = mode;
    slabCount_ = planes;
    requestUpdate();
    Q_EMIT slabChanged();
}

void PlaneView::planeChanged() {
    if (fitted_)
        fit();
    requestUpdate();
    Q_EMIT sliceChanged();
    Q_EMIT viewChanged();
}

void PlaneView::fitToView() {
    if (image_)
        cameraCenter_ = image_->geometry().center();
    fitted_ = true;
    fit();
}

void PlaneView::fit() {
    if (!image_)
        return;
    const PlaneGeometry plane = navigation_.plane().movedTo(image_->geometry().center());
    std::array<double, 2> half{0.0, 0.0};
    for (int corner = 0; corner < 8; ++corner) {
        Vector3 index{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            index[axis] = (corner >> axis) & 1 ? image_->geometry().dimensions()[axis] - 0.5 : -0.5;
        const auto position = plane.toPlane(image_->geometry().indexToWorld(index));
        for (std::size_t axis = 0; axis < 2; ++axis)
            half[axis] = std::max(half[axis], std::abs(position[axis]));
    }
    constexpr double margin = 1.02;
    fittedMillimetresPerPixel_ =
        margin * std::max(2.0 * half[0] / std::max(width(), 1), 2.0 * half[1] / std::max(height(), 1));
    if (fitted_ && millimetresPerPixel_ != fittedMillimetresPerPixel_) {
        millimetresPerPixel_ = fittedMillimetresPerPixel_;
        Q_EMIT viewChanged();
    }
    requestUpdate();
}

void PlaneView::zoomBy(double factor, const QPointF& anchor) {
    if (!image_ || !(factor > 0.0) || !std::isfinite(factor))
        return;
    const Vector3 held = widgetToWorld(anchor);
    constexpr double smallest = 0.1; // of the fitted size
    constexpr double closest = 1e-3; // millimetres a pixel
    fitted_ = false;
    const double farthest = std::max(fittedMillimetresPerPixel_ / smallest, closest);
    millimetresPerPixel_ = std::clamp(millimetresPerPixel_ / factor, closest, farthest);
    cameraCenter_ = cameraCenter() + held - widgetToWorld(anchor);
    requestUpdate();
    Q_EMIT viewChanged();
}

void PlaneView::panBy(const QPointF& pixels) {
    if (!image_)
        return;
    const PlaneGeometry& plane = navigation_.plane();
    fitted_ = false;
    cameraCenter_ = cameraCenter() - plane.axisVector(0) * (pixels.x() * millimetresPerPixel_) -
                    plane.axisVector(1) * (pixels.y() * millimetresPerPixel_);
    requestUpdate();
    Q_EMIT viewChanged();
}

void PlaneView::lookAt(const Vector3& point, double millimetresPerPixel) {
    if (!image_ || !(millimetresPerPixel > 0.0))
        return;
    fitted_ = false;
    cameraCenter_ = point;
    millimetresPerPixel_ = millimetresPerPixel;
    requestUpdate();
    Q_EMIT viewChanged();
}

QPointF PlaneView::worldToWidget(const Vector3& point) const {
    const auto [right, down] = navigation_.plane().movedTo(cameraCenter()).toPlane(point);
    return {width() / 2.0 + right / millimetresPerPixel_, height() / 2.0 + down / millimetresPerPixel_};
}

Vector3 PlaneView::widgetToWorld(const QPointF& position) const {
    return navigation_.plane()
        .movedTo(cameraCenter())
        .fromPlane(
            (position.x() - width() / 2.0) * millimetresPerPixel_,
            (position.y() - height() / 2.0) * millimetresPerPixel_);
}

QSize PlaneView::devicePixels() const {
    return size() * devicePixelRatioF();
}

PlaneFrame PlaneView::frameFor(const QSize& pixels, double pixelsPerLogical) const {
    PlaneFrame frame;
    // The middle of the picture: at a fractional device pixel ratio not quite the middle of the widget.
    frame.plane = navigation_.plane().movedTo(
        widgetToWorld({pixels.width() / pixelsPerLogical / 2.0, pixels.height() / pixelsPerLogical / 2.0}));
    frame.millimetresPerPixel = millimetresPerPixel_ / pixelsPerLogical;
    frame.width = pixels.width();
    frame.height = pixels.height();
    if (slabCount_ > 1)
        frame.slab = slab();
    return frame;
}

void PlaneView::requestUpdate() {
    frameDue_ = true;
    update();
    if (renderScheduled_)
        return;
    renderScheduled_ = true;
    QMetaObject::invokeMethod(this, &PlaneView::startRendering, Qt::QueuedConnection);
}

void PlaneView::startRendering() {
    renderScheduled_ = false;
    if (!isVisible() || isUpToDate())
        return;
    if (const PlaneFrame frame = wantedFrame(); !isQuick(frame))
        renderer_->request(frame);
}

bool PlaneView::isQuick(const PlaneFrame& frame) const {
    return renderer_->expectedMilliseconds(frame) <= immediateMs_;
}

bool PlaneView::isUpToDate() const {
    return !image_ || devicePixels().isEmpty() || renderer_->isComplete(wantedFrame());
}

void PlaneView::showNewPicture() {
    pictureIsMapped_ = false;
    pictureIsNew_ = true;
    update();
}

void PlaneView::waitForFrame() {
    if (isUpToDate())
        return;
    renderer_->renderNow(wantedFrame());
    showNewPicture();
}

QImage PlaneView::grabFrame() {
    const QSize pixels = devicePixels();
    if (image_ && !pixels.isEmpty()) {
        waitForFrame();
        return mappedPicture();
    }
    QImage black(pixels, QImage::Format_RGB32);
    black.fill(Qt::black);
    return black;
}

QImage PlaneView::renderNow(const QSize& pixels) const {
    if (!image_ || pixels.isEmpty() || size().isEmpty())
        return {};
    const double scale = std::min(1.0 * pixels.width() / width(), 1.0 * pixels.height() / height());
    PlaneFrame frame = frameFor(pixels, scale);
    frame.plane = frame.plane.movedTo(cameraCenter());
    return mapped(renderer_->render(frame), frame.slab);
}

QImage PlaneView::mapped(const PlaneValues& values, const Slab& slab, QImage into) const {
    const QSize size(values.width(), values.height());
    QImage picture = into.size() == size ? std::move(into) : QImage(size, QImage::Format_RGB32);
    const GreyRamp ramp(windowForSlab(window_, slab), inverted_);
    for (int y = 0; y < size.height(); ++y)
        ramp.map(
            values.row(y), static_cast<std::size_t>(size.width()),
            reinterpret_cast<std::uint32_t*>(picture.scanLine(y)));
    return picture;
}

const QImage& PlaneView::mappedPicture() {
    const PlanePicture* computed = renderer_->picture();
    if (!pictureIsMapped_ && computed) {
        QElapsedTimer clock;
        clock.start();
        picture_ = mapped(computed->values, computed->frame.slab, std::move(picture_));
        pictureIsMapped_ = true;
        const double mapping = static_cast<double>(clock.nsecsElapsed()) / 1e6;
        setLastFrameMilliseconds(computed->milliseconds + mapping);
    }
    return picture_;
}

/// Where a picture belongs in the state asked for, in device pixels.
QRectF PlaneView::pictureRect(const PlaneFrame& frame) const {
    const double ratio = devicePixelRatioF();
    const double scale = frame.millimetresPerPixel * ratio / millimetresPerPixel_;
    const QSizeF shown(frame.width * scale, frame.height * scale);
    const QPointF corner =
        worldToWidget(frame.plane.center()) * ratio - QPointF(shown.width(), shown.height()) / 2.0;
    // Unscaled pixels are copied as they are.
    return std::abs(scale - 1.0) < 1e-9 ? QRectF(corner.toPoint(), QSizeF(frame.width, frame.height))
                                        : QRectF(corner, shown);
}

void PlaneView::paintEvent(QPaintEvent*) {
    if (const PlaneFrame frame = wantedFrame(); !isUpToDate() && isQuick(frame)) {
        renderer_->renderNow(frame);
        pictureIsMapped_ = false;
        pictureIsNew_ = true;
    }
    QPainter painter(this);
    const double ratio = devicePixelRatioF();
    painter.scale(1.0 / ratio, 1.0 / ratio);
    const QRectF whole(QPointF(0, 0), QSizeF(size()) * ratio);
    const PlanePicture* computed = renderer_->picture();
    const QRectF target = computed ? pictureRect(computed->frame) : QRectF();
    if (!target.contains(whole))
        painter.fillRect(whole.toAlignedRect(), Qt::black);
    if (computed) {
        const QImage& picture = mappedPicture();
        if (target.size() == QSizeF(picture.size())) {
            painter.drawImage(target.topLeft(), picture);
        } else {
            constexpr int smoothedPixels = 1'500'000; // in about ten milliseconds
            painter.setRenderHint(
                QPainter::SmoothPixmapTransform, picture.width() * picture.height() < smoothedPixels);
            painter.drawImage(target, picture, QRectF(picture.rect()));
        }
    }
    const bool upToDate = isUpToDate();
    if (!upToDate && !renderScheduled_ && renderer_->requested() != wantedFrame())
        requestUpdate(); // The window has moved to a screen of another resolution.
    if (pictureIsNew_ || (frameDue_ && upToDate)) {
        frameDue_ = frameDue_ && !upToDate;
        announceFrame();
    }
    pictureIsNew_ = false;
}

void PlaneView::showEvent(QShowEvent* event) {
    RenderWindowWidget::showEvent(event);
    requestUpdate();
}

void PlaneView::resizeEvent(QResizeEvent* event) {
    RenderWindowWidget::resizeEvent(event);
    fit();
    Q_EMIT viewChanged();
}

} // namespace zorbel::imaging
