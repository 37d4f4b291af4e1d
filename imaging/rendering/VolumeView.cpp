#include "imaging/rendering/VolumeView.h"

#include "app/log/Logger.h"
#include "imaging/display/Downsample.h"
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
#include <exception>

namespace zorbel::imaging {

namespace {

constexpr int restMilliseconds = 200;
constexpr double movingMilliseconds = 90.0; ///< aimed at for a frame while the volume moves
constexpr double stillMilliseconds = 700.0; ///< the most a full frame may hold the user-interface thread
constexpr double stillRayStep = 0.6;        ///< voxels between two samples
constexpr double movingRayStep = 1.4;
constexpr int softwareMaxSide = 256;
constexpr int smallestSide = 64;
constexpr std::size_t textureBudget = std::size_t{1} << 30;

} // namespace

struct VolumeView::Prepared {
    std::shared_ptr<const Image> volume; ///< null when it failed or was cancelled
    VolumeAppearance appearance;
    bool reduced = false;
};

VolumeView::VolumeView(QWidget* parent) : OpenGlRenderWindowWidget(parent) {
    renderer()->GetActiveCamera()->ParallelProjectionOn();
    rest_.setSingleShot(true);
    rest_.setInterval(restMilliseconds);
    connect(&rest_, &QTimer::timeout, this, [this] {
        still_ = true;
        requestUpdate();
    });
    connect(this, &RenderWindowWidget::wheelScrolled, this, [this](int notches, Qt::KeyboardModifiers) {
        zoomBy(std::pow(1.1, notches));
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
    ownAppearance_ = false;
    setNotice({});
    requestUpdate();
    if (!image_ || !hasOpenGl())
        return;
    if (!image_->isVolumetric()) {
        setNotice(QStringLiteral("3D rendering unavailable for non-volumetric data"));
        return;
    }
    const OpenGlCapabilities& openGl = OpenGlCapabilities::instance();
    startPreparing(openGl.software ? softwareMaxSide : std::max(openGl.max3DTextureSize, smallestSide));
}

void VolumeView::clear() {
    setImage(nullptr);
}

VolumeView::Prepared VolumeView::prepare(
    const std::shared_ptr<const Image>& image, int maxSide, std::size_t maxBytes,
    const std::shared_ptr<std::atomic<bool>>& cancel) {
    Prepared result;
    try {
        result.appearance = boneAppearance(*image);
        std::array<int, 3> factors = downsampleFactors(*image, maxSide);
        const auto bytesWith = [&](const std::array<int, 3>& by) {
            return image->voxels().size() / static_cast<std::size_t>(by[0] * by[1] * by[2]);
        };
        while (bytesWith(factors) > maxBytes)
            ++*std::min_element(factors.begin(), factors.end());
        result.reduced = factors != std::array<int, 3>{1, 1, 1};
        // VTK has no texture for 32-bit whole numbers.
        const bool drawable =
            image->voxelType() != VoxelType::Int32 && image->voxelType() != VoxelType::UInt32;
        result.volume = !result.reduced && drawable ? image : downsample(*image, factors, cancel.get());
    } catch (const std::exception& error) {
        Logger::instance().error("VolumeView", "Volume preparation failed", {{"reason", error.what()}});
        result.volume.reset();
    }
    return result;
}

void VolumeView::startPreparing(int maxSide) {
    maxSide_ = maxSide;
    cancel_ = std::make_shared<std::atomic<bool>>(false);
    auto* watcher = new QFutureWatcher<Prepared>(this);
    connect(watcher, &QFutureWatcher<Prepared>::finished, this, [this, watcher, cancel = cancel_] {
        watcher->deleteLater();
        if (!*cancel)
            present(watcher->result());
    });
    watcher->setFuture(QtConcurrent::run(&VolumeView::prepare, image_, maxSide, textureBudget, cancel_));
}

void VolumeView::present(const Prepared& prepared) {
    cancel_.reset();
    if (!prepared.volume) {
        setNotice(QStringLiteral("The 3D view could not be prepared: there is not enough memory."));
        return;
    }
    if (!ownAppearance_)
        appearance_ = prepared.appearance;
    const bool first = !scene_;
    withContext([&] {
        if (scene_)
            renderer()->RemoveViewProp(scene_->volume());
        scene_ = std::make_unique<VolumeScene>(*prepared.volume, appearance_);
        renderer()->AddViewProp(scene_->volume());
    });
    framesOfVolume_ = 0;
    costPerRay_ = 0.0;
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
    if (first)
        resetCamera();
    interact();
    Q_EMIT volumeReady();
}

void VolumeView::removeScene() {
    rest_.stop();
    still_ = false;
    if (!scene_)
        return;
    withContext([this] {
        renderer()->RemoveViewProp(scene_->volume());
        scene_.reset();
    });
}

void VolumeView::setNotice(const QString& notice) {
    if (notice_ == notice)
        return;
    notice_ = notice;
    Q_EMIT noticeChanged(notice_);
}

void VolumeView::setAppearance(const VolumeAppearance& appearance) {
    appearance_ = appearance;
    ownAppearance_ = true;
    if (scene_)
        scene_->setAppearance(appearance_);
    interact();
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
    still_ = false;
    rest_.start();
    requestUpdate();
    Q_EMIT viewChanged();
}

double VolumeView::imageStep(bool still) const {
    const bool software = OpenGlCapabilities::instance().software;
    const double lowest = software ? 1.5 : 1.0;
    if (costPerRay_ <= 0.0) {
        if (!software)
            return lowest;
        return still ? 2.0 : 4.0;
    }
    const double pixels = width() * height() * devicePixelRatioF() * devicePixelRatioF();
    const double full = costPerRay_ * pixels;
    const double step = still ? std::clamp(std::sqrt(full / stillRayStep / stillMilliseconds), lowest, 6.0)
                              : std::clamp(std::sqrt(full / movingRayStep / movingMilliseconds), lowest, 8.0);
    // Half steps keep VTK from making new buffers with every frame.
    return std::ceil(step * 2.0) / 2.0;
}

void VolumeView::prepareFrame(const QSize&) {
    if (!scene_)
        return;
    scene_->setQuality(imageStep(still_), still_ ? stillRayStep : movingRayStep);
    renderer()->ResetCameraClippingRange();
}

void VolumeView::finishFrame() {
    if (!scene_)
        return;
    if (scene_->hasFailed()) {
        const int smaller = std::min(maxSide_, 512) / 2;
        if (smaller >= smallestSide && !cancel_) {
            Logger::instance().warn("VolumeView", "Volume could not be drawn; trying a coarser copy");
            startPreparing(smaller);
        } else if (!cancel_) {
            setNotice(QStringLiteral("The 3D view could not be drawn: the graphics card is out of memory."));
        }
        return;
    }
    const double step = imageStep(still_);
    // The first frame builds shaders and textures.
    if (++framesOfVolume_ > 1) {
        const double pixels = width() * height() * devicePixelRatioF() * devicePixelRatioF();
        const double rays = std::max(pixels / (step * step), 1.0) / (still_ ? stillRayStep : movingRayStep);
        const double cost = lastFrameMilliseconds() / rays;
        costPerRay_ = costPerRay_ <= 0.0 ? cost : 0.7 * costPerRay_ + 0.3 * cost;
    }
    if (!still_)
        return;
    if (imageStep(true) < step) { // cheaper than the frames before had let expect: a finer one is affordable
        rest_.start();
        return;
    }
    // Not for a volume that has gone until then.
    const auto announce = [this, drawn = scene_.get()] {
        if (scene_.get() == drawn)
            Q_EMIT stillFrameRendered();
    };
    QMetaObject::invokeMethod(this, announce, Qt::QueuedConnection);
}

void VolumeView::mousePressEvent(QMouseEvent* event) {
    lastPosition_ = event->position();
    event->accept();
}

void VolumeView::mouseMoveEvent(QMouseEvent* event) {
    const QPointF moved = event->position() - lastPosition_;
    lastPosition_ = event->position();
    const bool shift = event->modifiers().testFlag(Qt::ShiftModifier);
    if (!scene_ || event->buttons() == Qt::NoButton)
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
