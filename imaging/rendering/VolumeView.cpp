#include "imaging/rendering/VolumeView.h"

#include "app/log/Logger.h"
#include "imaging/rendering/OpenGlCapabilities.h"
#include "imaging/rendering/VolumeScene.h"

#include <QFutureWatcher>
#include <QMouseEvent>
#include <QResizeEvent>
#include <QtConcurrent>

#include <vtkCamera.h>
#include <vtkRenderer.h>
#include <vtkVolume.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace zorbel::imaging {

namespace {

constexpr int restMilliseconds = 150;
constexpr int showPartsMilliseconds = 250;
constexpr double movingMilliseconds = 60.0; ///< aimed at for a frame while the volume moves
constexpr double partMilliseconds = 30.0;   ///< aimed at for one part of the full picture
constexpr double stillRayStep = 0.8;        ///< voxels between two samples; jittered
constexpr double movingRayStep = 1.6;
constexpr double roughestImageStep = 8.0;
constexpr int softwareMaxSide = 256;
constexpr int smallestSide = 64;

int longestSide(const Image& image) {
    const auto& size = image.geometry().dimensions();
    return *std::max_element(size.begin(), size.end());
}

} // namespace

VolumeView::VolumeView(QWidget* parent, VolumeLimits limits)
    : OpenGlRenderWindowWidget(parent), limits_(std::move(limits)) {
    renderer()->GetActiveCamera()->ParallelProjectionOn();
    rest_.setSingleShot(true);
    rest_.setInterval(restMilliseconds);
    connect(&rest_, &QTimer::timeout, this, &VolumeView::startRefining);
    nextPart_.setSingleShot(true);
    connect(&nextPart_, &QTimer::timeout, this, &VolumeView::refine);
    connect(this, &RenderWindowWidget::wheelScrolled, this, [this](int notches, Qt::KeyboardModifiers) {
        zoomBy(std::pow(1.1, notches));
    });
    connect(this, &RenderWindowWidget::frameRendered, this, [this] {
        if (phase_ == Phase::Still && !announced_) {
            announced_ = true;
            Q_EMIT stillFrameRendered();
        }
    });
}

VolumeView::~VolumeView() {
    if (cancel_)
        *cancel_ = true;
    removeScene();
}

void VolumeView::setImage(std::shared_ptr<const Image> image) {
    if (cancel_)
        *cancel_ = true;
    cancel_.reset();
    removeScene();
    image_ = std::move(image);
    framed_ = false;
    setNotice({});
    requestUpdate();
    if (!image_ || !hasOpenGl())
        return;
    if (!image_->isVolumetric()) {
        setNotice(QStringLiteral("3D rendering unavailable for non-volumetric data"));
        return;
    }
    const OpenGlCapabilities& openGl = OpenGlCapabilities::instance();
    const int most = openGl.software ? softwareMaxSide : std::max(openGl.max3DTextureSize, smallestSide);
    startPreparing(limits_.maxSide > 0 ? std::min(limits_.maxSide, most) : most);
}

void VolumeView::clear() {
    setImage(nullptr);
}

void VolumeView::startPreparing(int maxSide) {
    if (cancel_)
        *cancel_ = true;
    maxSide_ = maxSide;
    cancel_ = std::make_shared<std::atomic<bool>>(false);
    auto* watcher = new QFutureWatcher<PreparedVolume>(this);
    connect(watcher, &QFutureWatcher<PreparedVolume>::finished, this, [this, watcher, cancel = cancel_] {
        watcher->deleteLater();
        if (!*cancel)
            present(watcher->result());
    });
    watcher->setFuture(QtConcurrent::run(
        &prepareVolume, image_, maxSide, limits_.maxBytes, blendMode_ == VolumeBlendMode::MinIp, cancel_));
}

void VolumeView::present(const PreparedVolume& prepared) {
    cancel_.reset();
    removeScene();
    if (!prepared.volume || !showScene(prepared)) {
        retrySmaller(longestSide(prepared.volume ? *prepared.volume : *image_));
        return;
    }
    if (!framed_)
        resetCamera();
    framed_ = true;
    measureRay();
    if (scene_->hasFailed()) {
        retrySmaller(longestSide(*prepared.volume));
        return;
    }
    if (prepared.reduced) {
        setNotice(
            OpenGlCapabilities::instance().software
                ? QStringLiteral(
                      "The 3D view shows a coarser copy of the volume: this computer draws without a "
                      "graphics card.")
                : QStringLiteral(
                      "The 3D view shows a coarser copy of the volume: the graphics card cannot hold it "
                      "whole."));
    }
    interact();
    Q_EMIT volumeReady();
}

