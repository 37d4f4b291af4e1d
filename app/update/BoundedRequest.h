#pragma once

#include <QNetworkRequest>
#include <QObject>

#include <functional>

class QNetworkAccessManager;
class QNetworkReply;

namespace zorbel {

/// One GET whose body is handed on as it comes, and which ends as soon as it is known to be too large. Only
/// status 200 is an answer: a redirection is a failure, too. Lives on one thread; ends quietly when
/// destroyed.
class BoundedRequest : public QObject {
    Q_OBJECT

public:
    enum class Outcome { Complete, TooLarge, Network, Refused };

    /// sink: takes the bytes; false ends the request as refused. largest: in bytes.
    BoundedRequest(
        QNetworkAccessManager& network, QNetworkRequest request, qint64 largest,
        std::function<bool(const QByteArray&)> sink);
    ~BoundedRequest() override;

    /// Ends it without a signal.
    void stop();

Q_SIGNALS:
    /// Bytes; total is -1 when it was not announced.
    void progress(qint64 received, qint64 total);
    /// Once, and the last signal.
    void finished(zorbel::BoundedRequest::Outcome outcome);

private:
    void checkHead();
    void takeBytes();
    void end(Outcome outcome);

    QNetworkReply* reply_ = nullptr; ///< null once it has ended
    qint64 largest_;
    qint64 received_ = 0;
    std::function<bool(const QByteArray&)> sink_;
};

} // namespace zorbel
