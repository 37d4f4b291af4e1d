#pragma once

#include "base/CancelFlag.h"
#include "signin/session/SessionCheckSchedule.h"

#include <QObject>
#include <QThreadPool>
#include <QTimer>

#include <memory>

namespace zorbel {

class ZorbelApiClient;

/// Asks the service in the background whether the session holds, one question at a time; an end of it is told
/// by the client, and a service that does not answer means nothing. User-interface thread.
class SessionCheck : public QObject {
    Q_OBJECT

public:
    /// Takes the application's input events for the sign of its use.
    explicit SessionCheck(std::shared_ptr<ZorbelApiClient> client, QObject* parent = nullptr);
    ~SessionCheck() override;

    /// Asks nothing any more.
    void stop();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void checkIfDue();

    std::shared_ptr<ZorbelApiClient> client_;
    SessionCheckSchedule schedule_;
    QThreadPool pool_;
    QTimer tick_;
    const CancelFlag stopped_ = std::make_shared<std::atomic<bool>>(false);
    bool asking_ = false;
};

} // namespace zorbel
