#include "viewer/workspace/ViewerWorkspace.h"

#include "viewer/measuring/MeasureTool.h"
#include "viewer/measuring/MeasurementController.h"
#include "viewer/studies/StudyTexts.h"
#include "viewer/workspace/LoadingOverlay.h"
#include "viewer/workspace/ToolRail.h"
#include "viewer/workspace/ViewerHeader.h"
#include "viewer/workspace/ViewportFrame.h"
#include "viewer/workspace/ViewportGrid.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace zorbel {

ViewerWorkspace::ViewerWorkspace(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("viewerWorkspace"));
    setFocusPolicy(Qt::ClickFocus);
    measurements_ = new MeasurementController(this);
    measureTool_ = std::make_unique<MeasureTool>(*measurements_);
    rail_ = new ToolRail;
    header_ = new ViewerHeader;
    emptyPage_ = buildEmptyPage();
    pages_ = new QStackedWidget;
    pages_->addWidget(emptyPage_);
    overlay_ = new LoadingOverlay(pages_);

    auto* column = new QVBoxLayout;
    column->setSpacing(8);
    column->addWidget(header_);
    column->addWidget(pages_, 1);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(10, 10, 10, 8);
    layout->setSpacing(10);
    layout->addWidget(rail_);
    layout->addLayout(column, 1);

    connect(rail_, &ToolRail::actionRequested, this, &ViewerWorkspace::perform);
    connect(measurements_, &MeasurementController::statusText, this, &ViewerWorkspace::statusText);
    reset();
}

ViewerWorkspace::~ViewerWorkspace() {
    // The modes' viewports, and with them the tools' layers, go with the pages; nothing must reach them after
    // that.
    reset();
    while (!modes_.empty())
        removeMode(modes_.back().mode.get());
}

QWidget* ViewerWorkspace::buildEmptyPage() {
    auto* page = new QFrame;
    page->setObjectName(QStringLiteral("emptyPage"));
    auto* hint = new QLabel(QStringLiteral("Double-click a study in the list to open it"));
    hint->setObjectName(QStringLiteral("emptyHint"));
    hint->setAlignment(Qt::AlignCenter);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(hint);
    return page;
}

void ViewerWorkspace::addMode(std::unique_ptr<ReadingMode> mode) {
    auto* grid = new ViewportGrid(mode->frames());
    grid->apply(mode->layout().cellPlan());
    pages_->addWidget(grid);
    mode->setParent(this);
    connectMode(mode.get());
    modes_.push_back({std::move(mode), grid});
}

std::unique_ptr<ReadingMode> ViewerWorkspace::removeMode(const ReadingMode* mode) {
    const auto found = std::find_if(
        modes_.begin(), modes_.end(), [mode](const Hosted& hosted) { return hosted.mode.get() == mode; });
    if (found == modes_.end())
        return nullptr;
    if (mode_ == mode)
        reset();
    Hosted hosted = std::move(*found);
    modes_.erase(found);
    hosted.mode->disconnect(this);
    hosted.mode->setParent(nullptr);
    delete hosted.grid;
    return std::move(hosted.mode);
}

void ViewerWorkspace::connectMode(ReadingMode* mode) {
    connect(mode, &ReadingMode::viewportPressed, this, [this](int viewport) {
        perform(ReadingAction::ActivateViewport, viewport);
    });
    connect(mode, &ReadingMode::maximiseRequested, this, [this, mode](int viewport) {
        applyChange(mode->layout().toggleMaximise(viewport));
    });
    connect(mode, &ReadingMode::focusRequested, this, [this, mode](int viewport) {
        applyChange(mode->layout().toggleFocus(viewport));
    });
    connect(mode, &ReadingMode::imageDrawn, this, &ViewerWorkspace::imageDrawn);
    connect(mode, &ReadingMode::statusText, this, &ViewerWorkspace::statusText);
    connect(mode, &ReadingMode::controlsChanged, this, [this, mode] {
        if (mode == mode_)
            showControls();
    });
}

