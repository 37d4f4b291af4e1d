#include "viewer/mpr/MprMode.h"

#include "imaging/rendering/PlaneView.h"
#include "imaging/rendering/VolumeView.h"
#include "viewer/measuring/MeasureTool.h"
#include "viewer/measuring/MeasurementController.h"
#include "viewer/mpr/VolumePane.h"
#include "viewer/reading/display/HangingDisplay.h"
#include "viewer/reading/display/WheelStep.h"
#include "viewer/reading/display/WindowPresets.h"
#include "viewer/reading/measurements/MeasurementJump.h"
#include "viewer/reading/planes/MprViewports.h"
#include "viewer/reading/planes/RotationTrace.h"
#include "viewer/tools/ToolLayer.h"
#include "viewer/workspace/ViewportFrame.h"

#include <QScopedValueRollback>

#include <algorithm>
#include <cmath>
#include <variant>

namespace zorbel {

namespace {

imaging::ViewDirection directionOf(int index) {
    return static_cast<imaging::ViewDirection>(index);
}

std::size_t at(int index) {
    return static_cast<std::size_t>(index);
}

} // namespace

MprMode::MprMode(MeasureTool& measure, MeasurementController& measurements, QObject* parent)
    : ReadingMode(mprViewports(), parent), measure_(measure) {
    for (int index = 0; index < 3; ++index)
        panes_[at(index)] = new MprPane(directionOf(index), this);
    volume_ = new VolumePane(this);
    for (int index = 0; index < 3; ++index)
        connectPane(index);
    connect(volume_, &VolumePane::pressed, this, [this] { Q_EMIT viewportPressed(VolumeViewport); });
    connect(volume_, &VolumePane::maximiseRequested, this, [this] { Q_EMIT focusRequested(VolumeViewport); });
    connect(volume_, &VolumePane::statusText, this, &MprMode::statusText);
    connect(&measurements, &MeasurementController::repaintNeeded, this, [this] {
        for (const MprPane* pane : panes_)
            pane->layer().update();
    });
    clear();
}

void MprMode::connectPane(int index) {
    MprPane* pane = panes_[at(index)];
    auto* view = &pane->view();
    connect(pane, &MprPane::pressed, this, [this, index] { Q_EMIT viewportPressed(index); });
    connect(pane, &MprPane::guideEvent, this, [this, index](const GuideEvent& event) {
        onGuideEvent(index, event);
    });
    connect(pane, &MprPane::crosshairMoved, this, [this, view](const QPointF& position) {
        goTo(view->widgetToWorld(position));
    });
    connect(pane, &MprPane::windowDragged, this, [this](const imaging::LevelWindow& window) {
        setWindow(window);
        sayWindow();
    });
    connect(view, &imaging::PlaneView::sliceChanged, this, [this, index] { onSliceChanged(index); });
    connect(view, &imaging::PlaneView::viewChanged, this, [this, index] {
        recordFraming(index);
        refreshGuides();
    });
    connect(view, &imaging::PlaneView::windowChanged, this, [this, index] { updateTexts(index); });
    connect(view, &imaging::PlaneView::frameRendered, this, [this, index] { onFrameRendered(index); });
    connect(
        view, &imaging::PlaneView::doubleClicked, this, [this, index] { Q_EMIT maximiseRequested(index); });
    connect(
        view, &imaging::PlaneView::wheelScrolled, this,
        [this, index](int notches, Qt::KeyboardModifiers modifiers) {
            Q_EMIT viewportPressed(index);
            panes_[at(index)]->step(wheelStep(
                notches, modifiers.testFlag(Qt::ShiftModifier), modifiers.testFlag(Qt::AltModifier)));
        });
}

std::vector<ViewportFrame*> MprMode::frames() const {
    return {panes_[0]->frame(), panes_[1]->frame(), panes_[2]->frame(), volume_->frame()};
}

std::shared_ptr<const imaging::Image> MprMode::image() const {
    return reading_ ? reading_->shown().image : nullptr;
}

void MprMode::show(const std::shared_ptr<StudyReading>& reading) {
    const QScopedValueRollback<bool> showing(showing_, true);
    reading_ = reading;
    subscription_ = reading->observe([this](StudyReading::Change change) {
        if (change == StudyReading::Change::Hanging && !showing_ && !recording_)
            applyHanging();
    });
    awaitedFrames_ = 0b111;
    planes_.reset();
    linesShown_ = true;
    resetView();
    applyHanging();
    volume_->setImage(image(), reading->identity(), reading->shown().modality);
}

void MprMode::clear() {
    const QScopedValueRollback<bool> showing(showing_, true);
    subscription_.reset();
    reading_.reset();
    awaitedFrames_ = 0;
    planes_.reset();
    crosshair_.clear();
    {
        const QScopedValueRollback<bool> sync(syncingPlanes_, true);
        for (MprPane* pane : panes_) {
            pane->setImage(nullptr);
            pane->layer().setTools(nullptr, {});
        }
    }
    volume_->setTool(std::nullopt);
    volume_->clear();
    for (int index = 0; index < 3; ++index)
        updateTexts(index);
    refreshGuides();
}

ModeControls MprMode::controls() const {
    ModeControls controls;
    for (int tool = 0; tool <= static_cast<int>(Tool::OvalRoi); ++tool)
        controls.tools.insert(static_cast<Tool>(tool));
    controls.actions = {ReadingAction::StepSlices,   ReadingAction::ActivateViewport,
                        ReadingAction::ToggleSlab,   ReadingAction::SetSlabMode,
                        ReadingAction::SetSlabCount, ReadingAction::ToggleLines,
                        ReadingAction::FitViews,     ReadingAction::ResetViews};
    controls.notHere = QStringLiteral("Only for 2D images.");
    controls.markedPlane = layout().activeViewport();
    controls.linesShown = linesShown_;
    controls.slab = slab();
    controls.modeChip = QStringLiteral("MPR · 3D volume");
    controls.modeToolTip = QStringLiteral("Volumetric study loaded in MPR mode.");
    return controls;
}

std::vector<DisplayProperties> MprMode::displayProperties() const {
    std::vector<DisplayProperties> views;
    if (!reading_)
        return views;
    for (const MprPane* pane : panes_) {
        const auto& navigation = pane->view().navigation();
        const std::string label = navigation.sliceLabel();
        DisplayProperties view{label.substr(0, label.find(' ')), {}};
        view.add("slice", navigation.currentSlice());
        view.add("slices", navigation.sliceCount());
        view.addWindow(pane->view().window());
        view.addSlab(slab(), linesShown_);
        const auto list = [](const imaging::Vector3& vector) {
            return std::vector<double>(vector.begin(), vector.end());
        };
        view.add("plane.axis0", list(navigation.plane().axisVector(0)));
        view.add("plane.axis1", list(navigation.plane().axisVector(1)));
        view.add("crosshair", list(crosshair_.point()));
        view.add("millimetresPerPixel", pane->view().millimetresPerPixel());
        views.push_back(std::move(view));
    }
    views.push_back(volume_->displayProperties());
    return views;
}

void MprMode::setTool(Tool tool) {
    tool_ = tool;
    for (MprPane* pane : panes_) {
        GuideTool& guide = pane->guide();
        guide.setMode(
            tool == Tool::Crosshair ? GuideMode::Crosshair
            : tool == Tool::Rotate  ? GuideMode::Rotate
                                    : GuideMode::None);
        ViewTool* active = tool == Tool::WindowLevel ? static_cast<ViewTool*>(&windowLevel_)
                           : tool == Tool::Pan       ? &hand_
                           : tool == Tool::Scroll    ? &scroll_
                           : tool == Tool::Zoom      ? &zoom_
                           : measurementKindOf(tool) ? static_cast<ViewTool*>(&measure_)
                                                     : &guide;
        pane->layer().setTools(active, {&guide, &measure_});
    }
    volume_->setTool(tool);
}

QString MprMode::toolText(Tool tool) const {
    return tool == Tool::Crosshair ? QStringLiteral("MPR crosshair mode enabled")
           : tool == Tool::Rotate  ? QStringLiteral("MPR rotation mode enabled")
                                   : QString();
}

int MprMode::activePlane() const {
    const int active = layout().activeViewport();
    return active == VolumeViewport ? AxialViewport : active;
}

void MprMode::perform(ReadingAction action, int argument) {
    if (!reading_)
        return;
    SlabModel slab = this->slab();
    switch (action) {
    case ReadingAction::StepSlices:
        panes_[at(activePlane())]->step(argument);
        break;
    case ReadingAction::WindowPreset:
        applyPreset(argument);
        break;
    case ReadingAction::ToggleSlab:
        slab.setEnabled(!slab.isEnabled());
        setSlab(slab);
        break;
    case ReadingAction::ChangeSlab:
        if (argument > 0 ? slab.thicken() : slab.thin())
            setSlab(slab);
        break;
    case ReadingAction::SetSlabMode:
        slab.setMode(static_cast<imaging::SlabMode>(argument));
        setSlab(slab);
        break;
    case ReadingAction::SetSlabCount:
        slab.setSliceCount(argument);
        setSlab(slab);
        break;
    case ReadingAction::FitViews:
        fitToView();
        break;
    case ReadingAction::ResetViews:
        resetView();
        volume_->resetView();
        break;
    case ReadingAction::CenterCrosshair:
        if (crosshair_.centre())
            selectSlices();
        break;
    case ReadingAction::ToggleLines:
        toggleLines();
        break;
    default:
        break;
    }
}

void MprMode::toggleLines() {
    linesShown_ = !linesShown_;
    refreshGuides();
    Q_EMIT controlsChanged();
    Q_EMIT statusText(
        linesShown_ ? QStringLiteral("MPR crosshair enabled") : QStringLiteral("MPR crosshair disabled"));
}

void MprMode::fitToView() {
    for (const MprPane* pane : panes_)
        pane->view().fitToView();
    volume_->fitToView();
}

/// Standard planes through the middle, fitted, with the image's own window; lines and slab stay.
void MprMode::resetView() {
    const auto shown = image();
    if (!shown)
        return;
    {
        const QScopedValueRollback<bool> sync(syncingPlanes_, true);
        for (MprPane* pane : panes_)
            pane->setImage(shown);
    }
    initialWindow_ = panes_[0]->view().window();
    if (!showing_)
        reading_->editHanging([](HangingProtocol& hanging) {
            hanging.window.reset();
            hanging.planes.reset();
        });
    crosshair_.setGeometry(shown->geometry());
    selectSlices();
}

imaging::LevelWindow MprMode::window() const {
    const auto& chosen = reading_ ? reading_->hanging().window : std::nullopt;
    return chosen ? levelWindowOf(*chosen) : initialWindow_;
}

SlabModel MprMode::slab() const {
    return reading_ ? slabOf(reading_->hanging()) : SlabModel();
}

void MprMode::setWindow(const imaging::LevelWindow& window) {
    if (reading_)
        reading_->editHanging([&](HangingProtocol& hanging) { hanging.window = hangingWindowOf(window); });
}

void MprMode::sayWindow() {
    Q_EMIT statusText(QString::fromStdString(windowText(window())));
}

void MprMode::applyPreset(int index) {
    const WindowPreset& preset = windowPresets.at(at(index));
    setWindow(preset.window());
    Q_EMIT statusText(QString::fromStdString(preset.statusText()));
}

void MprMode::setSlab(const SlabModel& slab) {
    reading_->editHanging([&](HangingProtocol& hanging) { zorbel::setSlab(hanging, slab); });
    Q_EMIT statusText(QString::fromStdString(slab.statusText(directionOf(activePlane()))));
}

void MprMode::applyHanging() {
    const auto wanted = window();
    const SlabModel thickness = slab();
    for (const MprPane* pane : panes_) {
        if (pane->view().window() != wanted)
            pane->view().setWindow(wanted);
        pane->view().setSlab(thickness.mode(), thickness.shownSlices());
    }
    const auto& planes = reading_->hanging().planes;
    if (planes && (planes->crosshair != crosshair_.point() || planes->axes != liveBases()))
        orient(planes->crosshair, planes->axes);
    for (int index = 0; index < 3; ++index)
        updateTexts(index);
    refreshGuides();
    Q_EMIT controlsChanged();
}

void MprMode::recordPosition() {
    if (!reading_ || showing_)
        return;
    const QScopedValueRollback<bool> recording(recording_, true);
    reading_->editHanging([this](HangingProtocol& hanging) {
        hanging.planes = PlanesPosition{crosshair_.point(), liveBases()};
    });
}

void MprMode::recordFraming(int index) {
    if (!reading_ || showing_)
        return;
    const QScopedValueRollback<bool> recording(recording_, true);
    reading_->editHanging([&](HangingProtocol& hanging) {
        if (const auto framing = panes_[at(index)]->framing())
            hanging.framings[index] = *framing;
        else
            hanging.framings.erase(index);
    });
}

void MprMode::setFramings(const std::map<int, HangingProtocol::Framing>& framings) {
    for (int index = 0; index < 3; ++index)
        if (const auto framing = framings.find(index); framing != framings.end())
            panes_[at(index)]->view().lookAt(framing->second.center, framing->second.scale);
}

void MprMode::onGuideEvent(int index, const GuideEvent& event) {
    const auto& view = panes_[at(index)]->view();
    if (const auto* move = std::get_if<CrosshairMove>(&event)) {
        goTo(view.widgetToWorld({move->point.x, move->point.y}));
    } else if (const auto* turn = std::get_if<RotateStep>(&event)) {
        rotate(index, turn->radians);
    } else if (const auto* change = std::get_if<SlabChange>(&event)) {
        const auto& navigation = panes_[static_cast<std::size_t>(change->plane)]->view().navigation();
        SlabModel slab = this->slab();
        if (slab.dragTo(change->halfThickness * view.millimetresPerPixel(), navigation.sliceSpacing()))
            setSlab(slab);
    }
}

void MprMode::onSliceChanged(int index) {
    updateTexts(index);
    if (syncingPlanes_ || !reading_)
        return;
    // The plane was moved alone: the crosshair goes along with it, and the others follow only where the
    // crosshair has come to the volume's side.
    if (crosshair_.moveOnto(panes_[at(index)]->view().navigation().plane())) {
        selectSlices();
        return;
    }
    planes_.checkPlanesOrthogonal(liveBases());
    refreshGuides();
    recordPosition();
}

void MprMode::goTo(const imaging::Vector3& point) {
    if (crosshair_.moveTo(point))
        selectSlices();
}

std::optional<imaging::Vector3> MprMode::location() const {
    return reading_ ? std::optional(crosshair_.point()) : std::nullopt;
}

void MprMode::selectSlices() {
    {
        const QScopedValueRollback<bool> sync(syncingPlanes_, true);
        for (const MprPane* pane : panes_)
            pane->view().navigation().selectSliceByPoint(crosshair_.point());
    }
    for (int index = 0; index < 3; ++index)
        updateTexts(index);
    planes_.checkPlanesOrthogonal(liveBases());
    refreshGuides();
    recordPosition();
}

bool MprMode::shows(const Measurement& measurement) const {
    return std::any_of(panes_.begin(), panes_.end(), [&](const MprPane* pane) {
        return pane->view().isVisible() && pane->measurementView().plane.shows(measurement);
    });
}

std::optional<int> MprMode::showMeasurement(const Measurement& measurement) {
    const auto jump = MeasurementJump::to(measurement, liveBases());
    if (!image() || jump.onImage || !measurement.isOfSeries(image()->metadata().seriesInstanceUID))
        return std::nullopt;
    if (jump.turnsPlanes) {
        orient(jump.point, jump.bases);
    } else {
        crosshair_.moveTo(jump.point);
        selectSlices();
    }
    return static_cast<int>(jump.view);
}

void MprMode::orient(const imaging::Vector3& point, const PlaneBases& bases) {
    if (!reading_ || !areOrthogonal(bases))
        return;
    crosshair_.moveTo(point);
    {
        const QScopedValueRollback<bool> sync(syncingPlanes_, true);
        for (int index = 0; index < 3; ++index) {
            const PlaneBasis& basis = basisOf(bases, directionOf(index));
            panes_[at(index)]->view().navigation().reorientSlices(
                crosshair_.point(), basis.axis0, basis.axis1);
        }
    }
    selectSlices();
}

void MprMode::rotate(int source, double radians) {
    if (!reading_ || !planes_.rotate(directionOf(source), radians))
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

void MprMode::applyStoredBases(int source) {
    {
        const QScopedValueRollback<bool> sync(syncingPlanes_, true);
        for (int index = 0; index < 3; ++index) {
            if (index == source)
                continue;
            auto& view = panes_[at(index)]->view();
            const PlaneBasis& basis = basisOf(planes_.storedBases(), directionOf(index));
            const QPointF before = view.worldToWidget(crosshair_.point());
            view.navigation().reorientSlices(crosshair_.point(), basis.axis0, basis.axis1);
            view.navigation().selectSliceByPoint(crosshair_.point());
            // The plane turns about the crosshair, so the crosshair keeps its place on the screen.
            view.panBy(before - view.worldToWidget(crosshair_.point()));
        }
    }
    for (int index = 0; index < 3; ++index)
        updateTexts(index);
    refreshGuides();
    recordPosition();
}

PlaneBases MprMode::liveBases() const {
    PlaneBases bases;
    for (std::size_t index = 0; index < panes_.size(); ++index)
        bases[index] = PlaneBasis::of(panes_[index]->view().navigation().plane());
    return bases;
}

void MprMode::refreshGuides() {
    if (syncingPlanes_)
        return;
    const PlaneBases bases = liveBases();
    const SlabModel thick = slab();
    std::array<double, 3> thickness{0.0, 0.0, 0.0};
    if (thick.isEnabled())
        for (std::size_t index = 0; index < panes_.size(); ++index)
            thickness[index] = thick.thickness(panes_[index]->view().navigation().sliceSpacing());
    for (MprPane* pane : panes_)
        pane->showGuide(crosshair_.point(), bases, thickness, linesShown_);
}

void MprMode::updateTexts(int index) {
    panes_[at(index)]->showTexts(reading_ ? reading_->identity() : StudyIdentity(), slab());
}

void MprMode::setOverlaysShown(bool shown) {
    for (MprPane* pane : panes_)
        pane->setTextsShown(shown);
    volume_->setOverlaysShown(shown);
}

void MprMode::onFrameRendered(int index) {
    if (awaitedFrames_ == 0)
        return;
    awaitedFrames_ &= ~(1u << index);
    if (awaitedFrames_ == 0)
        Q_EMIT imageDrawn();
}

std::optional<ModeCapture> MprMode::capture() {
    const int active = layout().activeViewport();
    ModeCapture capture;
    if (active == VolumeViewport) {
        if (!volume_->view().isVisible())
            return std::nullopt;
        capture.picture = volume_->capture();
        capture.view.name = "3D";
        return capture;
    }
    auto& view = panes_[at(active)]->view();
    if (!view.isVisible())
        return std::nullopt;
    view.waitForFrame();
    capture.picture = view.grab();
    capture.view.name = imaging::viewDirectionName(directionOf(active));
    capture.view.slice = {view.navigation().currentSlice(), view.navigation().sliceCount()};
    capture.view.window = KeyImageView::Window{window().width, window().center};
    return capture;
}

} // namespace zorbel