/// False when OpenGL has no room for the volume.
bool VolumeView::showScene(const PreparedVolume& prepared) {
    bool fits = true;
    withContext([&] {
        const auto& size = prepared.volume->geometry().dimensions();
        const VoxelType type = prepared.volume->voxelType();
        fits = limits_.fits ? limits_.fits(size, type) : OpenGlCapabilities::fitsTexture(size, type);
        if (!fits)
            return;
        prepared_ = prepared;
        scene_ = std::make_unique<VolumeScene>(*prepared.volume, VolumeAppearance());
        scene_->setVisible(renderingEnabled_);
        renderer()->AddViewProp(scene_->volume());
    });
    if (fits)
        updateAppearance();
    return fits;
}

void VolumeView::retrySmaller(int tooLong) {
    const int smaller = (std::min(tooLong, maxSide_) + 1) / 2;
    removeScene();
    requestUpdate();
    if (smaller < smallestSide) {
        setNotice(QStringLiteral("The 3D view could not be drawn: there is not enough memory."));
        return;
    }
    Logger::instance().warn(
        "VolumeView", "Volume could not be drawn; trying a coarser copy",
        {{"longestSide", std::to_string(smaller)}});
    startPreparing(smaller);
}

/// Draws a little of the middle, first for shaders and textures, then for the clock, so that already the
/// first frame casts as many rays as there is time for.
void VolumeView::measureRay() {
    framesOfVolume_ = 0;
    costPerRay_ = 0.0;
    constexpr int side = 48;
    const QSize pixels = devicePixels();
    if (!renderingEnabled_ || pixels.width() < side || pixels.height() < side)
        return;
    scene_->setQuality(1.0, movingRayStep, false);
    renderer()->ResetCameraClippingRange();
    const QRect middle((pixels.width() - side) / 2, (pixels.height() - side) / 2, side, side);
    if (!renderPart(middle) || scene_->hasFailed())
        return;
    // The middle is the thickest place; the picture's mean is about half of it.
    if (const auto milliseconds = renderPart(middle))
        costPerRay_ = 0.5 * *milliseconds / (side * side / movingRayStep);
}

void VolumeView::removeScene() {
    rest_.stop();
    nextPart_.stop();
    phase_ = Phase::Moving;
    prepared_ = {};
    if (!scene_)
        return;
    withContext([this] {
        renderer()->RemoveViewProp(scene_->volume());
        scene_.reset();
    });
}

std::array<int, 3> VolumeView::drawnDimensions() const {
    return scene_ ? prepared_.volume->geometry().dimensions() : std::array<int, 3>{0, 0, 0};
}

void VolumeView::setNotice(const QString& notice) {
    if (notice_ == notice)
        return;
    notice_ = notice;
    Q_EMIT noticeChanged(notice_);
}

void VolumeView::updateAppearance() {
    if (!scene_ || prepared_.outside.has_value() != (blendMode_ == VolumeBlendMode::MinIp))
        return;
    scene_->setAppearance(
        blendMode_ == VolumeBlendMode::Composite
            ? volumeAppearance(preset_, prepared_.scale)
            : projectionAppearance(blendMode_, prepared_.scale, prepared_.outside));
}

void VolumeView::setPreset(VolumePreset preset) {
    if (preset_ == preset)
        return;
    preset_ = preset;
    updateAppearance();
    interact();
}

void VolumeView::setBlendMode(VolumeBlendMode mode) {
    if (blendMode_ == mode)
        return;
    const bool volumeFits = (mode == VolumeBlendMode::MinIp) == (blendMode_ == VolumeBlendMode::MinIp);
    blendMode_ = mode;
    // Else the picture stays until the other volume is ready.
    if (volumeFits) {
        updateAppearance();
        interact();
    } else if (scene_ || cancel_) {
        startPreparing(maxSide_);
    }
}

void VolumeView::setRenderingEnabled(bool enabled) {
    if (renderingEnabled_ == enabled)
        return;
    renderingEnabled_ = enabled;
    if (scene_)
        scene_->setVisible(enabled);
    interact();
}

void VolumeView::setPaused(bool paused) {
    if (paused_ == paused)
        return;
    paused_ = paused;
    if (paused_) {
        rest_.stop();
        nextPart_.stop();
    } else {
        interact();
    }
}

void VolumeView::resetCamera() {
    if (!image_)
        return;
    const Vector3 center = image_->geometry().center();
    vtkCamera* camera = renderer()->GetActiveCamera();
    constexpr double distance = 1000.0;
    camera->SetFocalPoint(center.data());
    camera->SetPosition(center[0], center[1] - distance, center[2]);
    camera->SetViewUp(0.0, 0.0, 1.0);
    fitToView();
}