ReadingMode* ViewerWorkspace::modeFor(const StudySeries& series) const {
    const auto found = std::find_if(
        modes_.rbegin(), modes_.rend(), [&](const Hosted& hosted) { return hosted.mode->canShow(series); });
    return found != modes_.rend() ? found->mode.get() : nullptr;
}

ViewportGrid* ViewerWorkspace::gridOf(const ReadingMode* mode) const {
    for (const Hosted& hosted : modes_)
        if (hosted.mode.get() == mode)
            return hosted.grid;
    return nullptr;
}

bool ViewerWorkspace::show(const std::shared_ptr<StudyReading>& reading) {
    ReadingMode* mode = modeFor(reading->shown());
    if (!mode)
        return false;
    if (mode_ && mode_ != mode)
        mode_->clear();
    reading_ = reading;
    measurements_->setReading(reading);
    enter(mode);
    return true;
}

void ViewerWorkspace::enter(ReadingMode* mode) {
    mode_ = mode;
    grid_ = gridOf(mode);
    if (reading_->isNewlyHung()) // the tool in the reader's hand stays there
        reading_->editHanging([this](HangingProtocol& hanging) { hanging.tool = tool_; });
    const HangingProtocol hanging = reading_->hanging();
    LayoutModel& layout = mode->layout();
    layout.reset();
    layout.applyLayout(hanging.layout, hanging.primary);
    grid_->apply(layout.cellPlan());
    grid_->setActive(layout.activeViewport());
    pages_->setCurrentWidget(grid_);
    mode->show(reading_);
    mode->setOverlaysShown(overlaysShown_);
    applyTool(hanging.tool);
    showHeader();
    showControls();
    // The views have their sizes only after the event loop has come round.
    if (!hanging.framings.empty())
        QTimer::singleShot(0, this, [this, mode, framings = hanging.framings] {
            if (mode == mode_)
                mode->setFramings(framings);
        });
}

void ViewerWorkspace::reset() {
    if (mode_)
        mode_->clear();
    mode_ = nullptr;
    grid_ = nullptr;
    reading_.reset();
    measurements_->setReading(nullptr);
    pages_->setCurrentWidget(emptyPage_);
    showHeader();
    showControls();
}

void ViewerWorkspace::showHeader() {
    if (!reading_) {
        header_->setTitle(QStringLiteral("No study selected"));
        header_->setSubtitle({}, {});
        return;
    }
    const StudyIdentity& study = reading_->identity();
    header_->setTitle(StudyTexts::patientName(study));
    header_->setSubtitle(
        StudyTexts::subtitle(study, reading_->shown().modality),
        QStringLiteral("Study Instance UID: %1").arg(StudyTexts::studyInstanceUid(study)));
}

void ViewerWorkspace::showControls() {
    ModeControls controls;
    if (mode_) {
        controls = mode_->controls();
        // What every mode can.
        controls.actions.insert(
            {ReadingAction::CaptureView, ReadingAction::ShowFindings, ReadingAction::ShowKeyImages});
        if (mode_->layout().hasLayouts())
            controls.actions.insert(ReadingAction::SetLayout);
        rail_->setLayoutShown(mode_->layout().layout());
    } else {
        controls.studyChip = QStringLiteral("No study loaded");
    }
    rail_->showControls(controls);
    header_->setStudyChip(controls.studyChip);
    header_->setModeChip(controls.modeChip, controls.modeToolTip);
    header_->setLayoutChip(mode_ ? QString::fromStdString(mode_->layout().layoutText()) : QString());
}

