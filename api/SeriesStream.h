#pragma once

#include "api/MultipartPartParser.h"
#include "api/ZorbelApiClient.h"

#include <exception>

class QNetworkAccessManager;
class QNetworkReply;
class QNetworkRequest;

namespace zorbel {

/// One series received as one multipart response. Runs on the calling thread with an event loop of its own.
class SeriesStream {
public:
    SeriesStream(
        const QStringList& expectedInstanceIds, const ZorbelApiClient::TransferProgress& progress,
        CancelFlag cancel, const ZorbelApiClient::PartSink& sink, std::uint64_t maximumBytes);
    ~SeriesStream();

    /// Returns when every expected part was delivered; throws ZorbelApiError, or what a callback threw.
    void run(const QNetworkRequest& request);

private:
    void receive();
    void readBuffered();
    void finish();
    void reportProgress(qint64 received, qint64 total);
    void deliver(const std::byte* data, std::size_t length);
    void checkCancelled();
    /// Stops the transfer; the fields say why.
    void abort();
    bool exceeds(qint64 bytes) const {
        return bytes >= 0 && static_cast<std::uint64_t>(bytes) > maximumBytes_;
    }
    bool isStopped() const { return cancelled_ || tooLarge_ || callbackError_ || !parser_.error().empty(); }
    int httpStatus() const;
    void throwIfFailed() const;

    const QStringList& expectedInstanceIds_;
    const ZorbelApiClient::TransferProgress& progress_;
    CancelFlag cancel_;
    const ZorbelApiClient::PartSink& sink_;
    std::uint64_t maximumBytes_;

    std::unique_ptr<QNetworkAccessManager> manager_;
    MultipartPartParser parser_;
    std::unique_ptr<QNetworkReply> reply_;
    std::uint64_t receivedBytes_ = 0;
    bool cancelled_ = false;
    bool tooLarge_ = false;
    std::exception_ptr callbackError_;
};

} // namespace zorbel