void VolumeView::fitToView() {
    if (!image_)
        return;
    fitted_ = true;
    resetScale();
    interact();
}

void VolumeView::resetScale() {
    vtkCamera* camera = renderer()->GetActiveCamera();
    const ImageGeometry& geometry = image_->geometry();
    const Vector3 center = geometry.center();
    Vector3 direction{};
    Vector3 up{};
    camera->GetDirectionOfProjection(direction.data());
    camera->GetViewUp(up.data());
    const Vector3 right = normalized(cross(direction, up));
    const Vector3 upward = cross(right, direction);
    double halfWidth = 0.0;
    double halfHeight = 0.0;
    for (int corner = 0; corner < 8; ++corner) {
        Vector3 index{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            index[axis] = (corner >> axis) & 1 ? geometry.dimensions()[axis] - 0.5 : -0.5;
        const Vector3 offset = geometry.indexToWorld(index) - center;
        halfWidth = std::max(halfWidth, std::abs(dot(offset, right)));
        halfHeight = std::max(halfHeight, std::abs(dot(offset, upward)));
    }
    const double distance = camera->GetDistance();
    const Vector3 eye = center - direction * distance;
    camera->SetFocalPoint(center.data());
    camera->SetPosition(eye.data());
    const double aspect = static_cast<double>(std::max(width(), 1)) / std::max(height(), 1);
    camera->SetParallelScale(1.02 * std::max(halfHeight, halfWidth / aspect));
}

OrientationLabels VolumeView::orientationLabels() const {
    Vector3 direction{};
    Vector3 up{};
    renderer()->GetActiveCamera()->GetDirectionOfProjection(direction.data());
    renderer()->GetActiveCamera()->GetViewUp(up.data());
    return OrientationLabels::of({{0.0, 0.0, 0.0}, cross(direction, up), up * -1.0});
}

void VolumeView::rotateBy(double horizontal, double vertical) {
    vtkCamera* camera = renderer()->GetActiveCamera();
    camera->Azimuth(-horizontal);
    camera->Elevation(vertical);
    camera->OrthogonalizeViewUp();
    interact();
}

void VolumeView::zoomBy(double factor) {
    if (!image_ || !(factor > 0.0) || !std::isfinite(factor))
        return;
    vtkCamera* camera = renderer()->GetActiveCamera();
    fitted_ = false;
    camera->SetParallelScale(std::clamp(camera->GetParallelScale() / factor, 1.0, 1e4));
    interact();
}

void VolumeView::panBy(const QPointF& pixels) {
    vtkCamera* camera = renderer()->GetActiveCamera();
    Vector3 direction{};
    Vector3 up{};
    camera->GetDirectionOfProjection(direction.data());
    camera->GetViewUp(up.data());
    const Vector3 right = normalized(cross(direction, up));
    const double perPixel = 2.0 * camera->GetParallelScale() / std::max(height(), 1);
    const Vector3 shift =
        right * (-pixels.x() * perPixel) + cross(right, direction) * (pixels.y() * perPixel);
    Vector3 focus{};
    camera->GetFocalPoint(focus.data());
    focus = focus + shift;
    const Vector3 eye = focus - direction * camera->GetDistance();
    camera->SetFocalPoint(focus.data());
    camera->SetPosition(eye.data());
    fitted_ = false;
    interact();
}

void VolumeView::interact() {
    phase_ = Phase::Moving;
    nextPart_.stop();
    if (!paused_)
        rest_.start();
    requestUpdate();
    Q_EMIT viewChanged();
}

double VolumeView::devicePixelCount() const {
    const QSize pixels = devicePixels();
    return std::max(1.0, static_cast<double>(pixels.width()) * pixels.height());
}

double VolumeView::movingImageStep() const {
    const bool software = OpenGlCapabilities::instance().software;
    const double lowest = software ? 1.5 : 1.0;
    if (costPerRay_ <= 0.0)
        return software ? 4.0 : lowest;
    const double full = costPerRay_ * devicePixelCount() / movingRayStep;
    // Half steps keep VTK from making new buffers with every frame.
    const double step = std::ceil(std::sqrt(full / movingMilliseconds) * 2.0) / 2.0;
    return std::clamp(step, lowest, roughestImageStep);
}

bool VolumeView::isPictureCurrent() const {
    return paused_ || phase_ != Phase::Moving;
}

void VolumeView::prepareFrame(const QSize&) {
    // Also when the picture got lost after it was complete, with its OpenGL context.
    phase_ = Phase::Moving;
    nextPart_.stop();
    if (!scene_)
        return;
    scene_->setQuality(movingImageStep(), movingRayStep, false);
    renderer()->ResetCameraClippingRange();
}

void VolumeView::finishFrame() {
    if (!scene_ || !renderingEnabled_)
        return;
    if (scene_->hasFailed()) {
        // Not from within the frame: it removes the scene.
        if (!cancel_)
            QMetaObject::invokeMethod(
                this,
                [this] {
                    if (scene_ && scene_->hasFailed() && !cancel_)
                        retrySmaller(longestSide(*prepared_.volume));
                },
                Qt::QueuedConnection);
        return;
    }
    // The first frame may build shaders and textures.
    if (++framesOfVolume_ > 1) {
        const double step = movingImageStep();
        const double rays = std::max(devicePixelCount() / (step * step), 1.0) / movingRayStep;
        const double cost = lastFrameMilliseconds() / rays;
        costPerRay_ = costPerRay_ <= 0.0 ? cost : 0.6 * costPerRay_ + 0.4 * cost;
    }
    if (!rest_.isActive() && !paused_)
        rest_.start();
}

void VolumeView::startRefining() {
    // A hidden view starts anew with the frame that shows it.
    if (!scene_ || !renderingEnabled_ || paused_ || !isVisible())
        return;
    phase_ = Phase::Refining;
    announced_ = false;
    tiles_ = PictureTiles(devicePixels());
    partsMs_ = 0.0;
    longestMs_ = 0.0;
    partPixels_ =
        costPerRay_ > 0.0 ? 0.5 * partMilliseconds * stillRayStep / costPerRay_ : devicePixelCount();
    scene_->setQuality(1.0, stillRayStep, true);
    renderer()->ResetCameraClippingRange();
    sinceShown_.start();
    nextPart_.start(0);
}

void VolumeView::refine() {
    if (phase_ != Phase::Refining || !scene_)
        return;
    const QRect part = tiles_.next(partPixels_);
    const auto milliseconds = renderPart(part);
    if (!milliseconds) {
        phase_ = Phase::Moving;
        return;
    }
    if (scene_->hasFailed()) {
        retrySmaller(longestSide(*prepared_.volume));
        return;
    }
    partsMs_ += *milliseconds;
    longestMs_ = std::max(longestMs_, *milliseconds);
    // Empty places take no time and say nothing about what comes next.
    const double pixels = static_cast<double>(part.width()) * part.height();
    const double affordable = pixels * partMilliseconds / std::max(*milliseconds, 0.01);
    const double usual = partMilliseconds * stillRayStep / std::max(costPerRay_, 1e-9);
    partPixels_ = std::min({affordable, usual, 1.5 * pixels});
    if (tiles_.isDone()) {
        phase_ = Phase::Still;
        stillMs_ = partsMs_;
        longestPartMs_ = longestMs_;
        requestUpdate();
        return;
    }
    if (sinceShown_.elapsed() > showPartsMilliseconds) {
        sinceShown_.restart();
        requestUpdate();
    }
    nextPart_.start(0);
}

void VolumeView::completePicture() {
    if (phase_ == Phase::Moving) {
        rest_.stop();
        startRefining();
    }
    while (phase_ == Phase::Refining && scene_)
        refine();
    nextPart_.stop();
}

void VolumeView::mousePressEvent(QMouseEvent* event) {
    lastPosition_ = event->position();
    event->accept();
}

void VolumeView::mouseMoveEvent(QMouseEvent* event) {
    const QPointF moved = event->position() - lastPosition_;
    lastPosition_ = event->position();
    const bool shift = event->modifiers().testFlag(Qt::ShiftModifier);
    if (!scene_ || paused_ || event->buttons() == Qt::NoButton)
        return;
    if (event->buttons().testFlag(Qt::LeftButton) && !shift) {
        constexpr double degreesAcross = 240.0;
        const double size = std::max(std::min(width(), height()), 1);
        rotateBy(moved.x() / size * degreesAcross, moved.y() / size * degreesAcross);
    } else if (event->buttons().testFlag(Qt::RightButton)) {
        zoomBy(std::pow(1.01, -moved.y()));
    } else {
        panBy(moved);
    }
    event->accept();
}

void VolumeView::resizeEvent(QResizeEvent* event) {
    OpenGlRenderWindowWidget::resizeEvent(event);
    if (image_ && fitted_)
        resetScale();
    if (scene_)
        interact();
}

} // namespace zorbel::imaging
