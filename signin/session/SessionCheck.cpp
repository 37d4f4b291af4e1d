#include "signin/session/SessionCheck.h"

#include "api/LogReason.h"
#include "api/ZorbelApiClient.h"
#include "app/log/Logger.h"
#include "base/qt/BackgroundTask.h"

#include <QCoreApplication>
#include <QEvent>

#include <chrono>

namespace zorbel {

SessionCheck::SessionCheck(std::shared_ptr<ZorbelApiClient> client, QObject* parent)
    : QObject(parent), client_(std::move(client)), schedule_(client_->now()) {
    pool_.setMaxThreadCount(1);
    tick_.setTimerType(Qt::VeryCoarseTimer);
    connect(&tick_, &QTimer::timeout, this, [this] {
        schedule_.setExpiry(client_->sessionExpiry());
        checkIfDue();
    });
    tick_.start(std::chrono::seconds(30));
    QCoreApplication::instance()->installEventFilter(this);
}

SessionCheck::~SessionCheck() {
    stop();
    pool_.waitForDone();
}

void SessionCheck::stop() {
    stopped_->store(true);
    tick_.stop();
    QCoreApplication::instance()->removeEventFilter(this);
}

bool SessionCheck::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::ApplicationActivate: // also after the machine has slept
    case QEvent::KeyPress:
    case QEvent::MouseButtonPress:
    case QEvent::MouseMove:
    case QEvent::Wheel:
        schedule_.noticeUse();
        checkIfDue();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

void SessionCheck::checkIfDue() {
    const std::int64_t now = client_->now();
    if (asking_ || *stopped_ || !schedule_.isDue(now) || client_->hasSessionEnded())
        return;
    asking_ = true;
    schedule_.noticeCheck(now);
    runInBackground(
        pool_, this,
        [client = client_, stopped = stopped_] {
            try {
                client->validateSession(stopped);
            } catch (const std::exception& error) {
                if (!isCancelled(stopped))
                    Logger::instance().warn(
                        "Session", "The session could not be validated", {{"reason", logReason(error)}});
            }
            return 0;
        },
        [this](int) { asking_ = false; });
}

} // namespace zorbel
