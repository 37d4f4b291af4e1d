#pragma once

#include "api/UserProfile.h"

#include <QToolBar>

class QToolButton;

namespace zorbel {

/// The toolbar named "Main": logo, who is signed in, and the actions on the whole workspace.
class MainToolBar : public QToolBar {
    Q_OBJECT

public:
    /// apiBaseUrl: the service that vouches for the profile.
    MainToolBar(const UserProfile& profile, const QString& apiBaseUrl, QWidget* parent = nullptr);

    void setRetryEnabled(bool enabled);

Q_SIGNALS:
    void studiesToggled(bool shown);
    void retryRequested();
    void signOutRequested();

private:
    QToolButton* addButton(const QString& id, const QString& text, const QString& toolTip);

    QToolButton* retry_ = nullptr;
};

} // namespace zorbel
