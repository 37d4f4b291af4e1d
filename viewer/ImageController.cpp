#include "viewer/ImageController.h"

#include "imaging/display/CephalogramPose.h"
#include "imaging/rendering/ImageView2D.h"
#include "viewer/OverlayTexts.h"
#include "viewer/ViewDrag.h"
#include "viewer/ViewportFrame.h"
#include "viewer/ViewportOverlay.h"

#include <QColor>
#include <QEvent>
#include <QLabel>
#include <QTimer>

#include <variant>

namespace zorbel {

namespace {

QString voiText(const imaging::VoiChoice& voi) {
    if (const auto* window = std::get_if<imaging::LevelWindow>(&voi))
        return OverlayTexts::window(*window);
    const QString explanation =
        QString::fromStdString(std::get<imaging::VoiTable>(voi).explanation).trimmed();
    return explanation.isEmpty() ? QStringLiteral("VOI LUT") : QStringLiteral("VOI LUT: %1").arg(explanation);
}

} // namespace

ImageController::ImageController(QObject* parent) : QObject(parent) {
    view_ = new imaging::ImageView2D;
    view_->setObjectName(QStringLiteral("imageView"));
    view_->setMinimumSize(320, 320);
    view_->setFocusPolicy(Qt::ClickFocus);
    frame_ = new ViewportFrame(QStringLiteral("2D IMAGE"), QColor(0x18, 0xB6, 0xD9), view_);
    frame_->setObjectName(QStringLiteral("imageViewport"));
    orientationChip_ = new QLabel;
    orientationChip_->setObjectName(QStringLiteral("orientationChip"));
    toneChip_ = new QLabel;
    toneChip_->setObjectName(QStringLiteral("toneChip"));
    frame_->addToBar(orientationChip_);
    frame_->addToBar(toneChip_);
    overlay_ = new ViewportOverlay(view_);
    new ViewDrag(
        view_, {[this](const QPointF& pixels) { view_->panBy(pixels); },
                [this](double factor, const QPointF& anchor) { view_->zoomBy(factor, anchor); }});
    view_->installEventFilter(this);
    connect(view_, &imaging::ImageView2D::windowChanged, this, &ImageController::updateTexts);
    connect(view_, &imaging::ImageView2D::sliceChanged, this, &ImageController::updateTexts);
    clear();
}

void ImageController::setImage(
    const std::shared_ptr<const imaging::Image>& image, const StudyClassification& kind) {
    image_ = image;
    kind_ = kind;
    awaitsFrame_ = true;
    present();
}

void ImageController::present() {
    view_->setImage(image_, kind_.isPanoramic());
    const auto pose =
        kind_.isCephalometric() ? imaging::uprightCephalogram(*image_) : imaging::ImageOrientation2D();
    turnedByContent_ = !pose.isOriginal();
    if (turnedByContent_) {
        view_->setOrientation(pose);
        view_->fitToView();
    }
    updateTexts();
}

void ImageController::clear() {
    image_.reset();
    awaitsFrame_ = false;
    view_->clear();
    overlay_->clear();
    frame_->setInfo({});
    orientationChip_->setText(QStringLiteral("Original view"));
    toneChip_->setText(QStringLiteral("Normal tones"));
}

void ImageController::step(int frames) {
    view_->setSlice(view_->slice() + frames);
}

bool ImageController::hasSeveralFrames() const {
    return view_->sliceCount() > 1;
}

bool ImageController::showsCorrectedPanorama() const {
    return kind_.isPanoramic() && !view_->orientation().isOriginal();
}

void ImageController::fitToView() {
    view_->fitToView();
}

void ImageController::resetView() {
    if (image_)
        present();
}

void ImageController::updateTexts() {
    if (!image_)
        return;
    const auto& metadata = image_->metadata();
    const auto& dimensions = image_->geometry().dimensions();
    overlay_->setCorner(ViewportOverlay::TopLeft, OverlayTexts::patient(metadata));
    QStringList notes = OverlayTexts::notes(metadata, 0.0);
    if (metadata.patientOrientation.first.empty())
        notes += turnedByContent_
                     ? QStringLiteral("Turned upright by its content: no orientation in the file")
                     : QStringLiteral("No orientation in the file");
    overlay_->setCorner(ViewportOverlay::TopRight, notes);
    overlay_->setCorner(
        ViewportOverlay::BottomLeft,
        image_->components() == 1 ? QStringList{voiText(view_->voi())} : QStringList());
    overlay_->setCorner(
        ViewportOverlay::BottomRight,
        {QStringLiteral("%1 × %2 pixels").arg(dimensions[0]).arg(dimensions[1])});
    overlay_->setLetters(view_->orientationLabels());

    frame_->setInfo(
        hasSeveralFrames() ? QStringLiteral("Frame %1/%2").arg(view_->slice() + 1).arg(view_->sliceCount())
                           : QString());

    const bool turned = !view_->orientation().isOriginal();
    orientationChip_->setText(
        showsCorrectedPanorama() ? QStringLiteral("Panorama corrected upright")
        : turned                 ? QStringLiteral("Turned upright")
                                 : QStringLiteral("Original orientation"));
    toneChip_->setText(
        view_->isInverted() ? QStringLiteral("Inverted tones") : QStringLiteral("Normal tones"));
}

bool ImageController::eventFilter(QObject* watched, QEvent* event) {
    if (watched == view_ && event->type() == QEvent::Paint && awaitsFrame_) {
        awaitsFrame_ = false;
        QTimer::singleShot(
            0, this, &ImageController::imageDrawn); // after this paint event has been worked off
    }
    return QObject::eventFilter(watched, event);
}

} // namespace zorbel
