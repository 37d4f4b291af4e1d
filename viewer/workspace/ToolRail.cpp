#include "viewer/workspace/ToolRail.h"

#include "base/qt/QtText.h"
#include "base/widgets/Availability.h"
#include "resources/Resources.h"
#include "viewer/reading/display/SlabModel.h"

#include <QComboBox>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QToolButton>

namespace zorbel {

namespace {

constexpr int entryWidth = 64;

} // namespace

ToolRail::ToolRail(QWidget* parent) : QScrollArea(parent) {
    setObjectName(QStringLiteral("viewerToolRailContent"));
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    setFixedWidth(2 * entryWidth + 36); // room for the scroll bar of a low window

    auto* content = new QWidget;
    content->setObjectName(QStringLiteral("viewerToolRail"));
    layout_ = new QGridLayout(content);
    layout_->setContentsMargins(8, 6, 8, 8);
    layout_->setSpacing(2);
    setWidget(content);

    buildNavigation();
    buildPlanes();
    buildOrientation();
    buildDisplay();
    buildLayouts();
    layout_->setRowStretch(row_ + 1, 1);
    showControls({});
}

void ToolRail::buildNavigation() {
    addGroup(QStringLiteral("Navigation"));
    addTool(
        QStringLiteral("window-level"), QStringLiteral("W / L"),
        QStringLiteral("Window / Level — drag to adjust image contrast"), Tool::WindowLevel);
    addTool(
        QStringLiteral("scroll"), QStringLiteral("Scroll"),
        QStringLiteral("Scroll through slices in the active plane"), Tool::Scroll);
    addTool(
        QStringLiteral("pan"), QStringLiteral("Pan"), QStringLiteral("Move the image inside the viewport"),
        Tool::Pan);
    addTool(
        QStringLiteral("zoom"), QStringLiteral("Zoom"), QStringLiteral("Zoom the active viewport"),
        Tool::Zoom);
    lines_ = addEntry(
        QStringLiteral("crosshair"), QStringLiteral("MPR lines"),
        QStringLiteral("Show or hide the linked MPR reference lines"));
    lines_->setCheckable(true);
    lines_->setChecked(true);
    request(lines_, ReadingAction::ToggleLines);
    addTool(
        QStringLiteral("rotate"), QStringLiteral("MPR rotate"),
        QStringLiteral("Coupled rotation: drag any of the four line handles"), Tool::Rotate);
    slab_ = addEntry(
        QStringLiteral("slab"), QStringLiteral("Thick slab"),
        QStringLiteral("Combine adjacent slices into one MPR image"));
    slab_->setCheckable(true);
    request(slab_, ReadingAction::ToggleSlab);
    addTool(
        QStringLiteral("length"), QStringLiteral("Length"),
        QStringLiteral("Measure a distance in millimetres (L) — also reports bone density along the path"),
        Tool::Length);
    addTool(
        QStringLiteral("angle"), QStringLiteral("Angle"), QStringLiteral("Measure a three-point angle (G)"),
        Tool::Angle);
    addTool(
        QStringLiteral("probe"), QStringLiteral("Probe"),
        QStringLiteral("Read the voxel value at a point (B)"), Tool::Probe);
    addTool(
        QStringLiteral("rectangle-roi"), QStringLiteral("Box ROI"),
        QStringLiteral("Rectangular region: area and voxel statistics (K)"), Tool::BoxRoi);
    addTool(
        QStringLiteral("ellipse-roi"), QStringLiteral("Oval ROI"),
        QStringLiteral("Elliptical region: area and voxel statistics (O)"), Tool::OvalRoi);

    slabMode_ = new QComboBox;
    slabMode_->setObjectName(QStringLiteral("slabMode"));
    for (int mode = 0; mode < imaging::slabModeCount; ++mode)
        slabMode_->addItem(qtText(imaging::slabModeName(static_cast<imaging::SlabMode>(mode))));
    slabMode_->setToolTip(QStringLiteral("How the selected slices are combined"));
    slabCount_ = new QSpinBox;
    slabCount_->setObjectName(QStringLiteral("slabCount"));
    slabCount_->setRange(SlabModel::fewestSlices, SlabModel::mostSlices);
    slabCount_->setSingleStep(SlabModel::countStep);
    slabCount_->setSuffix(QStringLiteral(" slices"));
    slabCount_->setButtonSymbols(QAbstractSpinBox::NoButtons); // they would leave no room for the number
    slabCount_->setKeyboardTracking(false); // the first digit of a count is not a count yet
    slabCount_->installEventFilter(this);
    slabCount_->setToolTip(QStringLiteral("Odd number of slices combined around the current plane"));
    for (QWidget* box : {static_cast<QWidget*>(slabMode_), static_cast<QWidget*>(slabCount_)}) {
        box->setFixedSize(entryWidth, 26);
        box->setFocusPolicy(Qt::StrongFocus);
        box->setAccessibleName(box->toolTip());
        place(box);
    }
    slabText_ = new QLabel;
    slabText_->setObjectName(QStringLiteral("slabText"));
    slabText_->setAlignment(Qt::AlignCenter);
    place(slabText_, true);
    needs_.insert(
        needs_.end(), {{slabMode_, ReadingAction::SetSlabMode}, {slabCount_, ReadingAction::SetSlabCount}});
    connect(slabMode_, &QComboBox::activated, this, [this](int mode) {
        Q_EMIT actionRequested(ReadingAction::SetSlabMode, mode);
    });
    connect(slabCount_, &QSpinBox::valueChanged, this, [this](int slices) {
        Q_EMIT actionRequested(ReadingAction::SetSlabCount, slices);
    });
}

void ToolRail::buildPlanes() {
    addGroup(QStringLiteral("Planes"));
    const std::array<std::array<const char*, 2>, 3> planes{
        {{"axial", "Axial"}, {"coronal", "Coronal"}, {"sagittal", "Sagittal"}}};
    for (std::size_t index = 0; index < planes.size(); ++index) {
        const QString caption = QString::fromLatin1(planes[index][1]);
        planes_[index] = addEntry(
            QString::fromLatin1(planes[index][0]), caption,
            QStringLiteral("Make the %1 plane the active one").arg(caption.toLower()));
        planes_[index]->setCheckable(true);
        request(planes_[index], ReadingAction::ActivateViewport, static_cast<int>(index));
    }
    previous_ = addEntry(
        QStringLiteral("prev"), QStringLiteral("Previous"),
        QStringLiteral("Previous slice in the active plane"));
    next_ = addEntry(
        QStringLiteral("next"), QStringLiteral("Next"), QStringLiteral("Next slice in the active plane"));
    for (auto* button : {previous_, next_})
        button->setAutoRepeat(true);
    request(previous_, ReadingAction::StepSlices, -1);
    request(next_, ReadingAction::StepSlices, 1);
}

void ToolRail::buildOrientation() {
    addGroup(QStringLiteral("Orientation"));
    request(
        addEntry(
            QStringLiteral("flip-horizontal"), QStringLiteral("Mirror"),
            QStringLiteral("Mirror the 2D image left to right")),
        ReadingAction::Mirror);
    request(
        addEntry(
            QStringLiteral("flip-vertical"), QStringLiteral("Flip V"),
            QStringLiteral("Flip the 2D image top to bottom")),
        ReadingAction::FlipVertical);
    request(
        addEntry(
            QStringLiteral("rotate-180"), QStringLiteral("Rotate 180"),
            QStringLiteral("Rotate the 2D image by 180 degrees")),
        ReadingAction::Rotate180);
}

void ToolRail::buildDisplay() {
    addGroup(QStringLiteral("Display"));
    auto* fit = addEntry(
        QStringLiteral("fit"), QStringLiteral("Fit to view"),
        QStringLiteral("Fit the current study inside all visible viewports"));
    invert_ = addEntry(
        QStringLiteral("invert"), QStringLiteral("Invert"),
        QStringLiteral("Invert the grayscale of the 2D image (I)"));
    invert_->setCheckable(true);
    auto* reset = addEntry(
        QStringLiteral("reset"), QStringLiteral("Reset view"),
        QStringLiteral("Restore the original camera and slice framing"));
    request(fit, ReadingAction::FitViews);
    request(invert_, ReadingAction::ToggleInverted);
    request(reset, ReadingAction::ResetViews);
    auto* capture = addEntry(
        QStringLiteral("report"), QStringLiteral("Capture"),
        QStringLiteral("Capture the active viewport, overlays included, for the Word report (Ctrl+K)"));
    request(capture, ReadingAction::CaptureView);
    auto* findings = addEntry(
        QStringLiteral("findings"), QStringLiteral("Findings"),
        QStringLiteral("Record findings by tooth (FDI) or region for the report (Ctrl+F)"));
    request(findings, ReadingAction::ShowFindings);
    auto* images = addEntry(
        QStringLiteral("key-images"), QStringLiteral("Key images"),
        QStringLiteral("Look at the captured key images and choose what goes into the report"));
    request(images, ReadingAction::ShowKeyImages);
}

void ToolRail::buildLayouts() {
    addGroup(QStringLiteral("Layout"));
    const std::array<std::array<QString, 2>, 4> looks{
        {{QStringLiteral("layout-quad"),
          QStringLiteral("Standard hanging: axial, coronal, sagittal and 3D (Ctrl+1)")},
         {QStringLiteral("layout-single"),
          QStringLiteral("The active viewport alone, full window (Ctrl+2, or Space)")},
         {QStringLiteral("layout-side-by-side"),
          QStringLiteral("The active viewport beside one companion (Ctrl+3)")},
         {QStringLiteral("layout-primary-plus-three"),
          QStringLiteral("The active viewport large, the other three stacked beside it (Ctrl+4)")}}};
    for (std::size_t index = 0; index < looks.size(); ++index) {
        const auto layout = static_cast<Layout>(index);
        layouts_[index] = addEntry(looks[index][0], qtText(layoutLabel(layout)), looks[index][1]);
        layouts_[index]->setCheckable(true);
        request(layouts_[index], ReadingAction::SetLayout, static_cast<int>(index));
    }
}

void ToolRail::addGroup(const QString& caption) {
    auto* label = new QLabel(caption);
    QFont capitals = label->font();
    capitals.setCapitalization(QFont::AllUppercase);
    label->setFont(capitals);
    label->setObjectName(QStringLiteral("railGroup"));
    label->setAlignment(Qt::AlignCenter);
    place(label, true);
}

void ToolRail::place(QWidget* widget, bool wholeRow) {
    if (wholeRow) {
        row_ += column_ > 0 ? 1 : 0;
        layout_->addWidget(widget, row_++, 0, 1, 2);
        column_ = 0;
        return;
    }
    layout_->addWidget(widget, row_, column_);
    row_ += column_;
    column_ = 1 - column_;
}

QToolButton* ToolRail::addEntry(const QString& id, const QString& caption, const QString& toolTip) {
    auto* button = new QToolButton;
    button->setObjectName(QStringLiteral("rail-") + id);
    button->setIcon(toolIcon(id));
    button->setIconSize(QSize(20, 20));
    button->setText(caption);
    button->setToolTip(toolTip);
    button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    button->setMinimumWidth(entryWidth);
    button->setFocusPolicy(Qt::TabFocus); // a click must not take the arrow keys away from the viewports
    place(button);
    return button;
}

QToolButton* ToolRail::addTool(const QString& id, const QString& caption, const QString& toolTip, Tool tool) {
    auto* button = addEntry(id, caption, toolTip);
    button->setCheckable(true);
    tools_[tool] = button;
    // A second click puts the tool down again: the crosshair is what is there without a tool.
    connect(button, &QToolButton::clicked, this, [this, tool](bool checked) {
        Q_EMIT actionRequested(ReadingAction::SelectTool, static_cast<int>(checked ? tool : Tool::Crosshair));
    });
    return button;
}

bool ToolRail::eventFilter(QObject* watched, QEvent* event) {
    const bool override = event->type() == QEvent::ShortcutOverride;
    if (watched != slabCount_ || (!override && event->type() != QEvent::KeyPress))
        return QScrollArea::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Escape) {
        // Done: the keys are the viewports' again.
        event->accept();
        if (!override) {
            if (key == Qt::Key_Escape)
                slabCount_->setValue(slabCount_->value());
            else
                slabCount_->interpretText();
            slabCount_->clearFocus();
        }
        return true;
    }
    // A box that takes every letter, to write none, would leave the tools without their keys.
    const bool own = (key >= Qt::Key_0 && key <= Qt::Key_9) || key == Qt::Key_Backspace ||
                     key == Qt::Key_Delete || key == Qt::Key_Left || key == Qt::Key_Right ||
                     key == Qt::Key_Home || key == Qt::Key_End;
    if (override && !own) {
        event->ignore();
        return true;
    }
    return QScrollArea::eventFilter(watched, event);
}

