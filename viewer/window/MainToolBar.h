#pragma once

#include "api/UserProfile.h"

#include <QToolBar>

#include <vector>

class QToolButton;

namespace zorbel {

/// The toolbar named "Main": logo, who is signed in, and the actions on the whole workspace. In a narrow
/// window the less needed actions show their icons alone and a long name is cut, so that the sign-out stays
/// in sight.
class MainToolBar : public QToolBar {
    Q_OBJECT

public:
    /// apiBaseUrl: the service that vouches for the profile.
    MainToolBar(const UserProfile& profile, const QString& apiBaseUrl, QWidget* parent = nullptr);

    void setRetryAvailable(bool studyKnown, bool loading);
    void setReportPreparing(bool preparing);
    /// Whether the button shows the pane as open.
    void setDiagnosticsShown(bool shown);

Q_SIGNALS:
    void studiesToggled(bool shown);
    void retryRequested();
    void reportRequested();
    void settingsRequested();
    void diagnosticsRequested();
    void signOutRequested();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QToolButton* addButton(const QString& id, const QString& text, const QString& toolTip);

    QToolButton* retry_ = nullptr;
    QToolButton* report_ = nullptr;
    QToolButton* diagnostics_ = nullptr;
    std::vector<QToolButton*> secondary_;
    int fullWidth_ = 0; ///< with all captions
};

} // namespace zorbel
