#include "viewer/mpr/VolumePane.h"

#include "base/qt/QtText.h"
#include "base/widgets/Availability.h"
#include "imaging/rendering/VolumeView.h"
#include "resources/Resources.h"
#include "viewer/tools/ViewTool.h"
#include "viewer/views/OverlayTexts.h"
#include "viewer/views/ViewNotice.h"
#include "viewer/views/ViewportOverlay.h"
#include "viewer/workspace/ViewportFrame.h"

#include <QApplication>
#include <QColor>
#include <QComboBox>
#include <QEvent>
#include <QToolButton>

namespace zorbel {

VolumePane::VolumePane(QObject* parent) : QObject(parent) {
    view_ = new imaging::VolumeView;
    view_->setObjectName(QStringLiteral("volumeView"));
    view_->setAccessibleName(QStringLiteral("3D view"));
    view_->setFocusPolicy(Qt::ClickFocus);
    frame_ = new ViewportFrame(QStringLiteral("3D VOLUME"), QColor(0xFF, 0xD9, 0x3D), view_);
    frame_->setObjectName(QStringLiteral("volumeViewport"));
    view_->installEventFilter(this);
    texts_ = new ViewportOverlay(view_);
    notice_ = new ViewNotice(view_);
    presets_ = addList(QStringLiteral("volumePreset"), QStringLiteral("Colours and opacity of the 3D view"));
    for (const auto name : imaging::volumePresetNames)
        presets_->addItem(qtText(name));
    blends_ = addList(
        QStringLiteral("volumeBlend"), QStringLiteral("How the values along a line of sight are combined"));
    for (const auto name : imaging::volumeBlendModeNames)
        blends_->addItem(qtText(name));
    enabled_ = addButton(
        QStringLiteral("volume"), QStringLiteral("volumeEnabled"),
        QStringLiteral("Turn volume rendering on or off"));
    enabled_->setCheckable(true);
    auto* maximise = addButton(
        QStringLiteral("maximise"), QStringLiteral("volumeMaximise"),
        QStringLiteral("Maximize or restore the 3D viewport"));
    auto* reset = addButton(
        QStringLiteral("reset"), QStringLiteral("volumeReset"), QStringLiteral("Reset the 3D camera"));

    connect(frame_, &ViewportFrame::pressed, this, &VolumePane::pressed);
    connect(view_, &imaging::VolumeView::viewChanged, this, &VolumePane::updateLetters);
    connect(view_, &imaging::VolumeView::volumeReady, this, &VolumePane::updateLetters);
    connect(view_, &imaging::VolumeView::noticeChanged, notice_, &ViewNotice::setText);
    connect(maximise, &QToolButton::clicked, this, &VolumePane::maximiseRequested);
    connect(reset, &QToolButton::clicked, view_, &imaging::VolumeView::resetCamera);
    connect(presets_, &QComboBox::activated, this, [this](int index) {
        display_.setPreset(static_cast<imaging::VolumePreset>(index));
        view_->setPreset(display_.preset());
        Q_EMIT statusText(qtText(display_.presetText()));
    });
    connect(blends_, &QComboBox::activated, this, [this](int index) {
        display_.setBlendMode(static_cast<imaging::VolumeBlendMode>(index));
        view_->setBlendMode(display_.blendMode());
        Q_EMIT statusText(qtText(display_.blendText()));
    });
    connect(enabled_, &QToolButton::clicked, this, [this](bool on) {
        Q_EMIT statusText(qtText(display_.setEnabled(on)));
        show();
    });
    clear();
}

QComboBox* VolumePane::addList(const QString& objectName, const QString& toolTip) {
    auto* list = new QComboBox;
    list->setObjectName(objectName);
    list->setToolTip(toolTip);
    list->setFocusPolicy(Qt::StrongFocus);
    list->setAccessibleName(toolTip);
    list->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    list->setMinimumWidth(54); // gives way, so that the 3D view asks for no more room than a plane
    frame_->addToBar(list);
    return list;
}

QToolButton* VolumePane::addButton(const QString& icon, const QString& objectName, const QString& toolTip) {
    auto* button = new QToolButton;
    button->setObjectName(objectName);
    button->setIcon(toolIcon(icon));
    button->setIconSize(QSize(16, 16));
    button->setToolTip(toolTip);
    button->setFocusPolicy(Qt::TabFocus); // a click must not take the arrow keys away from the viewports
    button->setAccessibleName(toolTip);
    frame_->addToBar(button);
    return button;
}

void VolumePane::setImage(
    const std::shared_ptr<const imaging::Image>& image, const StudyIdentity& study,
    const std::string& modality) {
    display_.setImage(image->geometry().dimensions(), modality);
    view_->setImage(image);
    view_->setPreset(display_.preset());
    view_->setBlendMode(display_.blendMode());
    texts_->setCorner(ViewportOverlay::TopLeft, OverlayTexts::patient(study, image->metadata()));
    show();
    updateLetters();
}

void VolumePane::clear() {
    display_.setImage({0, 0, 0}, {});
    view_->clear();
    texts_->clear();
    show();
    frame_->setInfo(qtText(VolumeDisplay::readyText));
}

void VolumePane::show() {
    const bool hasVolume = view_->image() != nullptr;
    view_->setRenderingEnabled(display_.isEnabled());
    frame_->setInfo(qtText(
        display_.isEnabled()      ? VolumeDisplay::shownText
        : !hasVolume              ? VolumeDisplay::readyText
        : display_.isVolumetric() ? VolumeDisplay::pausedText
                                  : VolumeDisplay::unavailableText));
    presets_->setCurrentIndex(static_cast<int>(display_.preset()));
    blends_->setCurrentIndex(static_cast<int>(display_.blendMode()));
    enabled_->setChecked(display_.isEnabled());
    for (QWidget* control : std::initializer_list<QWidget*>{presets_, blends_, enabled_})
        setAvailable(*control, hasVolume, QStringLiteral("No volume is shown."));
}

DisplayProperties VolumePane::displayProperties() const {
    DisplayProperties properties{"3D", {}};
    properties.addVolumeRendering(display_);
    const auto drawn = view_->drawnDimensions();
    properties.add("drawn", std::vector<double>(drawn.begin(), drawn.end()));
    properties.add("reduced", view_->isReduced());
    properties.add("stillMilliseconds", view_->stillMilliseconds());
    if (!view_->notice().isEmpty())
        properties.add("notice", view_->notice().toStdString());
    return properties;
}

void VolumePane::fitToView() {
    view_->fitToView();
}

void VolumePane::resetView() {
    view_->resetCamera();
}

void VolumePane::setOverlaysShown(bool shown) {
    texts_->setVisible(shown);
}

QPixmap VolumePane::capture() {
    if (!view_->isVisible())
        return {};
    QApplication::setOverrideCursor(Qt::WaitCursor);
    view_->completePicture();
    QApplication::restoreOverrideCursor();
    // A widget's own grab has what lies over it, in the screen's pixels, and neither the pointer nor other
    // windows.
    return view_->grab();
}

void VolumePane::setTool(std::optional<Tool> tool) {
    tool_ = tool;
    showCursor(false);
}

void VolumePane::showCursor(bool pressed) {
    if (tool_)
        view_->setCursor(ViewTool::cursorOf(*tool_, pressed, view_->devicePixelRatioF()));
    else
        view_->unsetCursor();
}

bool VolumePane::eventFilter(QObject* watched, QEvent* event) {
    const auto type = event->type();
    if (watched == view_ && (type == QEvent::Enter || type == QEvent::MouseButtonRelease))
        showCursor(false);
    else if (watched == view_ && type == QEvent::MouseButtonPress)
        showCursor(true);
    return QObject::eventFilter(watched, event);
}

void VolumePane::updateLetters() {
    texts_->setLetters(view_->isReady() ? view_->orientationLabels() : imaging::OrientationLabels());
}

} // namespace zorbel
