#include "viewer/MprController.h"

#include "imaging/rendering/PlaneView.h"
#include "imaging/rendering/VolumeView.h"
#include "viewer/OverlayTexts.h"
#include "viewer/ViewDrag.h"
#include "viewer/ViewNotice.h"
#include "viewer/ViewportFrame.h"
#include "viewer/ViewportOverlay.h"

#include <QColor>

namespace zorbel {

namespace {

struct PlaneLooks {
    imaging::ViewDirection direction;
    const char* name;
    QRgb colour;
};

constexpr std::array<PlaneLooks, 3> planeLooks{{
    {imaging::ViewDirection::Axial, "Axial", 0xFF2D7FF9},
    {imaging::ViewDirection::Coronal, "Coronal", 0xFF2ECC71},
    {imaging::ViewDirection::Sagittal, "Sagittal", 0xFFFF4D4F},
}};

} // namespace

MprController::MprController(QObject* parent) : QObject(parent) {
    for (int index = Axial; index <= Sagittal; ++index)
        buildPlane(index);
    buildVolume();
    frames_[Axial]->setActive(true);
    clear();
}

void MprController::buildPlane(int index) {
    const auto& looks = planeLooks[static_cast<std::size_t>(index)];
    const QString name = QString::fromLatin1(looks.name);
    auto* view = new imaging::PlaneView(looks.direction);
    view->setObjectName(name.toLower() + QStringLiteral("View"));
    view->setMinimumSize(260, 220);
    view->setFocusPolicy(Qt::ClickFocus); // a click takes the keys away from the study list
    auto* frame = new ViewportFrame(name, QColor::fromRgba(looks.colour), view);
    frame->setObjectName(name.toLower() + QStringLiteral("Viewport"));
    planes_[static_cast<std::size_t>(index)] = view;
    frames_[static_cast<std::size_t>(index)] = frame;
    overlays_[static_cast<std::size_t>(index)] = new ViewportOverlay(view);
    new ViewDrag(
        view, {[view](const QPointF& pixels) { view->panBy(pixels); },
               [view](double factor, const QPointF& anchor) { view->zoomBy(factor, anchor); }});

    connect(frame, &ViewportFrame::pressed, this, [this, index] { setActiveViewport(index); });
    connect(view, &imaging::PlaneView::sliceChanged, this, [this, index] { updatePlaneTexts(index); });
    connect(view, &imaging::PlaneView::windowChanged, this, [this, index] { updatePlaneTexts(index); });
    connect(view, &imaging::PlaneView::frameRendered, this, [this, index] { onFrameRendered(index); });
    connect(
        view, &imaging::PlaneView::wheelScrolled, this,
        [this, view, index](int notches, Qt::KeyboardModifiers modifiers) {
            setActiveViewport(index);
            view->navigation().step(wheelStep(notches, modifiers));
        });
}

void MprController::buildVolume() {
    volume_ = new imaging::VolumeView;
    volume_->setObjectName(QStringLiteral("volumeView"));
    volume_->setMinimumSize(260, 220);
    volume_->setFocusPolicy(Qt::ClickFocus);
    auto* frame = new ViewportFrame(QStringLiteral("3D VOLUME"), QColor(0xFF, 0xD9, 0x3D), volume_);
    frame->setObjectName(QStringLiteral("volumeViewport"));
    frames_[Volume] = frame;
    connect(frame, &ViewportFrame::pressed, this, [this] { setActiveViewport(Volume); });
    volumeOverlay_ = new ViewportOverlay(volume_);
    connect(volume_, &imaging::VolumeView::viewChanged, this, &MprController::updateVolumeLetters);
    connect(volume_, &imaging::VolumeView::volumeReady, this, &MprController::updateVolumeLetters);
    volumeNotice_ = new ViewNotice(volume_);
    connect(volume_, &imaging::VolumeView::noticeChanged, volumeNotice_, &ViewNotice::setText);
}

void MprController::setImage(const std::shared_ptr<const imaging::Image>& image) {
    image_ = image;
    awaitedFrames_ = 0b111;
    for (int index = Axial; index <= Sagittal; ++index) {
        planes_[static_cast<std::size_t>(index)]->setImage(image);
        updatePlaneTexts(index);
    }
    volume_->setImage(image);
    updateVolumeLetters();
    volumeOverlay_->setCorner(ViewportOverlay::TopLeft, OverlayTexts::patient(image->metadata()));
    frames_[Volume]->setInfo(
        QStringLiteral("GPU volume rendering enabled  |  Drag to rotate  |  Wheel to zoom"));
}

void MprController::clear() {
    image_.reset();
    awaitedFrames_ = 0;
    for (int index = Axial; index <= Sagittal; ++index) {
        planes_[static_cast<std::size_t>(index)]->clear();
        updatePlaneTexts(index);
    }
    volume_->clear();
    volumeOverlay_->clear();
    frames_[Volume]->setInfo(QStringLiteral("GPU volume rendering ready"));
}

void MprController::setActiveViewport(int viewport) {
    if (viewport == active_ || viewport < Axial || viewport > Volume)
        return;
    frames_[static_cast<std::size_t>(active_)]->setActive(false);
    active_ = viewport;
    frames_[static_cast<std::size_t>(active_)]->setActive(true);
    Q_EMIT activeViewportChanged(active_);
}

void MprController::stepActivePlane(double slices) {
    if (image_)
        planes_[static_cast<std::size_t>(active_ == Volume ? Axial : active_)]->navigation().step(slices);
}

void MprController::fitToView() {
    for (auto* plane : planes_)
        plane->fitToView();
    volume_->fitToView();
}

void MprController::resetView() {
    if (!image_)
        return;
    for (auto* plane : planes_)
        plane->setImage(image_);
    volume_->resetCamera();
}

double MprController::wheelStep(int notches, Qt::KeyboardModifiers modifiers) {
    const double factor = modifiers.testFlag(Qt::ShiftModifier) ? 10.0
                          : modifiers.testFlag(Qt::AltModifier) ? 0.1
                                                                : 1.0;
    return notches * factor;
}

void MprController::updatePlaneTexts(int index) {
    const auto* view = planes_[static_cast<std::size_t>(index)];
    auto* overlay = overlays_[static_cast<std::size_t>(index)];
    frames_[static_cast<std::size_t>(index)]->setInfo(
        QString::fromStdString(view->navigation().sliceLabel()));
    if (!image_) {
        overlay->clear();
        return;
    }
    const auto& metadata = image_->metadata();
    overlay->setCorner(ViewportOverlay::TopLeft, OverlayTexts::patient(metadata));
    QStringList notes = OverlayTexts::notes(metadata, image_->geometry().tiltDegrees());
    overlay->setCorner(ViewportOverlay::TopRight, notes);
    overlay->setCorner(ViewportOverlay::BottomLeft, {OverlayTexts::window(view->window())});
    overlay->setCorner(
        ViewportOverlay::BottomRight,
        {QString::fromStdString(view->navigation().sliceLabel()),
         QStringLiteral("%1 mm").arg(view->navigation().sliceSpacing(), 0, 'f', 2)});
    overlay->setLetters(view->orientationLabels());
}

void MprController::updateVolumeLetters() {
    volumeOverlay_->setLetters(
        volume_->isReady() ? volume_->orientationLabels() : imaging::OrientationLabels());
}

void MprController::onFrameRendered(int index) {
    if (awaitedFrames_ == 0)
        return;
    awaitedFrames_ &= ~(1u << index);
    if (awaitedFrames_ == 0)
        Q_EMIT imageDrawn();
}

} // namespace zorbel
