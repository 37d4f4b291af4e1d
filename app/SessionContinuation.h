#pragma once

#include "signin/session/SessionCheck.h"
#include "signin/session/SessionRenewal.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

namespace zorbel {

class LoginDialog;
class MainWindow;
class ZorbelApiClient;

/// Keeps the user's session going while the main window is open: notices its end, asks for the sign-in over
/// what is open, and lets the window close for another user who signs in. Outlives the window. User-interface
/// thread.
class SessionContinuation : public QObject {
    Q_OBJECT

public:
    /// client: signed in.
    explicit SessionContinuation(std::shared_ptr<ZorbelApiClient> client);

    /// For whoever is refused by the service.
    SessionRequest request() { return renewal_.request(); }
    void attach(MainWindow& window);
    /// When the window is gone: the client of the other user who goes on. Null where the program ends.
    std::shared_ptr<ZorbelApiClient> successor() const;

private:
    using Answer = std::function<void(bool signedIn)>;

    void addNotice();
    void ask(const std::shared_ptr<ZorbelApiClient>& fresh, const Answer& answer);
    void openDialog(const std::shared_ptr<ZorbelApiClient>& fresh, const Answer& answer);
    void askWhoGoesOn();

    std::shared_ptr<ZorbelApiClient> client_;
    SessionRenewal renewal_;
    SessionCheck check_;
    QPointer<MainWindow> window_;
    bool handsOver_ = false; ///< the window closes for the other user
};

} // namespace zorbel
