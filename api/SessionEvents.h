#pragma once

#include <QObject>

namespace zorbel {

/// What a client tells of its session, on whatever thread a request ran: connect queued, and ask the client
/// how it stands by then.
class SessionEvents : public QObject {
    Q_OBJECT

Q_SIGNALS:
    /// The service refused the session's token; told once for each token.
    void ended();
};

} // namespace zorbel
