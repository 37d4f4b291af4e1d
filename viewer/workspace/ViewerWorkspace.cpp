#include "viewer/workspace/ViewerWorkspace.h"

#include "viewer/image/ImageController.h"
#include "viewer/measuring/MeasurementController.h"
#include "viewer/mpr/MprController.h"
#include "viewer/mpr/VolumeController.h"
#include "viewer/reading/display/SlabModel.h"
#include "viewer/reading/display/WindowPresets.h"
#include "viewer/workspace/LoadingOverlay.h"
#include "viewer/workspace/ToolCursor.h"
#include "viewer/workspace/ViewerHeader.h"
#include "viewer/workspace/ViewportFrame.h"
#include "viewer/workspace/ViewportGrid.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace zorbel {

namespace {

enum Page { EmptyPage, MprPage, ImagePage };

QString utf8(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

ViewerWorkspace::ViewerWorkspace(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("viewerWorkspace"));
    setFocusPolicy(Qt::ClickFocus);
    cursor_ = new ToolCursor(this);
    measurements_ = new MeasurementController(this);
    mpr_ = new MprController(*cursor_, *measurements_, this);
    volume_ = new VolumeController(*cursor_, this);
    image_ = new ImageController(*cursor_, *measurements_, this);
    rail_ = new ToolRail;
    header_ = new ViewerHeader;
    const auto& planes = mpr_->frames();
    grid_ = new ViewportGrid({planes[0], planes[1], planes[2], volume_->frame()});
    pages_ = new QStackedWidget;
    pages_->insertWidget(EmptyPage, buildEmptyPage());
    pages_->insertWidget(MprPage, grid_);
    pages_->insertWidget(ImagePage, image_->frame());
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

    connectRail();
    connectViews();
    grid_->apply(layout_.cellPlan());
    setTool(Tool::Crosshair);
}

ViewerWorkspace::~ViewerWorkspace() = default;

void ViewerWorkspace::connectRail() {
    connect(rail_, &ToolRail::toolChosen, this, &ViewerWorkspace::setTool);
    connect(rail_, &ToolRail::linesToggled, this, &ViewerWorkspace::toggleLines);
    connect(rail_, &ToolRail::slabToggled, this, &ViewerWorkspace::toggleSlab);
    connect(rail_, &ToolRail::slabModeChosen, this, [this](int mode) {
        SlabModel slab = mpr_->slab();
        slab.setMode(static_cast<imaging::SlabMode>(mode));
        mpr_->setSlab(slab);
        showSlabStatus();
    });
    connect(rail_, &ToolRail::slabCountChosen, this, [this](int slices) {
        SlabModel slab = mpr_->slab();
        slab.setSliceCount(slices);
        mpr_->setSlab(slab);
        showSlabStatus();
    });
    connect(rail_, &ToolRail::planeChosen, this, &ViewerWorkspace::setActiveViewport);
    connect(rail_, &ToolRail::stepRequested, this, &ViewerWorkspace::step);
    connect(rail_, &ToolRail::turnRequested, this, &ViewerWorkspace::turnImage);
    connect(rail_, &ToolRail::invertToggled, this, &ViewerWorkspace::toggleInverted);
    connect(rail_, &ToolRail::fitRequested, this, &ViewerWorkspace::fitToView);
    connect(rail_, &ToolRail::resetRequested, this, &ViewerWorkspace::resetView);
    connect(rail_, &ToolRail::layoutChosen, this, &ViewerWorkspace::setLayout);
    connect(rail_, &ToolRail::captureRequested, this, &ViewerWorkspace::captureRequested);
    connect(rail_, &ToolRail::findingsRequested, this, &ViewerWorkspace::findingsRequested);
}

void ViewerWorkspace::connectViews() {
    connect(mpr_, &MprController::viewportPressed, this, &ViewerWorkspace::setActiveViewport);
    connect(mpr_, &MprController::maximiseRequested, this, [this](int viewport) {
        applyChange(layout_.toggleMaximise(viewport));
    });
    connect(mpr_, &MprController::slabChanged, this, &ViewerWorkspace::showSlabStatus);
    connect(mpr_, &MprController::imageDrawn, this, &ViewerWorkspace::imageDrawn);
    connect(volume_, &VolumeController::viewportPressed, this, [this] { setActiveViewport(VolumeViewport); });
    connect(volume_, &VolumeController::maximiseRequested, this, [this] {
        applyChange(layout_.toggleVolumeFocus());
    });
    connect(volume_, &VolumeController::statusText, this, &ViewerWorkspace::statusText);
    connect(measurements_, &MeasurementController::statusText, this, &ViewerWorkspace::statusText);
    connect(image_, &ImageController::imageDrawn, this, &ViewerWorkspace::imageDrawn);
    connect(image_, &ImageController::stateChanged, this, &ViewerWorkspace::onImageStateChanged);
    const auto tellWindow = [this] {
        Q_EMIT statusText(
            QString::fromStdString(windowText(hasVolume() ? mpr_->window() : image_->window())));
        Q_EMIT hangingChanged();
    };
    connect(mpr_, &MprController::positionChanged, this, &ViewerWorkspace::positionChanged);
    connect(mpr_, &MprController::windowDragged, this, tellWindow);
    connect(image_, &ImageController::windowDragged, this, tellWindow);
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

void ViewerWorkspace::setMode(ViewMode mode, const StudyIdentity& study) {
    mode_ = mode;
    layout_.setVolumeShown(hasVolume());
    grid_->apply(layout_.cellPlan());
    for (int viewport = 0; viewport < 4; ++viewport)
        (viewport == VolumeViewport ? volume_->frame() : mpr_->frames()[static_cast<std::size_t>(viewport)])
            ->setActive(viewport == layout_.activeViewport());
    rail_->setAvailable(
        {mode != ViewMode::None, hasVolume(), hasVolume() || (hasImage() && image_->hasSeveralFrames()),
         hasImage() && image_->isGrey()});
    constexpr int noPlane = -1;
    rail_->setActivePlane(hasVolume() ? layout_.activeViewport() : noPlane);
    rail_->setLayoutShown(layout_.layout());
    rail_->setLinesShown(true);
    rail_->setInverted(false);
    rail_->setSlab({});
    header_->setLayoutChip(hasVolume() ? QString::fromStdString(layout_.layoutText()) : QString());
    cursor_->setTool(mode == ViewMode::None ? std::nullopt : std::optional(tool_));
    if (mode == ViewMode::None) {
        header_->setTitle(QStringLiteral("No study selected"));
        header_->setSubtitle({}, {});
        header_->setStudyChip(QStringLiteral("No study loaded"));
        header_->setModeChip({}, {});
        return;
    }
    header_->setTitle(study.shownPatientName());
    header_->setSubtitle(
        study.subtitle(), QStringLiteral("Study Instance UID: %1").arg(study.shownStudyInstanceUID()));
}

void ViewerWorkspace::showVolume(
    const StudyIdentity& study, const std::shared_ptr<const imaging::Image>& image) {
    beginStudy(study);
    measurements_->setImage(image);
    setMode(ViewMode::Mpr, study);
    header_->setStudyChip({});
    header_->setModeChip(
        QStringLiteral("MPR · 3D volume"), QStringLiteral("Volumetric study loaded in MPR mode."));
    image_->clear();
    pages_->setCurrentIndex(MprPage);
    mpr_->setImage(image, study);
    volume_->setImage(image, study);
}

void ViewerWorkspace::showImage(
    const StudyIdentity& study, const std::shared_ptr<const imaging::Image>& image,
    const StudyClassification& kind) {
    beginStudy(study);
    measurements_->setImage(image);
    mpr_->clear();
    volume_->clear();
    pages_->setCurrentIndex(ImagePage);
    image_->setImage(image, study, kind);
    setMode(ViewMode::TwoD, study);
    header_->setStudyChip(QStringLiteral("2D Study"));
    onImageStateChanged();
}

void ViewerWorkspace::beginStudy(const StudyIdentity& study) {
    // Another series of the same study keeps what was recorded.
    if (study.studyInstanceUID == studyInstanceUID_)
        return;
    studyInstanceUID_ = study.studyInstanceUID;
    measurements_->clear();
}

void ViewerWorkspace::reset() {
    studyInstanceUID_.clear();
    measurements_->clear();
    setMode(ViewMode::None, {});
    mpr_->clear();
    volume_->clear();
    image_->clear();
    pages_->setCurrentIndex(EmptyPage);
}

void ViewerWorkspace::perform(ShortcutAction action, int argument) {
    switch (action) {
    case ShortcutAction::StepSlices:
        step(argument);
        break;
    case ShortcutAction::ActivateViewport:
        setActiveViewport(argument);
        break;
    case ShortcutAction::WindowPreset:
        applyPreset(argument);
        break;
    case ShortcutAction::SelectTool:
        setTool(static_cast<Tool>(argument));
        break;
    case ShortcutAction::ToggleSlab:
        toggleSlab();
        break;
    case ShortcutAction::ChangeSlab:
        changeSlab(argument);
        break;
    case ShortcutAction::FitViews:
        fitToView();
        break;
    case ShortcutAction::ResetViews:
        resetView();
        break;
    case ShortcutAction::ToggleMaximise:
        applyChange(layout_.toggleMaximise(layout_.activeViewport()));
        break;
    case ShortcutAction::CenterCrosshair:
        if (hasVolume())
            mpr_->centreCrosshair();
        break;
    case ShortcutAction::SetLayout:
        setLayout(static_cast<Layout>(argument));
        break;
    case ShortcutAction::ToggleOverlays:
        toggleOverlays();
        break;
    case ShortcutAction::ToggleLines:
        toggleLines();
        break;
    case ShortcutAction::ToggleInverted:
        toggleInverted();
        break;
    case ShortcutAction::ShowSheet:
        Q_EMIT shortcutSheetRequested();
        break;
    case ShortcutAction::Cancel:
        measurements_->cancel();
        break;
    case ShortcutAction::DeleteMeasurement:
        measurements_->deleteMeasurement([this](const Measurement& measurement) {
            return hasVolume() ? mpr_->shows(measurement) : image_->shows(measurement);
        });
        break;
    case ShortcutAction::CaptureView:
        Q_EMIT captureRequested();
        break;
    case ShortcutAction::ShowFindings:
        Q_EMIT findingsRequested();
        break;
    }
}

void ViewerWorkspace::setTool(Tool tool) {
    tool_ = tool;
    measurements_->setTool(tool);
    mpr_->setTool(tool);
    image_->setTool(tool);
    rail_->setTool(tool);
    if (measurements_->isMeasuring() && !overlaysShown_)
        toggleOverlays(); // nobody measures what he cannot see
    if (mode_ == ViewMode::None)
        return;
    Q_EMIT hangingChanged();
    cursor_->setTool(tool);
    if (tool == Tool::Crosshair)
        Q_EMIT statusText(
            hasVolume() ? QStringLiteral("MPR crosshair mode enabled")
                        : QStringLiteral("Crosshair mode enabled"));
    else if (tool == Tool::Rotate)
        Q_EMIT statusText(
            hasVolume() ? QStringLiteral("MPR rotation mode enabled")
                        : QStringLiteral("Rotation mode enabled"));
}

void ViewerWorkspace::jumpToMeasurement(int id) {
    const Measurement* measurement = measurements_->list().find(id);
    if (!measurement)
        return;
    const auto jump = MeasurementJump::to(*measurement, mpr_->liveBases());
    if (hasVolume() && !jump.onImage) {
        mpr_->jumpTo(jump);
        setActiveViewport(static_cast<int>(jump.view));
    } else if (hasImage() && jump.onImage) {
        image_->showFrame(jump.slice);
    } else {
        Q_EMIT statusText(QStringLiteral("This measurement was drawn on another series of the study"));
    }
    measurements_->select(id);
}

void ViewerWorkspace::setActiveViewport(int viewport) {
    if (hasVolume())
        applyChange(layout_.setActiveViewport(viewport));
}

void ViewerWorkspace::setLayout(Layout layout) {
    applyChange(layout_.setLayoutFromShortcut(layout));
    rail_->setLayoutShown(layout_.layout());
}

void ViewerWorkspace::applyChange(const LayoutChange& change) {
    if (change.active) {
        for (int viewport = 0; viewport < 4; ++viewport)
            (viewport == VolumeViewport ? volume_->frame()
                                        : mpr_->frames()[static_cast<std::size_t>(viewport)])
                ->setActive(viewport == layout_.activeViewport());
    }
    rail_->setActivePlane(hasVolume() ? layout_.activeViewport() : -1);
    if (!change.activeText.empty())
        Q_EMIT statusText(QString::fromStdString(change.activeText));
    if (change.layout) {
        grid_->apply(layout_.cellPlan());
        rail_->setLayoutShown(layout_.layout());
        header_->setLayoutChip(QString::fromStdString(layout_.layoutText()));
        // The views have their new sizes only after the event loop has come round.
        QTimer::singleShot(0, this, &ViewerWorkspace::fitToView);
    }
    if (!change.layoutText.empty())
        Q_EMIT statusText(QString::fromStdString(change.layoutText));
    if (change.layout)
        Q_EMIT hangingChanged();
}

void ViewerWorkspace::step(double slices) {
    if (hasVolume()) {
        const int active = layout_.activeViewport();
        mpr_->stepPlane(active == VolumeViewport ? AxialViewport : active, slices);
    } else if (hasImage()) {
        image_->step(static_cast<int>(slices));
    }
}

void ViewerWorkspace::fitToView() {
    if (hasVolume()) {
        mpr_->fitToView();
        volume_->fitToView();
    } else if (hasImage()) {
        image_->fitToView();
    }
}

void ViewerWorkspace::resetView() {
    if (hasVolume()) {
        mpr_->resetView();
        volume_->resetView();
    } else if (hasImage()) {
        image_->resetView();
    }
}

void ViewerWorkspace::toggleLines() {
    if (mode_ == ViewMode::None)
        return; // the next study shows its lines
    const bool shown = !mpr_->linesShown();
    mpr_->setLinesShown(shown);
    rail_->setLinesShown(shown);
    if (hasVolume())
        Q_EMIT statusText(
            shown ? QStringLiteral("MPR crosshair enabled") : QStringLiteral("MPR crosshair disabled"));
    else
        Q_EMIT statusText(shown ? QStringLiteral("Crosshair enabled") : QStringLiteral("Crosshair disabled"));
}

void ViewerWorkspace::toggleOverlays() {
    overlaysShown_ = !overlaysShown_;
    mpr_->setOverlaysShown(overlaysShown_);
    volume_->setOverlaysShown(overlaysShown_);
    image_->setOverlaysShown(overlaysShown_);
    measurements_->setShown(overlaysShown_);
    Q_EMIT statusText(overlaysShown_ ? QStringLiteral("Overlays shown") : QStringLiteral("Overlays hidden"));
}

void ViewerWorkspace::toggleSlab() {
    if (!hasVolume())
        return;
    SlabModel slab = mpr_->slab();
    slab.setEnabled(!slab.isEnabled());
    mpr_->setSlab(slab);
    showSlabStatus();
}

void ViewerWorkspace::changeSlab(int steps) {
    if (!hasVolume())
        return;
    SlabModel slab = mpr_->slab();
    if (steps > 0 ? slab.thicken() : slab.thin()) {
        mpr_->setSlab(slab);
        showSlabStatus();
    }
}

void ViewerWorkspace::showSlabStatus() {
    rail_->setSlab(mpr_->slab());
    if (!hasVolume())
        return;
    const int active = layout_.activeViewport();
    const int plane = active == VolumeViewport ? AxialViewport : active;
    Q_EMIT statusText(
        QString::fromStdString(mpr_->slab().statusText(static_cast<imaging::ViewDirection>(plane))));
    Q_EMIT hangingChanged();
}

void ViewerWorkspace::applyPreset(int index) {
    const WindowPreset& preset = windowPresets.at(static_cast<std::size_t>(index));
    if (hasVolume())
        mpr_->setWindow(preset.window());
    else if (hasImage() && image_->isGrey())
        image_->setWindow(preset.window());
    else
        return;
    Q_EMIT statusText(QString::fromStdString(preset.statusText()));
    Q_EMIT hangingChanged();
}

void ViewerWorkspace::turnImage(ToolRail::Turn turn) {
    if (!hasImage())
        return;
    image_->turn(
        turn == ToolRail::Turn::Mirror         ? &Image2DState::mirror
        : turn == ToolRail::Turn::FlipVertical ? &Image2DState::flipVertical
                                               : &Image2DState::rotate180);
    Q_EMIT statusText(QString::fromStdString(image_->state().orientationStatus()));
}

void ViewerWorkspace::toggleInverted() {
    if (!hasImage() || !image_->isGrey())
        return;
    image_->toggleInverted();
    Q_EMIT statusText(utf8(image_->state().toneStatus()));
}

void ViewerWorkspace::onImageStateChanged() {
    if (!hasImage())
        return;
    header_->setModeChip(
        utf8(image_->state().modeChip()),
        QStringLiteral("This non-volumetric study opens in the dedicated 2D viewer."));
    rail_->setInverted(image_->state().isInverted());
}

} // namespace zorbel
