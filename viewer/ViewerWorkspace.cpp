#include "viewer/ViewerWorkspace.h"

#include "viewer/ImageController.h"
#include "viewer/LoadingOverlay.h"
#include "viewer/MprController.h"
#include "viewer/ToolRail.h"
#include "viewer/ViewerHeader.h"
#include "viewer/ViewportFrame.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace zorbel {

namespace {

enum Page { EmptyPage, MprPage, ImagePage };

} // namespace

ViewerWorkspace::ViewerWorkspace(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("viewerWorkspace"));
    setFocusPolicy(Qt::ClickFocus);
    mpr_ = new MprController(this);
    image_ = new ImageController(this);
    rail_ = new ToolRail;
    header_ = new ViewerHeader;
    pages_ = new QStackedWidget;
    pages_->insertWidget(EmptyPage, buildEmptyPage());
    pages_->insertWidget(MprPage, buildGrid());
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

    connect(rail_, &ToolRail::planeChosen, mpr_, &MprController::setActiveViewport);
    connect(rail_, &ToolRail::stepRequested, this, &ViewerWorkspace::step);
    connect(rail_, &ToolRail::fitRequested, this, &ViewerWorkspace::fitToView);
    connect(rail_, &ToolRail::resetRequested, this, &ViewerWorkspace::resetView);
    connect(mpr_, &MprController::activeViewportChanged, rail_, &ToolRail::setActivePlane);
    connect(mpr_, &MprController::imageDrawn, this, &ViewerWorkspace::imageDrawn);
    connect(image_, &ImageController::imageDrawn, this, &ViewerWorkspace::imageDrawn);
}

QWidget* ViewerWorkspace::buildGrid() {
    auto* grid = new QWidget;
    grid->setObjectName(QStringLiteral("viewportGrid"));
    auto* layout = new QGridLayout(grid);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    const auto& frames = mpr_->frames();
    for (int index = 0; index < 4; ++index)
        layout->addWidget(frames[static_cast<std::size_t>(index)], index / 2, index % 2);
    for (int line = 0; line < 2; ++line) {
        layout->setRowStretch(line, 1);
        layout->setColumnStretch(line, 1);
    }
    return grid;
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
    const bool slices = mode == ViewMode::Mpr || (mode == ViewMode::TwoD && image_->hasSeveralFrames());
    rail_->setAvailable(mode != ViewMode::None, mode == ViewMode::Mpr, slices);
    constexpr int noPlane = -1;
    rail_->setActivePlane(mode == ViewMode::Mpr ? mpr_->activeViewport() : noPlane);
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
    setMode(ViewMode::Mpr, study);
    header_->setStudyChip({});
    header_->setModeChip(
        QStringLiteral("MPR · 3D volume"), QStringLiteral("Volumetric study loaded in MPR mode."));
    image_->clear();
    pages_->setCurrentIndex(MprPage);
    mpr_->setImage(image);
}

void ViewerWorkspace::showImage(
    const StudyIdentity& study, const std::shared_ptr<const imaging::Image>& image,
    const StudyClassification& kind) {
    mpr_->clear();
    pages_->setCurrentIndex(ImagePage);
    image_->setImage(image, kind);
    setMode(ViewMode::TwoD, study);
    header_->setStudyChip(QStringLiteral("2D Study"));
    header_->setModeChip(
        image_->showsCorrectedPanorama() ? QStringLiteral("PANO · upright") : QStringLiteral("2D review"),
        QStringLiteral("This non-volumetric study opens in the dedicated 2D viewer."));
}

void ViewerWorkspace::reset() {
    setMode(ViewMode::None, {});
    mpr_->clear();
    image_->clear();
    pages_->setCurrentIndex(EmptyPage);
}

void ViewerWorkspace::step(double slices) {
    if (mode_ == ViewMode::Mpr)
        mpr_->stepActivePlane(slices);
    else if (mode_ == ViewMode::TwoD)
        image_->step(static_cast<int>(slices));
}

void ViewerWorkspace::fitToView() {
    if (mode_ == ViewMode::Mpr)
        mpr_->fitToView();
    else if (mode_ == ViewMode::TwoD)
        image_->fitToView();
}

void ViewerWorkspace::resetView() {
    if (mode_ == ViewMode::Mpr)
        mpr_->resetView();
    else if (mode_ == ViewMode::TwoD)
        image_->resetView();
}

} // namespace zorbel
