#include "app/update/BoundedRequest.h"

#include "app/log/Logger.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <string>
#include <utility>

namespace zorbel {

namespace {

constexpr int silenceMs = 60'000;
constexpr qint64 readAheadBytes = 1 << 20;

int statusOf(const QNetworkReply& reply) {
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

qint64 announced(const QNetworkReply& reply) {
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    return length.isValid() ? length.toLongLong() : -1;
}

} // namespace

BoundedRequest::BoundedRequest(
    QNetworkAccessManager& network, QNetworkRequest request, qint64 largest,
    std::function<bool(const QByteArray&)> sink)
    : largest_(largest), sink_(std::move(sink)) {
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setRawHeader("Accept-Encoding", "identity"); // limits and digests are those of the bytes sent
    request.setTransferTimeout(silenceMs);
    reply_ = network.get(request);
    reply_->setReadBufferSize(readAheadBytes);
    connect(reply_, &QNetworkReply::metaDataChanged, this, &BoundedRequest::checkHead);
    connect(reply_, &QNetworkReply::readyRead, this, &BoundedRequest::takeBytes);
    connect(reply_, &QNetworkReply::finished, this, [this] {
        takeBytes();
        if (reply_ == nullptr)
            return;
        // Qt sometimes takes a connection that closed early for the body's end.
        const bool complete = reply_->error() == QNetworkReply::NoError && statusOf(*reply_) == 200 &&
                              received_ >= announced(*reply_);
        end(complete ? Outcome::Complete : Outcome::Network);
    });
}

BoundedRequest::~BoundedRequest() {
    stop();
}

void BoundedRequest::stop() {
    if (QNetworkReply* reply = std::exchange(reply_, nullptr)) {
        reply->disconnect(this);
        // Qt dislikes it out of some of the reply's own signals.
        QMetaObject::invokeMethod(
            reply,
            [reply] {
                if (reply->isRunning())
                    reply->abort();
                reply->deleteLater();
            },
            Qt::QueuedConnection);
    }
}

void BoundedRequest::checkHead() {
    if (reply_ == nullptr)
        return;
    if (const int status = statusOf(*reply_); status != 0 && status != 200)
        end(Outcome::Network);
    else if (announced(*reply_) > largest_)
        end(Outcome::TooLarge);
}

void BoundedRequest::takeBytes() {
    checkHead();
    while (reply_ != nullptr && reply_->bytesAvailable() > 0) {
        const QByteArray bytes = reply_->read(readAheadBytes);
        received_ += bytes.size();
        if (received_ > largest_)
            end(Outcome::TooLarge);
        else if (!sink_(bytes))
            end(Outcome::Refused);
        else
            Q_EMIT progress(received_, announced(*reply_));
    }
}

void BoundedRequest::end(Outcome outcome) {
    if (outcome == Outcome::Network)
        Logger::instance().warn(
            "Update", "The update service did not answer as it should",
            {{"error", std::to_string(reply_->error())}, {"status", std::to_string(statusOf(*reply_))}});
    stop();
    Q_EMIT finished(outcome);
}

} // namespace zorbel
