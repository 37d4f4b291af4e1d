#pragma once

#include "api/UserProfile.h"
#include "base/CancelFlag.h"

#include <QDialog>
#include <QFutureWatcher>

#include <memory>

class QLabel;
class QLineEdit;
class QPushButton;
class QScrollArea;
class QVBoxLayout;

namespace zorbel {

class ZorbelApiClient;

/// Asks for e-mail and password and signs in on a worker thread; accepted once the client holds a session.
/// Closing it while a sign-in runs ends that sign-in without waiting for it and leaves the client signed out.
class LoginDialog : public QDialog {
    Q_OBJECT

public:
    /// Whose session has ended while something of theirs is open.
    struct EndedSession {
        QString email;
    };

    explicit LoginDialog(std::shared_ptr<ZorbelApiClient> client, QWidget* parent = nullptr);
    /// For the same user again; "Not now" rejects it. client: a fresh one.
    LoginDialog(std::shared_ptr<ZorbelApiClient> client, const EndedSession& ended, QWidget* parent);
    ~LoginDialog() override;

    void done(int result) override;

private:
    struct Verification;

    LoginDialog(std::shared_ptr<ZorbelApiClient> client, const EndedSession* ended, QWidget* parent);
    void addHeading(QVBoxLayout* column);
    void addFields(QVBoxLayout* column);
    void addSubmit(QVBoxLayout* column);
    void addNotNow(QVBoxLayout* column);
    void addConnection(QVBoxLayout* column);
    QLineEdit* addField(QVBoxLayout* column, const QString& caption, const QString& objectName);
    void submit();
    void showOutcome();
    void showError(const QString& message);
    void setVerifying(bool verifying);
    /// Ends a running sign-in whose result nobody will take.
    void abandonVerification();

    std::shared_ptr<ZorbelApiClient> client_;
    const bool again_;                           ///< over what is open
    std::shared_ptr<Verification> verification_; ///< of the sign-in under way, else null
    QFutureWatcher<LoginOutcome> watcher_;
    QLineEdit* email_ = nullptr;
    QLineEdit* password_ = nullptr;
    QScrollArea* errorArea_ = nullptr;
    QLabel* error_ = nullptr;
    QPushButton* button_ = nullptr;
};

} // namespace zorbel