void ViewerWorkspace::perform(ReadingAction action, int argument) {
    switch (action) {
    case ReadingAction::ShowSheet:
        Q_EMIT shortcutSheetRequested();
        return;
    case ReadingAction::CaptureView:
        Q_EMIT captureRequested();
        return;
    case ReadingAction::ShowFindings:
        Q_EMIT findingsRequested();
        return;
    case ReadingAction::ShowKeyImages:
        Q_EMIT keyImagesRequested();
        return;
    case ReadingAction::ToggleOverlays:
        toggleOverlays();
        return;
    default:
        break;
    }
    if (!mode_)
        return;
    LayoutModel& layout = mode_->layout();
    switch (action) {
    case ReadingAction::SelectTool:
        setTool(static_cast<Tool>(argument));
        break;
    case ReadingAction::ActivateViewport:
        applyChange(layout.setActiveViewport(argument));
        break;
    case ReadingAction::ToggleMaximise:
        applyChange(layout.toggleMaximise(layout.activeViewport()));
        break;
    case ReadingAction::SetLayout:
        applyChange(layout.setLayoutFromShortcut(static_cast<Layout>(argument)));
        rail_->setLayoutShown(layout.layout()); // a button that was pressed again stays down
        break;
    case ReadingAction::Cancel:
        measurements_->cancel();
        break;
    case ReadingAction::DeleteMeasurement:
        measurements_->deleteMeasurement(
            [this](const Measurement& measurement) { return mode_->shows(measurement); });
        break;
    default:
        mode_->perform(action, argument);
        break;
    }
}

void ViewerWorkspace::setTool(Tool tool) {
    reading_->editHanging([tool](HangingProtocol& hanging) { hanging.tool = tool; });
    applyTool(tool);
    if (const QString text = mode_->toolText(tool); !text.isEmpty())
        Q_EMIT statusText(text);
}

void ViewerWorkspace::applyTool(Tool tool) {
    tool_ = tool;
    measurements_->setTool(tool);
    mode_->setTool(tool);
    rail_->setTool(tool);
}

void ViewerWorkspace::jumpToMeasurement(int id) {
    const Measurement* measurement = measurements_->list().find(id);
    if (!measurement || !mode_)
        return;
    if (const auto viewport = mode_->showMeasurement(*measurement))
        perform(ReadingAction::ActivateViewport, *viewport);
    else
        Q_EMIT statusText(QStringLiteral("This measurement was drawn on another series of the study"));
    measurements_->select(id);
}

std::optional<imaging::Vector3> ViewerWorkspace::location() const {
    return mode_ ? mode_->location() : std::nullopt;
}

void ViewerWorkspace::goTo(const imaging::Vector3& point) {
    if (mode_)
        mode_->goTo(point);
}

std::optional<ModeCapture> ViewerWorkspace::captureActiveViewport() {
    return mode_ ? mode_->capture() : std::nullopt;
}

void ViewerWorkspace::applyChange(const LayoutChange& change) {
    const LayoutModel& layout = mode_->layout();
    if (change.active)
        grid_->setActive(layout.activeViewport());
    if (!change.activeText.empty())
        Q_EMIT statusText(QString::fromStdString(change.activeText));
    if (change.layout) {
        grid_->apply(layout.cellPlan());
        // The views have their new sizes only after the event loop has come round.
        QTimer::singleShot(0, this, [this, mode = mode_] {
            if (mode == mode_) // one that left has no views any more
                mode->perform(ReadingAction::FitViews, 0);
        });
        reading_->editHanging([&](HangingProtocol& hanging) {
            hanging.layout = layout.layout();
            hanging.primary = layout.primary();
        });
    }
    showControls();
    if (!change.layoutText.empty())
        Q_EMIT statusText(QString::fromStdString(change.layoutText));
}

void ViewerWorkspace::toggleOverlays() {
    overlaysShown_ = !overlaysShown_;
    if (mode_)
        mode_->setOverlaysShown(overlaysShown_);
    measurements_->setLabelsShown(overlaysShown_);
    Q_EMIT statusText(overlaysShown_ ? QStringLiteral("Overlays shown") : QStringLiteral("Overlays hidden"));
}

} // namespace zorbel
