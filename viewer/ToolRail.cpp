#include "viewer/ToolRail.h"

#include "resources/Resources.h"

#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

namespace zorbel {

ToolRail::ToolRail(QWidget* parent) : QScrollArea(parent) {
    setObjectName(QStringLiteral("viewerToolRailContent"));
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFixedWidth(96);

    auto* content = new QWidget;
    content->setObjectName(QStringLiteral("viewerToolRail"));
    layout_ = new QVBoxLayout(content);
    layout_->setContentsMargins(8, 10, 8, 10);
    layout_->setSpacing(4);
    setWidget(content);

    addGroup(QStringLiteral("Planes"));
    const std::array<std::array<const char*, 2>, 3> planes{
        {{"axial", "Axial"}, {"coronal", "Coronal"}, {"sagittal", "Sagittal"}}};
    for (std::size_t index = 0; index < planes.size(); ++index) {
        const QString caption = QString::fromLatin1(planes[index][1]);
        planes_[index] = addEntry(
            QString::fromLatin1(planes[index][0]), caption,
            QStringLiteral("Make the %1 plane the active one").arg(caption.toLower()));
        planes_[index]->setCheckable(true);
        connect(planes_[index], &QToolButton::clicked, this, [this, index] {
            Q_EMIT planeChosen(static_cast<int>(index));
        });
    }
    previous_ = addEntry(
        QStringLiteral("prev"), QStringLiteral("Previous"),
        QStringLiteral("Previous slice in the active plane"));
    next_ = addEntry(
        QStringLiteral("next"), QStringLiteral("Next"), QStringLiteral("Next slice in the active plane"));
    for (auto* button : {previous_, next_})
        button->setAutoRepeat(true);
    connect(previous_, &QToolButton::clicked, this, [this] { Q_EMIT stepRequested(-1); });
    connect(next_, &QToolButton::clicked, this, [this] { Q_EMIT stepRequested(1); });

    addGroup(QStringLiteral("Display"));
    fit_ = addEntry(
        QStringLiteral("fit"), QStringLiteral("Fit to view"),
        QStringLiteral("Fit the current study inside all visible viewports"));
    reset_ = addEntry(
        QStringLiteral("reset"), QStringLiteral("Reset view"),
        QStringLiteral("Restore the original camera and slice framing"));
    connect(fit_, &QToolButton::clicked, this, &ToolRail::fitRequested);
    connect(reset_, &QToolButton::clicked, this, &ToolRail::resetRequested);
    layout_->addStretch(1);
    setAvailable(false, false, false);
}

void ToolRail::addGroup(const QString& caption) {
    auto* label = new QLabel(caption);
    QFont capitals = label->font();
    capitals.setCapitalization(QFont::AllUppercase);
    label->setFont(capitals);
    label->setObjectName(QStringLiteral("railGroup"));
    label->setAlignment(Qt::AlignCenter);
    layout_->addWidget(label);
}

QToolButton* ToolRail::addEntry(const QString& id, const QString& caption, const QString& toolTip) {
    auto* button = new QToolButton;
    button->setObjectName(QStringLiteral("rail-") + id);
    button->setIcon(toolIcon(id));
    button->setIconSize(QSize(22, 22));
    button->setText(caption);
    button->setToolTip(toolTip);
    button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    button->setFocusPolicy(Qt::TabFocus); // a click must not take the arrow keys away from the viewports
    layout_->addWidget(button);
    return button;
}

void ToolRail::setActivePlane(int viewport) {
    for (std::size_t index = 0; index < planes_.size(); ++index)
        planes_[index]->setChecked(static_cast<int>(index) == viewport);
}

void ToolRail::setAvailable(bool hasImage, bool hasPlanes, bool hasSlices) {
    for (auto* plane : planes_)
        plane->setEnabled(hasPlanes);
    for (auto* button : {previous_, next_})
        button->setEnabled(hasSlices);
    for (auto* button : {fit_, reset_})
        button->setEnabled(hasImage);
}

} // namespace zorbel
