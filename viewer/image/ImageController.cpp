#include "viewer/image/ImageController.h"

#include "imaging/display/CephalogramPose.h"
#include "imaging/rendering/ImageView2D.h"
#include "viewer/measuring/MeasurementOverlay.h"
#include "viewer/views/OverlayTexts.h"
#include "viewer/views/ToolDrag.h"
#include "viewer/views/ViewDrag.h"
#include "viewer/views/ViewportOverlay.h"
#include "viewer/workspace/ToolCursor.h"
#include "viewer/workspace/ViewportFrame.h"

#include <QColor>
#include <QEvent>
#include <QLabel>
#include <QTimer>

#include <cmath>
#include <variant>

namespace zorbel {

namespace {

constexpr double pixelsPerFrame = 8.0; ///< of a drag with the scroll tool
constexpr double zoomPerPixel = 1.008;

QString latin(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString voiText(const imaging::VoiChoice& voi, const imaging::ImageMetadata& metadata) {
    if (const auto* window = std::get_if<imaging::LevelWindow>(&voi))
        return OverlayTexts::window(*window, metadata);
    const QString explanation =
        QString::fromStdString(std::get<imaging::VoiTable>(voi).explanation).trimmed();
    return explanation.isEmpty() ? QStringLiteral("VOI LUT") : QStringLiteral("VOI LUT: %1").arg(explanation);
}

} // namespace

ImageController::ImageController(ToolCursor& cursor, MeasurementController& measurements, QObject* parent)
    : QObject(parent) {
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
    measurements_ = new MeasurementOverlay(view_, measurements, [this] { return measurementView(); });
    measurements_->setObjectName(QStringLiteral("imageMeasurements"));
    new ViewDrag(
        view_, {[this](const QPointF& pixels) { view_->panBy(pixels); },
                [this](double factor, const QPointF& anchor) { view_->zoomBy(factor, anchor); }});
    new ToolDrag(
        view_, {[this](const QPointF&) { return beginDrag(); },
                [this](const QPointF& position, const QPointF& total, const QPointF& step) {
                    continueDrag(position, total, step);
                }});
    cursor.watch(view_);
    cursor.watch(measurements_);
    connect(view_, &imaging::ImageView2D::viewChanged, measurements_, qOverload<>(&QWidget::update));
    connect(view_, &imaging::ImageView2D::sliceChanged, measurements_, qOverload<>(&QWidget::update));
    view_->installEventFilter(this);
    connect(view_, &imaging::ImageView2D::windowChanged, this, &ImageController::updateTexts);
    connect(view_, &imaging::ImageView2D::sliceChanged, this, &ImageController::updateTexts);
    clear();
}

void ImageController::setImage(
    const std::shared_ptr<const imaging::Image>& image, const StudyIdentity& study,
    const StudyClassification& kind) {
    image_ = image;
    study_ = study;
    kind_ = kind;
    awaitsFrame_ = true;
    present();
}

void ImageController::present() {
    view_->setImage(image_, kind_.isPanoramic());
    const auto pose = kind_.isCephalometric() ? imaging::uprightCephalogram(*view_->shown())
                                              : imaging::ImageOrientation2D();
    turnedByContent_ = !pose.isOriginal();
    if (turnedByContent_) {
        view_->setOrientation(pose);
        view_->fitToView();
    }
    state_ = Image2DState(view_->orientation(), kind_.isPanoramic());
    updateTexts();
    Q_EMIT stateChanged();
}

void ImageController::clear() {
    image_.reset();
    study_ = {};
    state_ = {};
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

void ImageController::turn(void (Image2DState::*operation)()) {
    if (!image_)
        return;
    (state_.*operation)();
    view_->setOrientation(state_.orientation());
    updateTexts();
    Q_EMIT stateChanged();
}

void ImageController::toggleInverted() {
    if (!isGrey())
        return;
    state_.toggleInverted();
    view_->setInverted(state_.isInverted());
    updateTexts();
    Q_EMIT stateChanged();
}

imaging::LevelWindow ImageController::window() const {
    if (const auto* window = std::get_if<imaging::LevelWindow>(&view_->voi()))
        return *window;
    // A table's own input range, from where a drag can go on.
    const auto& table = std::get<imaging::VoiTable>(view_->voi());
    imaging::LevelWindow window;
    window.width = std::max<double>(1.0, static_cast<double>(table.entries.size()));
    window.center = table.firstMapped + window.width / 2.0;
    return window;
}

void ImageController::setWindow(const imaging::LevelWindow& window) {
    if (isGrey())
        view_->setVoi(window);
}

bool ImageController::beginDrag() {
    if (!image_)
        return false;
    scrollRest_ = 0.0;
    windowDrag_.reset();
    if (tool_ == Tool::WindowLevel && isGrey())
        windowDrag_.emplace(window(), view_->shown()->metadata().minimum, view_->shown()->metadata().maximum);
    return true;
}

void ImageController::continueDrag(const QPointF& position, const QPointF& total, const QPointF& step) {
    if (!image_)
        return;
    if (windowDrag_) {
        setWindow(windowDrag_->at(total.x(), total.y()));
        Q_EMIT windowDragged();
    } else if (tool_ == Tool::Zoom) {
        view_->zoomBy(std::pow(zoomPerPixel, -step.y()), position - total);
    } else if (tool_ == Tool::Scroll && hasSeveralFrames()) {
        scrollRest_ -= step.y();
        const double frames = std::trunc(scrollRest_ / pixelsPerFrame);
        scrollRest_ -= frames * pixelsPerFrame;
        this->step(static_cast<int>(frames));
    } else {
        view_->panBy(step); // the lines' tools have nothing to hold here, so the hand moves the picture
    }
}

void ImageController::setTool(Tool tool) {
    tool_ = tool;
    measurements_->setMeasuring(measurementKindOf(tool).has_value());
}

bool ImageController::isOnScreen() const {
    return view_->isVisible();
}

QPixmap ImageController::grab() const {
    return view_->grab();
}

std::optional<KeyImageView::Slice> ImageController::shownFrame() const {
    if (!hasSeveralFrames())
        return std::nullopt;
    return KeyImageView::Slice{view_->slice() + 1, view_->sliceCount()};
}

bool ImageController::shows(const Measurement& measurement) const {
    return image_ && measurementView().plane.shows(measurement);
}

void ImageController::showFrame(int frame) {
    view_->setSlice(frame);
}

MeasurementView ImageController::measurementView() const {
    MeasurementView now;
    now.width = view_->width();
    now.height = view_->height();
    const ImageGrid2D grid = image_ ? ImageGrid2D(*view_->shown()) : ImageGrid2D();
    if (image_)
        now.plane = MeasurementPlane::ofImage(*image_, view_->slice());
    now.toWidget = [this, grid](const imaging::Vector3& point) {
        const Point2 pixel = grid.toPixel(point);
        const QPointF position = view_->imageToWidget(QPointF(pixel.x, pixel.y));
        return Point2{position.x(), position.y()};
    };
    now.fromWidget = [this, grid](const Point2& position) {
        const QPointF pixel = view_->widgetToImage(QPointF(position.x, position.y));
        return grid.fromPixel({pixel.x(), pixel.y()});
    };
    return now;
}

void ImageController::setOverlaysShown(bool shown) {
    overlay_->setVisible(shown);
    measurements_->setVisible(shown);
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
    const auto& metadata = view_->shown()->metadata();
    const auto& dimensions = view_->shown()->geometry().dimensions();
    overlay_->setCorner(ViewportOverlay::TopLeft, OverlayTexts::patient(study_, metadata));
    QStringList notes = OverlayTexts::notes(metadata, 0.0);
    if (metadata.patientOrientation.first.empty())
        notes += turnedByContent_
                     ? QStringLiteral("Turned upright by its content: no orientation in the file")
                     : QStringLiteral("No orientation in the file");
    overlay_->setCorner(ViewportOverlay::TopRight, notes);
    overlay_->setCorner(
        ViewportOverlay::BottomLeft,
        image_->components() == 1 ? QStringList{voiText(view_->voi(), metadata)} : QStringList());
    overlay_->setCorner(
        ViewportOverlay::BottomRight,
        {QStringLiteral("%1 × %2 pixels").arg(dimensions[0]).arg(dimensions[1])});
    overlay_->setLetters(view_->orientationLabels());

    frame_->setInfo(
        hasSeveralFrames() ? QStringLiteral("Frame %1/%2").arg(view_->slice() + 1).arg(view_->sliceCount())
                           : QString());

    orientationChip_->setText(latin(state_.orientationChip()));
    toneChip_->setText(latin(state_.toneChip()));
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
