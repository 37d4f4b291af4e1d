#include "viewer/mpr/MprController.h"

#include "imaging/rendering/PlaneView.h"
#include "viewer/measuring/MeasurementOverlay.h"
#include "viewer/mpr/MprGuideOverlay.h"
#include "viewer/reading/display/WheelStep.h"
#include "viewer/reading/planes/RotationTrace.h"
#include "viewer/views/OverlayTexts.h"
#include "viewer/views/ToolDrag.h"
#include "viewer/views/ViewDrag.h"
#include "viewer/views/ViewportOverlay.h"
#include "viewer/workspace/ToolCursor.h"
#include "viewer/workspace/ViewportFrame.h"

#include <QColor>
#include <QScopedValueRollback>

#include <algorithm>
#include <cmath>
#include <variant>

namespace zorbel {

namespace {

constexpr std::array planeNames{"Axial", "Coronal", "Sagittal"};
constexpr double pixelsPerSlice = 4.0; ///< of a drag with the scroll tool

imaging::ViewDirection directionOf(int index) {
    return static_cast<imaging::ViewDirection>(index);
}

std::size_t at(int index) {
    return static_cast<std::size_t>(index);
}

Point2 toPoint(const QPointF& position) {
    return {position.x(), position.y()};
}

QPointF toQt(const Point2& point) {
    return {point.x, point.y};
}

} // namespace

MprController::MprController(ToolCursor& cursor, MeasurementController& measurements, QObject* parent)
    : QObject(parent) {
    for (int index = 0; index < 3; ++index)
        buildPane(index, cursor, measurements);
    for (int index = 0; index < 3; ++index)
        connectPane(index);
    setTool(tool_);
    clear();
}

void MprController::buildPane(int index, ToolCursor& cursor, MeasurementController& measurements) {
    const QString name = QString::fromLatin1(planeNames[at(index)]);
    auto* view = new imaging::PlaneView(directionOf(index));
    view->setObjectName(name.toLower() + QStringLiteral("View"));
    view->setFocusPolicy(Qt::ClickFocus); // a click takes the keys away from the study list
    auto* frame = new ViewportFrame(name, QColor::fromRgb(planeColour(directionOf(index))), view);
    frame->setObjectName(name.toLower() + QStringLiteral("Viewport"));
    auto* guide = new MprGuideOverlay(view);
    guide->setObjectName(name.toLower() + QStringLiteral("Guide"));
    auto* texts = new ViewportOverlay(view);
    auto* drawn =
        new MeasurementOverlay(view, measurements, [this, index] { return measurementView(index); });
    drawn->setObjectName(name.toLower() + QStringLiteral("Measurements"));
    panes_[at(index)] = {view, guide, texts, drawn};
    frames_[at(index)] = frame;
    new ViewDrag(
        view, {[view](const QPointF& pixels) { view->panBy(pixels); },
               [view](double factor, const QPointF& anchor) { view->zoomBy(factor, anchor); }});
    new ToolDrag(
        view, {[this, index](const QPointF& position) { return beginDrag(index, position); },
               [this, index](const QPointF& position, const QPointF& total, const QPointF& step) {
                   continueDrag(index, position, total, step);
               }});
    for (QWidget* widget :
         {static_cast<QWidget*>(view), static_cast<QWidget*>(guide), static_cast<QWidget*>(drawn)})
        cursor.watch(widget);
}

void MprController::connectPane(int index) {
    const Pane& pane = panes_[at(index)];
    auto* view = pane.view;
    const auto press = [this, index] { Q_EMIT viewportPressed(index); };
    connect(frames_[at(index)], &ViewportFrame::pressed, this, press);
    connect(pane.guide, &MprGuideOverlay::pressed, this, press);
    connect(pane.measurements, &MeasurementOverlay::pressed, this, press);
    connect(pane.guide, &MprGuideOverlay::guideEvent, this, [this, index](const GuideEvent& event) {
        onGuideEvent(index, event);
    });
    connect(view, &imaging::PlaneView::sliceChanged, this, [this, index] { onSliceChanged(index); });
    connect(view, &imaging::PlaneView::viewChanged, this, &MprController::refreshGuides);
    connect(view, &imaging::PlaneView::windowChanged, this, [this, index] { updateTexts(index); });
    connect(view, &imaging::PlaneView::frameRendered, this, [this, index] { onFrameRendered(index); });
    connect(
        view, &imaging::PlaneView::doubleClicked, this, [this, index] { Q_EMIT maximiseRequested(index); });
    connect(
        view, &imaging::PlaneView::wheelScrolled, this,
        [this, index](int notches, Qt::KeyboardModifiers modifiers) {
            Q_EMIT viewportPressed(index);
            stepPlane(
                index,
                wheelStep(
                    notches, modifiers.testFlag(Qt::ShiftModifier), modifiers.testFlag(Qt::AltModifier)));
        });
}

void MprController::setImage(const std::shared_ptr<const imaging::Image>& image, const StudyIdentity& study) {
    image_ = image;
    study_ = study;
    awaitedFrames_ = 0b111;
    planes_.reset();
    slab_ = {};
    linesShown_ = true;
    resetView();
    showSlab();
}

void MprController::resetView() {
    if (!image_)
        return;
    {
        const QScopedValueRollback<bool> sync(syncingPlanes_, true);
        for (const Pane& pane : panes_)
            pane.view->setImage(image_);
    }
    window_ = panes_[0].view->window();
    crosshair_.setGeometry(image_->geometry());
    selectSlices();
}

void MprController::clear() {
    image_.reset();
    study_ = {};
    awaitedFrames_ = 0;
    planes_.reset();
    crosshair_.clear();
    {
        const QScopedValueRollback<bool> sync(syncingPlanes_, true);
        for (const Pane& pane : panes_)
            pane.view->clear();
    }
    for (int index = 0; index < 3; ++index)
        updateTexts(index);
    refreshGuides();
}

void MprController::setTool(Tool tool) {
    tool_ = tool;
    for (const Pane& pane : panes_) {
        pane.guide->setMode(guideModeOf(tool));
        pane.measurements->setMeasuring(measurementKindOf(tool).has_value());
    }
}

void MprController::stepPlane(int plane, double slices) {
    if (image_)
        panes_[at(plane)].view->navigation().step(slices);
}

void MprController::fitToView() {
    for (const Pane& pane : panes_)
        if (!pane.view->isHidden())
            pane.view->fitToView();
}

void MprController::centreCrosshair() {
    if (crosshair_.centre())
        selectSlices();
}

void MprController::setLinesShown(bool shown) {
    linesShown_ = shown;
    refreshGuides();
}

void MprController::setOverlaysShown(bool shown) {
    for (const Pane& pane : panes_) {
        pane.texts->setVisible(shown);
        pane.measurements->setVisible(shown);
    }
}

void MprController::setWindow(const imaging::LevelWindow& window) {
    window_ = window;
    for (const Pane& pane : panes_)
        pane.view->setWindow(window);
}

void MprController::setSlab(const SlabModel& slab) {
    slab_ = slab;
    showSlab();
}

bool MprController::beginDrag(int index, const QPointF& position) {
    if (!image_)
        return false;
    switch (tool_) {
    case Tool::WindowLevel:
        windowDrag_.emplace(window_, image_->metadata().minimum, image_->metadata().maximum);
        return true;
    case Tool::Scroll:
        scrollRest_ = 0.0;
        return true;
    case Tool::Crosshair:
        moveCrosshair(panes_[at(index)].view->widgetToWorld(position));
        return true;
    default:
        return false;
    }
}

void MprController::continueDrag(
    int index, const QPointF& position, const QPointF& total, const QPointF& step) {
    if (!image_)
        return;
    if (tool_ == Tool::WindowLevel && windowDrag_) {
        setWindow(windowDrag_->at(total.x(), total.y()));
        Q_EMIT windowDragged();
    } else if (tool_ == Tool::Crosshair) {
        moveCrosshair(panes_[at(index)].view->widgetToWorld(position));
    } else if (tool_ == Tool::Scroll) {
        scrollRest_ -= step.y();
        const double slices = std::trunc(scrollRest_ / pixelsPerSlice);
        scrollRest_ -= slices * pixelsPerSlice;
        if (slices != 0.0)
            stepPlane(index, slices);
    }
}

void MprController::onGuideEvent(int index, const GuideEvent& event) {
    auto* view = panes_[at(index)].view;
    if (const auto* move = std::get_if<CrosshairMove>(&event))
        moveCrosshair(view->widgetToWorld(toQt(move->point)));
    else if (const auto* turn = std::get_if<RotateStep>(&event))
        rotate(index, turn->radians);
    else if (const auto* slab = std::get_if<SlabChange>(&event))
        changeSlab({slab->plane, slab->halfThickness * view->millimetresPerPixel()});
    else if (const auto* pan = std::get_if<PanMove>(&event))
        view->panBy(toQt(pan->offset));
    else if (const auto* zoom = std::get_if<ZoomStep>(&event))
        view->zoomBy(zoom->factor, toQt(zoom->anchor));
}

void MprController::onSliceChanged(int index) {
    updateTexts(index);
    if (syncingPlanes_ || !image_)
        return;
    // The plane was moved alone: the crosshair goes along with it, and the others follow only where the
    // crosshair has come to the volume's side.
    if (crosshair_.moveOnto(panes_[at(index)].view->navigation().plane())) {
        selectSlices();
        return;
    }
    planes_.checkPlanesOrthogonal(liveBases());
    refreshGuides();
    Q_EMIT positionChanged();
}

void MprController::moveCrosshair(const imaging::Vector3& point) {
    if (crosshair_.moveTo(point))
        selectSlices();
}

void MprController::selectSlices() {
    {
        const QScopedValueRollback<bool> sync(syncingPlanes_, true);
        for (const Pane& pane : panes_)
            pane.view->navigation().selectSliceByPoint(crosshair_.point());
    }
    for (int index = 0; index < 3; ++index)
        updateTexts(index);
    planes_.checkPlanesOrthogonal(liveBases());
    refreshGuides();
    Q_EMIT positionChanged();
}

bool MprController::shows(const Measurement& measurement) const {
    return std::any_of(panes_.begin(), panes_.end(), [&](const Pane& pane) {
        const auto index = static_cast<int>(&pane - panes_.data());
        return pane.view->isVisible() && measurementView(index).plane.shows(measurement);
    });
}

MeasurementView MprController::measurementView(int index) const {
    auto* view = panes_[at(index)].view;
    MeasurementView now;
    if (image_)
        now.plane = MeasurementPlane::ofVolume(
            view->navigation().plane(), view->thickness(), image_->metadata().seriesInstanceUID);
    now.toWidget = [view](const imaging::Vector3& point) { return toPoint(view->worldToWidget(point)); };
    now.fromWidget = [view](const Point2& position) { return view->widgetToWorld(toQt(position)); };
    now.width = view->width();
    now.height = view->height();
    return now;
}

void MprController::jumpTo(const MeasurementJump& jump) {
    if (!image_ || jump.onImage)
        return;
    if (jump.turnsPlanes) {
        orient(jump.point, jump.bases);
        return;
    }
    crosshair_.moveTo(jump.point);
    selectSlices();
}

void MprController::orient(const imaging::Vector3& point, const PlaneBases& bases) {
    if (!image_ || !areOrthogonal(bases))
        return;
    crosshair_.moveTo(point);
    {
        const QScopedValueRollback<bool> sync(syncingPlanes_, true);
        for (int index = 0; index < 3; ++index) {
            const PlaneBasis& basis = basisOf(bases, directionOf(index));
            panes_[at(index)].view->navigation().reorientSlices(crosshair_.point(), basis.axis0, basis.axis1);
        }
    }
    selectSlices();
}

void MprController::rotate(int source, double radians) {
    if (!image_ || !planes_.rotate(directionOf(source), radians))
        return;
    applyStoredBases(source);
    if (RotationTrace::isEnabled()) {
        RotationTrace trace;
        trace.source = directionOf(source);
        trace.radians = radians;
        trace.focalPoint = crosshair_.point();
        trace.stored = planes_.storedBases();
        trace.live = liveBases();
        trace.write();
    }
}

void MprController::applyStoredBases(int source) {
    {
        const QScopedValueRollback<bool> sync(syncingPlanes_, true);
        for (int index = 0; index < 3; ++index) {
            if (index == source)
                continue;
            auto* view = panes_[at(index)].view;
            const PlaneBasis& basis = basisOf(planes_.storedBases(), directionOf(index));
            const QPointF before = view->worldToWidget(crosshair_.point());
            view->navigation().reorientSlices(crosshair_.point(), basis.axis0, basis.axis1);
            view->navigation().selectSliceByPoint(crosshair_.point());
            // The plane turns about the crosshair, so the crosshair keeps its place on the screen.
            view->panBy(before - view->worldToWidget(crosshair_.point()));
        }
    }
    for (int index = 0; index < 3; ++index)
        updateTexts(index);
    refreshGuides();
    Q_EMIT positionChanged();
}

void MprController::changeSlab(const SlabChange& change) {
    const auto& navigation = panes_[static_cast<std::size_t>(change.plane)].view->navigation();
    if (!slab_.dragTo(change.halfThickness, navigation.sliceSpacing()))
        return;
    showSlab();
    Q_EMIT slabChanged();
}

void MprController::showSlab() {
    for (const Pane& pane : panes_)
        pane.view->setSlab(slab_.mode(), slab_.shownSlices());
    for (int index = 0; index < 3; ++index)
        updateTexts(index);
    refreshGuides();
}

PlaneBases MprController::liveBases() const {
    PlaneBases bases;
    for (std::size_t index = 0; index < panes_.size(); ++index)
        bases[index] = PlaneBasis::of(panes_[index].view->navigation().plane());
    return bases;
}

void MprController::refreshGuides() {
    if (syncingPlanes_)
        return;
    const PlaneBases bases = liveBases();
    std::array<double, 3> thickness{0.0, 0.0, 0.0};
    if (slab_.isEnabled())
        for (std::size_t index = 0; index < panes_.size(); ++index)
            thickness[index] = slab_.thickness(panes_[index].view->navigation().sliceSpacing());
    for (int index = 0; index < 3; ++index) {
        const Pane& pane = panes_[at(index)];
        pane.guide->setGuide(
            toPoint(pane.view->worldToWidget(crosshair_.point())),
            guideLines(bases, directionOf(index), thickness, pane.view->millimetresPerPixel()),
            image_ != nullptr, linesShown_);
        pane.measurements->update();
    }
}

void MprController::updateTexts(int index) {
    const Pane& pane = panes_[at(index)];
    const auto& navigation = pane.view->navigation();
    frames_[at(index)]->setInfo(QString::fromStdString(navigation.sliceLabel()));
    if (!image_) {
        pane.texts->clear();
        return;
    }
    const auto& metadata = image_->metadata();
    pane.texts->setCorner(ViewportOverlay::TopLeft, OverlayTexts::patient(study_, metadata));
    pane.texts->setCorner(
        ViewportOverlay::TopRight, OverlayTexts::notes(metadata, image_->geometry().tiltDegrees()));
    pane.texts->setCorner(ViewportOverlay::BottomLeft, {OverlayTexts::window(pane.view->window(), metadata)});
    QStringList place{
        QString::fromStdString(navigation.sliceLabel()),
        QStringLiteral("%1 mm").arg(navigation.sliceSpacing(), 0, 'f', 2)};
    if (slab_.isEnabled())
        place += QString::fromStdString(slab_.overlayText(navigation.sliceSpacing()));
    pane.texts->setCorner(ViewportOverlay::BottomRight, place);
    pane.texts->setLetters(pane.view->orientationLabels());
}

void MprController::onFrameRendered(int index) {
    if (awaitedFrames_ == 0)
        return;
    awaitedFrames_ &= ~(1u << index);
    if (awaitedFrames_ == 0)
        Q_EMIT imageDrawn();
}

} // namespace zorbel