void ToolRail::request(QToolButton* button, ReadingAction action, int argument) {
    needs_.emplace_back(button, action);
    connect(button, &QToolButton::clicked, this, [this, action, argument] {
        Q_EMIT actionRequested(action, argument);
    });
}

void ToolRail::setTool(Tool tool) {
    for (const auto& [candidate, button] : tools_)
        button->setChecked(candidate == tool);
}

void ToolRail::setLayoutShown(Layout layout) {
    for (std::size_t index = 0; index < layouts_.size(); ++index)
        layouts_[index]->setChecked(static_cast<Layout>(index) == layout);
}

void ToolRail::setSlab(const SlabModel& slab) {
    const QSignalBlocker quiet(slabCount_);
    slab_->setChecked(slab.isEnabled());
    slabText_->setText(QString::fromStdString(slab.railText()));
    slabMode_->setCurrentIndex(static_cast<int>(slab.mode()));
    slabCount_->setValue(slab.sliceCount());
}

void ToolRail::showControls(const ModeControls& controls) {
    for (const auto& [tool, button] : tools_)
        setAvailable(*button, controls.tools.count(tool) > 0, controls.notHere);
    for (const auto& [control, action] : needs_)
        setAvailable(*control, controls.actions.count(action) > 0, controls.notHere);
    for (std::size_t index = 0; index < planes_.size(); ++index)
        planes_[index]->setChecked(static_cast<int>(index) == controls.markedPlane);
    lines_->setChecked(controls.linesShown);
    invert_->setChecked(controls.inverted);
    setSlab(controls.slab);
}

} // namespace zorbel
