#pragma once

#include "api/SessionRequest.h"

#include <QObject>

#include <functional>
#include <memory>
#include <vector>

namespace zorbel {

class ZorbelApiClient;

/// The end of a session, and its renewal: however many requests meet it, the user is asked once, and all who
/// wait learn what came of it. The sign-in happens on a client of its own, whose session the program's client
/// takes over only where it is the same user's and organization's; anybody else's stays apart from what was
/// open before. User-interface thread.
class SessionRenewal : public QObject {
    Q_OBJECT

public:
    enum class State {
        Valid,
        Asking,   ///< the user is asked to sign in
        Declined, ///< the user goes on without the service
        OtherUser ///< somebody else signed in
    };
    /// Asks the user to sign in with that client, and tells once whether somebody did.
    using Ask =
        std::function<void(std::shared_ptr<ZorbelApiClient> client, std::function<void(bool signedIn)> done)>;

    /// client: signed in. Its session's end asks by itself, once.
    SessionRenewal(std::shared_ptr<ZorbelApiClient> client, Ask ask, QObject* parent = nullptr);

    State state() const { return state_; }
    /// For whoever was refused by the service: asks, also where that was declined before. Nobody is asked
    /// where the session holds, since it may have been renewed meanwhile.
    void require(std::function<void(bool renewed)> answer);
    /// require(), for as long as this lives; afterwards the answer is no.
    SessionRequest request();
    /// The client of the other user who signed in.
    std::shared_ptr<ZorbelApiClient> other() const { return other_; }
    /// The other user does not go on: their session is given up.
    void dismissOther();
    /// Nobody is asked any more.
    void stop();

Q_SIGNALS:
    void stateChanged();
    void renewed();
    void otherUserSignedIn();

private:
    void onEnded();
    void ask();
    void onAnswer(const std::shared_ptr<ZorbelApiClient>& asked, bool signedIn);
    void enter(State state);

    std::shared_ptr<ZorbelApiClient> client_;
    const Ask ask_;
    State state_ = State::Valid;
    std::shared_ptr<ZorbelApiClient> other_;
    std::vector<std::function<void(bool)>> waiting_;
    bool stopped_ = false;
};

} // namespace zorbel
