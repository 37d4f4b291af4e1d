#include "signin/session/SessionRenewal.h"

#include "api/SessionEvents.h"
#include "api/ZorbelApiClient.h"
#include "app/log/Logger.h"

#include <QPointer>

#include <utility>

namespace zorbel {

namespace {

constexpr char component[] = "Session";

} // namespace

SessionRenewal::SessionRenewal(std::shared_ptr<ZorbelApiClient> client, Ask ask, QObject* parent)
    : QObject(parent), client_(std::move(client)), ask_(std::move(ask)) {
    connect(
        &client_->sessionEvents(), &SessionEvents::ended, this, &SessionRenewal::onEnded,
        Qt::QueuedConnection);
}

void SessionRenewal::onEnded() {
    if (!stopped_ && state_ == State::Valid && client_->hasSessionEnded())
        ask();
}

void SessionRenewal::require(std::function<void(bool)> answer) {
    if (stopped_ || state_ == State::OtherUser || !client_->isSignedIn()) {
        answer(false);
        return;
    }
    if (!client_->hasSessionEnded()) {
        answer(true);
        return;
    }
    waiting_.push_back(std::move(answer));
    if (state_ != State::Asking)
        ask();
}

SessionRequest SessionRenewal::request() {
    return [renewal = QPointer(this)](std::function<void(bool)> answer) {
        if (renewal)
            renewal->require(std::move(answer));
        else
            answer(false);
    };
}

void SessionRenewal::ask() {
    enter(State::Asking);
    const auto fresh = std::make_shared<ZorbelApiClient>(client_->config());
    ask_(fresh, [renewal = QPointer(this), fresh](bool signedIn) {
        if (renewal)
            renewal->onAnswer(fresh, signedIn);
    });
}

void SessionRenewal::onAnswer(const std::shared_ptr<ZorbelApiClient>& asked, bool signedIn) {
    if (state_ != State::Asking)
        return;
    // Who waits may ask again at once.
    const auto waiting = std::exchange(waiting_, {});
    const bool isRenewed = signedIn && client_->adoptSession(*asked);
    auto& logger = Logger::instance();
    if (isRenewed) {
        logger.info(component, "The session was renewed");
        enter(State::Valid);
        Q_EMIT renewed();
    } else if (signedIn && client_->isSignedIn() && !stopped_) {
        logger.info(component, "Another user signed in");
        other_ = asked;
        enter(State::OtherUser);
        Q_EMIT otherUserSignedIn();
    } else {
        asked->signOut();
        logger.info(component, "The session was not renewed");
        enter(State::Declined);
    }
    for (const auto& answer : waiting)
        answer(isRenewed);
}

void SessionRenewal::dismissOther() {
    if (state_ != State::OtherUser)
        return;
    std::exchange(other_, nullptr)->signOut();
    enter(State::Declined);
}

void SessionRenewal::stop() {
    stopped_ = true;
}

void SessionRenewal::enter(State state) {
    if (std::exchange(state_, state) != state)
        Q_EMIT stateChanged();
}

} // namespace zorbel
