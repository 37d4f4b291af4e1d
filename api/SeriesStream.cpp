#include "api/SeriesStream.h"

#include "api/HttpRequest.h"
#include "api/ServiceReply.h"
#include "api/ZorbelApiError.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>

#include <algorithm>

namespace zorbel {

namespace {

// What the network thread may hold while a slow sink works; beyond it the socket is no longer read.
constexpr qint64 readBufferBytes = 4 * 1024 * 1024;

} // namespace

SeriesStream::SeriesStream(
    const QStringList& expectedInstanceIds, const ZorbelApiClient::TransferProgress& progress,
    CancelFlag cancel, const ZorbelApiClient::PartSink& sink, std::uint64_t maximumBytes)
    : expectedInstanceIds_(expectedInstanceIds), progress_(progress), cancel_(std::move(cancel)), sink_(sink),
      maximumBytes_(maximumBytes), manager_(std::make_unique<QNetworkAccessManager>()),
      parser_(
          static_cast<std::size_t>(expectedInstanceIds.size()),
          [this](const std::byte* data, std::size_t length) { deliver(data, length); }) {}

SeriesStream::~SeriesStream() = default;

void SeriesStream::run(const QNetworkRequest& request) {
    checkCancelled();
    if (!cancelled_) {
        QEventLoop loop;
        QTimer poll;
        reply_.reset(manager_->get(request));
        reply_->setReadBufferSize(readBufferBytes);
        QObject::connect(reply_.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
        QObject::connect(reply_.get(), &QNetworkReply::readyRead, &loop, [this] { receive(); });
        QObject::connect(
            reply_.get(), &QNetworkReply::downloadProgress, &loop,
            [this](qint64 received, qint64 total) { reportProgress(received, total); });
        QObject::connect(reply_.get(), &QNetworkReply::metaDataChanged, &loop, [this] {
            tooLarge_ = tooLarge_ || exceeds(announcedSize(*reply_));
            if (tooLarge_)
                abort();
        });
        QObject::connect(&poll, &QTimer::timeout, &loop, [this] {
            checkCancelled();
            if (cancelled_)
                abort();
        });
        poll.start(cancelPollMs);
        if (!reply_->isFinished())
            loop.exec();
        // The application's own quit ends nested loops before the reply does.
        cancelled_ = cancelled_ || !reply_->isFinished();
        finish();
    }
    throwIfFailed();
}

void SeriesStream::abort() {
    if (reply_->isRunning())
        reply_->abort();
}

void SeriesStream::checkCancelled() {
    cancelled_ = cancelled_ || isCancelled(cancel_);
}

int SeriesStream::httpStatus() const {
    return reply_ ? reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() : 0;
}

void SeriesStream::receive() {
    if (isStopped())
        return;
    try {
        readBuffered();
    } catch (...) {
        callbackError_ = std::current_exception();
    }
    if (isStopped())
        abort();
}

void SeriesStream::readBuffered() {
    const bool success = httpStatus() / 100 == 2;
    if (success)
        parser_.useContentType(reply_->rawHeader("Content-Type"));
    while (!isStopped()) {
        const qint64 waiting = reply_->bytesAvailable();
        if (waiting <= 0)
            return;
        // What is within the limit is still of use.
        const std::uint64_t allowed = maximumBytes_ - receivedBytes_;
        tooLarge_ = allowed == 0;
        if (tooLarge_)
            return;
        const auto available = static_cast<qint64>(
            std::min<std::uint64_t>({static_cast<std::uint64_t>(waiting), allowed, readBufferBytes}));
        const std::span<std::byte> room = parser_.writable(static_cast<std::size_t>(available));
        const qint64 count = reply_->read(reinterpret_cast<char*>(room.data()), available);
        if (count <= 0)
            return;
        receivedBytes_ += static_cast<std::uint64_t>(count);
        // The page of an error status is read and dropped.
        if (success) {
            parser_.commit(static_cast<std::size_t>(count));
            parser_.parse(MultipartPartParser::Input::More);
        }
    }
}

void SeriesStream::finish() {
    checkCancelled();
    receive();
    if (isStopped() || httpStatus() / 100 != 2 || reply_->error() != QNetworkReply::NoError)
        return;
    try {
        parser_.parse(MultipartPartParser::Input::Final);
    } catch (...) {
        callbackError_ = std::current_exception();
    }
}

void SeriesStream::reportProgress(qint64 received, qint64 total) {
    if (isStopped())
        return;
    tooLarge_ = exceeds(received) || exceeds(total);
    try {
        if (!tooLarge_ && progress_)
            progress_(received, total);
    } catch (...) {
        callbackError_ = std::current_exception();
    }
    if (isStopped())
        abort();
}

void SeriesStream::deliver(const std::byte* data, std::size_t length) {
    // One read can complete many parts, and a sink may be slow.
    checkCancelled();
    if (cancelled_)
        throw ZorbelApiError("DICOM download cancelled");
    const std::size_t index = parser_.delivered();
    sink_(
        expectedInstanceIds_[static_cast<qsizetype>(index)], data, length, index + 1,
        static_cast<std::size_t>(expectedInstanceIds_.size()));
}

void SeriesStream::throwIfFailed() const {
    if (cancelled_)
        throw ZorbelApiError("DICOM download cancelled");
    if (callbackError_)
        std::rethrow_exception(callbackError_);
    if (tooLarge_)
        throw ZorbelApiError(
            "DICOM series exceeded the workstation safety limit", ZorbelApiError::Cause::SafetyLimit);
    if (const int status = httpStatus(); status < 200 || status > 299)
        throw ZorbelApiError("Zorbel streaming DICOMweb request failed", status, {}, causeOf(status));
    throwIfEncoded(*reply_);
    if (!parser_.error().empty())
        throw ZorbelApiError(parser_.error());
    if (reply_->error() != QNetworkReply::NoError)
        throw ZorbelApiError(reply_->errorString().toStdString(), ZorbelApiError::Cause::NoAnswer);
    const auto expected = static_cast<std::size_t>(expectedInstanceIds_.size());
    if (parser_.delivered() != expected)
        throw ZorbelApiError(
            "DICOMweb series returned " + std::to_string(parser_.delivered()) + " instances; expected " +
            std::to_string(expected));
}

} // namespace zorbel
