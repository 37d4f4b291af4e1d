#include "viewer/image/ImageMode.h"

#include "base/qt/QtText.h"
#include "imaging/display/CephalogramPose.h"
#include "imaging/rendering/ImageView2D.h"
#include "viewer/measuring/MeasureTool.h"
#include "viewer/measuring/MeasurementController.h"
#include "viewer/reading/display/HangingDisplay.h"
#include "viewer/reading/display/WindowPresets.h"
#include "viewer/reading/measurements/ImageGrid2D.h"
#include "viewer/tools/ToolLayer.h"
#include "viewer/views/OverlayTexts.h"
#include "viewer/views/ViewportOverlay.h"
#include "viewer/workspace/ViewportFrame.h"

#include <QColor>
#include <QEvent>
#include <QLabel>
#include <QScopedValueRollback>
#include <QTimer>

#include <cmath>
#include <variant>

namespace zorbel {

namespace {

QString voiText(const imaging::VoiChoice& voi, const imaging::ImageMetadata& metadata) {
    if (const auto* window = std::get_if<imaging::LevelWindow>(&voi))
        return OverlayTexts::window(*window, metadata);
    const QString explanation =
        QString::fromStdString(std::get<imaging::VoiTable>(voi).explanation).trimmed();
    return explanation.isEmpty() ? QStringLiteral("VOI LUT") : QStringLiteral("VOI LUT: %1").arg(explanation);
}

/// Of a table its input range, from where a drag can go on.
imaging::LevelWindow windowOf(const imaging::VoiChoice& voi) {
    if (const auto* window = std::get_if<imaging::LevelWindow>(&voi))
        return *window;
    const auto& table = std::get<imaging::VoiTable>(voi);
    imaging::LevelWindow window;
    window.width = std::max<double>(1.0, static_cast<double>(table.entries.size()));
    window.center = table.firstMapped + window.width / 2.0;
    return window;
}

} // namespace

ImageMode::ImageMode(MeasureTool& measure, MeasurementController& measurements, QObject* parent)
    : ReadingMode({{"2D"}}, parent), measure_(measure) {
    for (const Tool tool : {Tool::Pan, Tool::Crosshair, Tool::Rotate, Tool::WindowLevel, Tool::Scroll})
        hands_.try_emplace(tool, tool);
    view_ = new imaging::ImageView2D;
    view_->setObjectName(QStringLiteral("imageView"));
    view_->setAccessibleName(QStringLiteral("2D image"));
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
    layer_ = new ToolLayer(view_, *this);
    layer_->setObjectName(QStringLiteral("imageTools"));
    connect(&measurements, &MeasurementController::repaintNeeded, layer_, qOverload<>(&QWidget::update));
    connect(view_, &imaging::ImageView2D::viewChanged, this, &ImageMode::recordView);
    connect(view_, &imaging::ImageView2D::sliceChanged, this, &ImageMode::recordView);
    connect(view_, &imaging::ImageView2D::windowChanged, this, &ImageMode::updateTexts);
    connect(view_, &imaging::ImageView2D::sliceChanged, this, &ImageMode::updateTexts);
    view_->installEventFilter(this);
    clear();
}

std::shared_ptr<const imaging::Image> ImageMode::image() const {
    return reading_ ? reading_->shown().image : nullptr;
}

bool ImageMode::showsImage() const {
    return view_->image() != nullptr;
}

bool ImageMode::isGrey() const {
    return showsImage() && view_->shown()->components() == 1;
}

bool ImageMode::hasSeveralFrames() const {
    return view_->sliceCount() > 1;
}

void ImageMode::show(const std::shared_ptr<StudyReading>& reading) {
    const QScopedValueRollback<bool> showing(showing_, true);
    reading_ = reading;
    subscription_ = reading->observe([this](StudyReading::Change change) {
        if (change == StudyReading::Change::Hanging && !showing_)
            applyHanging();
    });
    awaitsFrame_ = true;
    linesShown_ = true;
    present();
    view_->setSlice(reading->hanging().frame);
    applyHanging();
}

void ImageMode::present() {
    const StudySeries& series = reading_->shown();
    view_->setImage(series.image, series.kind == ImageKind::Panoramic);
    appliedWindow_.reset();
    const auto pose = series.kind == ImageKind::Cephalometric ? imaging::uprightCephalogram(*view_->shown())
                                                              : imaging::ImageOrientation2D();
    turnedByContent_ = !pose.isOriginal();
    if (turnedByContent_) {
        view_->setOrientation(pose);
        view_->fitToView();
    }
    state_ = Image2DState(view_->orientation(), series.kind == ImageKind::Panoramic);
    stateChanged();
}

void ImageMode::clear() {
    const QScopedValueRollback<bool> showing(showing_, true);
    subscription_.reset();
    reading_.reset();
    state_ = {};
    awaitsFrame_ = false;
    view_->clear();
    overlay_->clear();
    layer_->setTools(nullptr, {});
    frame_->setInfo({});
    orientationChip_->setText(QStringLiteral("Original view"));
    toneChip_->setText(QStringLiteral("Normal tones"));
}

ModeControls ImageMode::controls() const {
    ModeControls controls;
    for (int tool = 0; tool <= static_cast<int>(Tool::OvalRoi); ++tool)
        controls.tools.insert(static_cast<Tool>(tool));
    controls.tools.erase(Tool::Rotate);
    controls.actions = {
        ReadingAction::Mirror, ReadingAction::FlipVertical, ReadingAction::Rotate180, ReadingAction::FitViews,
        ReadingAction::ResetViews};
    if (hasSeveralFrames())
        controls.actions.insert(ReadingAction::StepSlices);
    else
        controls.tools.erase(Tool::Scroll);
    if (isGrey())
        controls.actions.insert(ReadingAction::ToggleInverted);
    controls.notHere = QStringLiteral("Not for this 2D image.");
    controls.linesShown = linesShown_;
    controls.inverted = state_.isInverted();
    controls.studyChip = QStringLiteral("2D Study");
    controls.modeChip = qtText(state_.modeChip());
    controls.modeToolTip = QStringLiteral("This non-volumetric study opens in the dedicated 2D viewer.");
    return controls;
}

std::vector<DisplayProperties> ImageMode::displayProperties() const {
    if (!showsImage())
        return {};
    DisplayProperties view{"2D", {}};
    view.addWindow(windowOf(view_->voi()));
    view.add("orientation", std::string(state_.orientationChip()));
    view.add("inverted", state_.isInverted());
    view.add("frame", view_->slice() + 1);
    view.add("pixelsPerImagePixel", view_->scale());
    return {view};
}

void ImageMode::setTool(Tool tool) {
    ViewTool* active = nullptr;
    if (measurementKindOf(tool))
        active = &measure_;
    else if (tool == Tool::Zoom)
        active = &zoom_;
    else if (tool == Tool::Scroll && hasSeveralFrames())
        active = &scroll_;
    else if (tool == Tool::WindowLevel && isGrey())
        active = &windowLevel_;
    else
        active = &hands_.at(tool);
    layer_->setTools(active, {&measure_});
}

QString ImageMode::toolText(Tool tool) const {
    return tool == Tool::Crosshair ? QStringLiteral("Crosshair mode enabled")
           : tool == Tool::Rotate  ? QStringLiteral("Rotation mode enabled")
                                   : QString();
}

void ImageMode::perform(ReadingAction action, int argument) {
    if (!showsImage())
        return;
    switch (action) {
    case ReadingAction::StepSlices:
        step(argument);
        break;
    case ReadingAction::WindowPreset:
        if (isGrey()) {
            const WindowPreset& preset = windowPresets.at(static_cast<std::size_t>(argument));
            setWindow(preset.window());
            Q_EMIT statusText(QString::fromStdString(preset.statusText()));
        }
        break;
    case ReadingAction::FitViews:
        view_->fitToView();
        break;
    case ReadingAction::ResetViews:
        reading_->editHanging([](HangingProtocol& hanging) { hanging.window.reset(); });
        present();
        break;
    case ReadingAction::Mirror:
        turn(&Image2DState::mirror);
        break;
    case ReadingAction::FlipVertical:
        turn(&Image2DState::flipVertical);
        break;
    case ReadingAction::Rotate180:
        turn(&Image2DState::rotate180);
        break;
    case ReadingAction::ToggleInverted:
        toggleInverted();
        break;
    case ReadingAction::ToggleLines:
        toggleLines();
        break;
    default:
        break;
    }
}

void ImageMode::step(double frames) {
    view_->setSlice(view_->slice() + static_cast<int>(frames));
}

void ImageMode::turn(void (Image2DState::*operation)()) {
    (state_.*operation)();
    view_->setOrientation(state_.orientation());
    stateChanged();
    Q_EMIT statusText(QString::fromStdString(state_.orientationStatus()));
}

void ImageMode::toggleInverted() {
    if (!isGrey())
        return;
    state_.toggleInverted();
    view_->setInverted(state_.isInverted());
    stateChanged();
    Q_EMIT statusText(qtText(state_.toneStatus()));
}

void ImageMode::toggleLines() {
    linesShown_ = !linesShown_;
    Q_EMIT controlsChanged();
    Q_EMIT statusText(
        linesShown_ ? QStringLiteral("Crosshair enabled") : QStringLiteral("Crosshair disabled"));
}

void ImageMode::stateChanged() {
    updateTexts();
    Q_EMIT controlsChanged();
}

void ImageMode::setWindow(const imaging::LevelWindow& window) {
    reading_->editHanging([&](HangingProtocol& hanging) { hanging.window = hangingWindowOf(window); });
}

void ImageMode::applyHanging() {
    const auto& window = reading_->hanging().window;
    if (!isGrey() || window == appliedWindow_)
        return;
    appliedWindow_ = window;
    if (window)
        view_->setVoi(levelWindowOf(*window));
    else
        view_->setOwnVoi();
}

void ImageMode::recordView() {
    layer_->update();
    if (!reading_ || showing_)
        return;
    const QScopedValueRollback<bool> recording(showing_, true);
    reading_->editHanging([this](HangingProtocol& hanging) {
        hanging.frame = view_->slice();
        hanging.framings.clear();
        if (view_->isFitted())
            return;
        const QPointF middle = view_->widgetToImage(QPointF(view_->width() / 2.0, view_->height() / 2.0));
        hanging.framings[0] = {view_->scale(), {middle.x(), middle.y(), 0.0}};
    });
}

void ImageMode::setFramings(const std::map<int, HangingProtocol::Framing>& framings) {
    if (const auto framing = framings.find(0); framing != framings.end())
        view_->lookAt({framing->second.center[0], framing->second.center[1]}, framing->second.scale);
}

void ImageMode::panBy(const QPointF& pixels) {
    view_->panBy(pixels);
}

void ImageMode::zoomBy(double factor, const QPointF& anchor) {
    view_->zoomBy(factor, anchor);
}

std::optional<WindowDrag> ImageMode::beginWindowDrag() const {
    if (!isGrey())
        return std::nullopt;
    const auto& metadata = view_->shown()->metadata();
    return WindowDrag(windowOf(view_->voi()), metadata.minimum, metadata.maximum);
}

void ImageMode::dragWindow(const imaging::LevelWindow& window) {
    setWindow(window);
    Q_EMIT statusText(QString::fromStdString(windowText(window)));
}

MeasurementView ImageMode::measurementView() const {
    MeasurementView now;
    now.width = view_->width();
    now.height = view_->height();
    const ImageGrid2D grid = showsImage() ? ImageGrid2D(*view_->shown()) : ImageGrid2D();
    if (showsImage())
        now.plane = MeasurementPlane::ofImage(*view_->image(), view_->slice());
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

bool ImageMode::shows(const Measurement& measurement) const {
    return showsImage() && measurementView().plane.shows(measurement);
}

std::optional<int> ImageMode::showMeasurement(const Measurement& measurement) {
    if (!showsImage() || !measurement.isOnImage() ||
        !measurement.isOfSeries(view_->image()->metadata().seriesInstanceUID))
        return std::nullopt;
    view_->setSlice(measurement.slice);
    return 0;
}

void ImageMode::setOverlaysShown(bool shown) {
    overlay_->setVisible(shown);
}

std::optional<ModeCapture> ImageMode::capture() {
    if (!view_->isVisible())
        return std::nullopt;
    ModeCapture capture;
    capture.picture = view_->grab();
    capture.view.name = "2D";
    if (hasSeveralFrames())
        capture.view.slice = KeyImageView::Slice{view_->slice() + 1, view_->sliceCount()};
    if (isGrey()) {
        const auto window = windowOf(view_->voi());
        capture.view.window = KeyImageView::Window{window.width, window.center};
    }
    return capture;
}

void ImageMode::updateTexts() {
    const auto shown = view_->shown();
    if (!shown || !reading_)
        return;
    const auto& metadata = shown->metadata();
    const auto& dimensions = shown->geometry().dimensions();
    overlay_->setCorner(ViewportOverlay::TopLeft, OverlayTexts::patient(reading_->identity(), metadata));
    QStringList notes = OverlayTexts::notes(metadata, 0.0);
    if (metadata.patientOrientation.first.empty())
        notes += turnedByContent_
                     ? QStringLiteral("Turned upright by its content: no orientation in the file")
                     : QStringLiteral("No orientation in the file");
    overlay_->setCorner(ViewportOverlay::TopRight, notes);
    overlay_->setCorner(
        ViewportOverlay::BottomLeft,
        shown->components() == 1 ? QStringList{voiText(view_->voi(), metadata)} : QStringList());
    overlay_->setCorner(
        ViewportOverlay::BottomRight,
        {QStringLiteral("%1 × %2 pixels").arg(dimensions[0]).arg(dimensions[1])});
    overlay_->setLetters(view_->orientationLabels());

    frame_->setInfo(
        hasSeveralFrames() ? QStringLiteral("Frame %1/%2").arg(view_->slice() + 1).arg(view_->sliceCount())
                           : QString());
    orientationChip_->setText(qtText(state_.orientationChip()));
    toneChip_->setText(qtText(state_.toneChip()));
}

bool ImageMode::eventFilter(QObject* watched, QEvent* event) {
    if (watched == view_ && event->type() == QEvent::Paint && awaitsFrame_) {
        awaitsFrame_ = false;
        QTimer::singleShot(0, this, &ImageMode::imageDrawn); // after this paint event has been worked off
    }
    return ReadingMode::eventFilter(watched, event);
}

} // namespace zorbel
