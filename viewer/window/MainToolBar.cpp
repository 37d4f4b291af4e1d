#include "viewer/window/MainToolBar.h"

#include "base/widgets/Availability.h"
#include "resources/Resources.h"
#include "viewer/widgets/ElidedLabel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSvgWidget>
#include <QToolButton>
#include <QVBoxLayout>

namespace zorbel {

namespace {

constexpr int longestIdentity = 380; // pixels; the actions need the rest

} // namespace

MainToolBar::MainToolBar(const UserProfile& profile, const QString& apiBaseUrl, QWidget* parent)
    : QToolBar(QStringLiteral("Main"), parent) {
    setObjectName(QStringLiteral("mainToolBar"));
    setMovable(false);
    setContextMenuPolicy(Qt::PreventContextMenu); // its menu would let the toolbar be hidden for good

    auto* logo = new QSvgWidget(resourcePath(QStringLiteral("logo-zorbel-toolbar.svg")));
    logo->setFixedSize(118, 30);
    auto* logoFrame = new QWidget;
    auto* logoLayout = new QHBoxLayout(logoFrame);
    logoLayout->setContentsMargins(6, 0, 16, 0);
    logoLayout->addWidget(logo);
    addWidget(logoFrame);

    auto* identity = new QWidget;
    identity->setObjectName(QStringLiteral("identityChip"));
    auto* who = new ElidedLabel(
        QStringLiteral("%1  •  %2")
            .arg(
                profile.name.isEmpty() ? profile.email : profile.name,
                profile.organizationName.isEmpty() ? profile.organizationId : profile.organizationName));
    who->setObjectName(QStringLiteral("identityText"));
    who->setMaximumWidth(longestIdentity);
    auto* caption = new QLabel(QStringLiteral("Clinical workspace"));
    caption->setObjectName(QStringLiteral("identityCaption"));
    auto* identityLayout = new QVBoxLayout(identity);
    identityLayout->setContentsMargins(12, 3, 12, 3);
    identityLayout->setSpacing(0);
    identityLayout->addWidget(who);
    identityLayout->addWidget(caption);
    identity->setToolTip(QStringLiteral("Authenticated through %1").arg(apiBaseUrl));
    addWidget(identity);

    auto* gap = new QWidget;
    gap->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    addWidget(gap);

    auto* studies = addButton(
        QStringLiteral("studies"), QStringLiteral("Studies"), QStringLiteral("Show or hide the study list"));
    studies->setCheckable(true);
    studies->setChecked(true);
    retry_ = addButton(
        QStringLiteral("retry"), QStringLiteral("Retry from PACS"),
        QStringLiteral("Retry loading the current study through the secure Zorbel gateway."));
    setRetryAvailable(false, false);
    report_ = addButton(
        QStringLiteral("word"), QStringLiteral("Report in Word"),
        QStringLiteral("Open a local editable Word report. Every Word Save creates an immutable Zorbel "
                       "version."));
    diagnostics_ = addButton(
        QStringLiteral("utilities-terminal"), QStringLiteral("Diagnostics"),
        QStringLiteral("Show technical diagnostics (Ctrl+D)"));
    diagnostics_->setCheckable(true);
    auto* settings = addButton(
        QStringLiteral("settings"), QStringLiteral("Settings"),
        QStringLiteral("Viewer, connection, and private cache settings"));
    secondary_ = {diagnostics_, settings, report_};
    auto* signOut = addButton(
        QStringLiteral("signout"), QStringLiteral("Sign out"),
        QStringLiteral("Clear the in-memory Zorbel session and close the viewer"));
    connect(studies, &QToolButton::toggled, this, &MainToolBar::studiesToggled);
    connect(retry_, &QToolButton::clicked, this, &MainToolBar::retryRequested);
    connect(report_, &QToolButton::clicked, this, &MainToolBar::reportRequested);
    connect(settings, &QToolButton::clicked, this, &MainToolBar::settingsRequested);
    connect(diagnostics_, &QToolButton::clicked, this, &MainToolBar::diagnosticsRequested);
    connect(signOut, &QToolButton::clicked, this, &MainToolBar::signOutRequested);
}

QToolButton* MainToolBar::addButton(const QString& id, const QString& text, const QString& toolTip) {
    auto* button = new QToolButton;
    button->setObjectName(QStringLiteral("toolbar-") + id);
    button->setIcon(toolIcon(id));
    button->setIconSize(QSize(18, 18));
    button->setText(text);
    button->setToolTip(toolTip);
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setFocusPolicy(Qt::TabFocus);
    addWidget(button);
    return button;
}

void MainToolBar::resizeEvent(QResizeEvent* event) {
    QToolBar::resizeEvent(event);
    if (secondary_.empty())
        return;
    const bool captioned = secondary_.front()->toolButtonStyle() == Qt::ToolButtonTextBesideIcon;
    if (captioned)
        fullWidth_ = sizeHint().width();
    if (const bool fits = width() >= fullWidth_; fits != captioned)
        for (QToolButton* button : secondary_)
            button->setToolButtonStyle(fits ? Qt::ToolButtonTextBesideIcon : Qt::ToolButtonIconOnly);
}

void MainToolBar::setRetryAvailable(bool studyKnown, bool loading) {
    setAvailable(
        *retry_, studyKnown && !loading,
        loading ? QStringLiteral("A study is being loaded.")
                : QStringLiteral("No study has been opened yet."));
}

void MainToolBar::setReportPreparing(bool preparing) {
    setAvailable(*report_, !preparing, QStringLiteral("The report is being prepared."));
}

void MainToolBar::setDiagnosticsShown(bool shown) {
    diagnostics_->setChecked(shown);
}

} // namespace zorbel
