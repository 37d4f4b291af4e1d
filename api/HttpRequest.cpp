#include "api/HttpRequest.h"

#include "api/ConnectionAdvice.h"
#include "api/ServiceReply.h"
#include "api/ZorbelApiError.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

#include <algorithm>
#include <memory>

namespace zorbel {

namespace {

constexpr qint64 readChunkBytes = 256 * 1024;

/// One reply being received: the body so far, and why it was aborted if it was.
class Exchange {
public:
    explicit Exchange(const HttpRequest& request) : request_(request) {}

    QByteArray run();

private:
    enum class Abort { None, TimedOut, TooLarge, Cancelled };

    std::unique_ptr<QNetworkReply> send();
    void waitForEnd();
    void readAvailable();
    void abort(Abort reason);
    bool exceeds(qint64 bytes) const {
        return bytes >= 0 && static_cast<std::uint64_t>(bytes) > request_.maxBytes;
    }

    const HttpRequest& request_;
    QNetworkAccessManager manager_;
    std::unique_ptr<QNetworkReply> reply_;
    QByteArray body_;
    Abort aborted_ = Abort::None;
};

std::unique_ptr<QNetworkReply> Exchange::send() {
    QNetworkRequest message = serviceRequest(
        request_.url, QByteArrayLiteral("application/json, application/dicom, application/octet-stream"),
        request_.bearerToken);
    if (!request_.contentType.isEmpty())
        message.setHeader(QNetworkRequest::ContentTypeHeader, request_.contentType);
    if (request_.method == "GET")
        return std::unique_ptr<QNetworkReply>(manager_.get(message));
    if (request_.method == "POST")
        return std::unique_ptr<QNetworkReply>(manager_.post(message, request_.body));
    if (request_.method == "PUT")
        return std::unique_ptr<QNetworkReply>(manager_.put(message, request_.body));
    throw ZorbelApiError("Unsupported Zorbel API request method");
}

void Exchange::abort(Abort reason) {
    if (aborted_ != Abort::None || reply_->isFinished())
        return;
    aborted_ = reason;
    reply_->abort();
}

void Exchange::readAvailable() {
    // Qt inflates a compressed body while it is read, so the limit has to be watched chunk by chunk.
    while (aborted_ == Abort::None) {
        const qsizetype before = body_.size();
        body_.resize(before + readChunkBytes);
        const qint64 count = reply_->read(body_.data() + before, readChunkBytes);
        body_.resize(before + std::max<qint64>(count, 0));
        if (count <= 0)
            return;
        if (exceeds(body_.size())) {
            aborted_ = Abort::TooLarge;
            reply_->abort();
        }
    }
}

void Exchange::waitForEnd() {
    QEventLoop loop;
    QTimer deadline;
    deadline.setSingleShot(true);
    QTimer poll;
    QNetworkReply* reply = reply_.get();
    reply->setReadBufferSize(4 * readChunkBytes); // or a fast endless reply fills the memory first
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QObject::connect(reply, &QNetworkReply::readyRead, &loop, [this] { readAvailable(); });
    QObject::connect(reply, &QNetworkReply::downloadProgress, &loop, [this](qint64 received, qint64 total) {
        if (exceeds(received) || exceeds(total))
            abort(Abort::TooLarge);
    });
    // The first progress signal may be held back; the announced size is there with the headers.
    QObject::connect(reply, &QNetworkReply::metaDataChanged, &loop, [this] {
        if (exceeds(announcedSize(*reply_)))
            abort(Abort::TooLarge);
    });
    QObject::connect(&deadline, &QTimer::timeout, &loop, [this] { abort(Abort::TimedOut); });
    QObject::connect(&poll, &QTimer::timeout, &loop, [this] {
        if (isCancelled(request_.cancel))
            abort(Abort::Cancelled);
    });
    deadline.start(std::max(request_.timeoutMs, 1000));
    if (request_.cancel)
        poll.start(cancelPollMs);
    if (!reply->isFinished())
        loop.exec();
    // The application's own quit ends nested loops before the reply does.
    abort(Abort::Cancelled);
}

QByteArray Exchange::run() {
    if (!request_.url.isValid() || request_.url.host().isEmpty())
        throw ZorbelApiError("Invalid Zorbel API request URL");
    if (isCancelled(request_.cancel))
        throw ZorbelApiError("Zorbel API request cancelled");
    reply_ = send();
    waitForEnd();
    readAvailable();
    const int status = reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();

    if (aborted_ == Abort::TimedOut) {
        ZorbelApiError failure("Zorbel API request timed out", ZorbelApiError::Cause::NoAnswer);
        failure.advice = connectionAdvice(QNetworkReply::TimeoutError).toStdString();
        throw failure;
    }
    if (aborted_ == Abort::TooLarge)
        throw ZorbelApiError(
            "Zorbel API response exceeded the workstation safety limit", ZorbelApiError::Cause::SafetyLimit);
    if (aborted_ == Abort::Cancelled)
        throw ZorbelApiError("Zorbel API request cancelled");
    throwUnlessSuccessful(status, body_, reply_->error());
    if (reply_->error() != QNetworkReply::NoError)
        throw ZorbelApiError(reply_->errorString().toStdString(), ZorbelApiError::Cause::NoAnswer);
    throwIfCutOff(*reply_, body_.size());
    return std::move(body_);
}

} // namespace

QNetworkRequest serviceRequest(const QUrl& url, const QByteArray& accept, const QString& bearerToken) {
    QNetworkRequest message(url);
    message.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::SameOriginRedirectPolicy);
    message.setDecompressedSafetyCheckThreshold(-1);
    // A server that asks for the user's credentials gets none of this computer's own accord.
    message.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    message.setRawHeader("Accept", accept);
    message.setRawHeader("User-Agent", "ZorbelWorkstation/1.0");
    if (!bearerToken.isEmpty())
        message.setRawHeader("Authorization", "Bearer " + bearerToken.toUtf8());
    return message;
}

QNetworkRequest dicomRequest(
    const QUrl& url, const QByteArray& accept, const QString& bearerToken, std::int32_t transferTimeoutMs) {
    QNetworkRequest message = serviceRequest(url, accept, bearerToken);
    message.setRawHeader("Accept-Encoding", "identity");
    message.setTransferTimeout(std::max(transferTimeoutMs, 1000));
    return message;
}

qint64 announcedSize(const QNetworkReply& reply) {
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    return length.isValid() ? length.toLongLong() : -1;
}

void throwIfEncoded(const QNetworkReply& reply) {
    const QByteArray encoding = reply.rawHeader("Content-Encoding").trimmed().toLower();
    if (!encoding.isEmpty() && encoding != "identity")
        throw ZorbelApiError("The image archive sent compressed data that was not asked for");
}

void throwIfCutOff(const QNetworkReply& reply, qint64 received) {
    if (announcedSize(reply) > received)
        throw ZorbelApiError("The answer of the service was cut off", ZorbelApiError::Cause::NoAnswer);
}

QByteArray performHttpRequest(const HttpRequest& request) {
    return Exchange(request).run();
}

} // namespace zorbel
