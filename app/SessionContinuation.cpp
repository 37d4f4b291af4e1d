#include "app/SessionContinuation.h"

#include "api/ZorbelApiClient.h"
#include "signin/LoginDialog.h"
#include "viewer/window/MainWindow.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>
#include <QToolButton>

#include <chrono>
#include <utility>

namespace zorbel {

namespace {

/// Both names may be the same where somebody works for two clinics.
QString nameOf(const UserProfile& profile) {
    const QString name = profile.name.isEmpty() ? profile.email : profile.name;
    return profile.organizationName.isEmpty() ? name
                                              : QStringLiteral("%1 (%2)").arg(name, profile.organizationName);
}

/// A dialog now would tear the reader's hand off what it holds.
bool isInGesture() {
    return QApplication::mouseButtons() != Qt::NoButton || QApplication::activePopupWidget();
}

} // namespace

SessionContinuation::SessionContinuation(std::shared_ptr<ZorbelApiClient> client)
    : client_(std::move(client)),
      renewal_(client_, [this](const auto& fresh, const auto& answer) { ask(fresh, answer); }),
      check_(client_) {}

void SessionContinuation::attach(MainWindow& window) {
    window_ = &window;
    addNotice();
    connect(&renewal_, &SessionRenewal::renewed, &window, &MainWindow::sessionRenewed);
    connect(&renewal_, &SessionRenewal::otherUserSignedIn, &window, [this] { askWhoGoesOn(); });
    connect(&window, &MainWindow::closingGivenUp, this, [this] {
        if (std::exchange(handsOver_, false))
            renewal_.dismissOther();
    });
    connect(&window, &MainWindow::sessionEnding, this, [this] {
        renewal_.stop();
        check_.stop();
    });
}

std::shared_ptr<ZorbelApiClient> SessionContinuation::successor() const {
    return handsOver_ ? renewal_.other() : nullptr;
}

void SessionContinuation::addNotice() {
    auto* notice = new QLabel(QStringLiteral("Your session has ended"));
    notice->setObjectName(QStringLiteral("statusSession"));
    notice->setToolTip(QStringLiteral(
        "What you record is saved on this computer. Loading studies and syncing reports need a sign-in."));
    auto* button = new QToolButton;
    button->setObjectName(QStringLiteral("statusSignIn"));
    button->setText(QStringLiteral("Sign in…"));
    button->setToolTip(QStringLiteral("Sign in again to go on where you were"));
    window_->statusBar()->addPermanentWidget(notice);
    window_->statusBar()->addPermanentWidget(button);
    const auto show = [this, notice, button] {
        const bool ended = renewal_.state() != SessionRenewal::State::Valid;
        notice->setVisible(ended);
        button->setVisible(ended);
    };
    show();
    connect(&renewal_, &SessionRenewal::stateChanged, notice, show);
    connect(button, &QToolButton::clicked, this, [this] { renewal_.require([](bool) {}); });
}

void SessionContinuation::ask(const std::shared_ptr<ZorbelApiClient>& fresh, const Answer& answer) {
    if (!window_) {
        answer(false);
        return;
    }
    if (!isInGesture()) {
        openDialog(fresh, answer);
        return;
    }
    QTimer::singleShot(
        std::chrono::milliseconds(100), window_, [this, fresh, answer] { ask(fresh, answer); });
}

void SessionContinuation::openDialog(const std::shared_ptr<ZorbelApiClient>& fresh, const Answer& answer) {
    auto* dialog =
        new LoginDialog(fresh, LoginDialog::EndedSession{client_->profile().email}, window_.data());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::finished, this, [answer](int result) { answer(result == QDialog::Accepted); });
    dialog->show(); // before all windows: not only the main window waits for it
    dialog->raise();
    dialog->activateWindow();
}

void SessionContinuation::askWhoGoesOn() {
    const QString reader = nameOf(client_->profile());
    const QString other = nameOf(renewal_.other()->profile());
    auto* box = new QMessageBox(
        QMessageBox::NoIcon, QStringLiteral("Another user signed in"),
        QStringLiteral(
            "%1 signed in, but the viewer is open for %2.\n\nTo go on as %1, the viewer saves what "
            "%2 recorded and closes the study first.")
            .arg(other, reader),
        QMessageBox::NoButton, window_);
    box->setObjectName(QStringLiteral("otherUserBox"));
    box->setTextFormat(Qt::PlainText);
    auto* goOn = box->addButton(QStringLiteral("Save, Close and Go On"), QMessageBox::AcceptRole);
    box->setDefaultButton(goOn);
    box->setEscapeButton(box->addButton(QStringLiteral("Keep the Study Open"), QMessageBox::RejectRole));
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::finished, this, [this, box, goOn] {
        handsOver_ = box->clickedButton() == goOn;
        if (handsOver_)
            window_->close();
        else
            renewal_.dismissOther();
    });
    box->open();
}

} // namespace zorbel
