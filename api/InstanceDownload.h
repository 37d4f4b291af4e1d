#pragma once

#include "api/ZorbelApiClient.h"

#include <exception>
#include <unordered_map>

class QEventLoop;
class QNetworkAccessManager;
class QNetworkReply;

namespace zorbel {

/// A list of instances received one file each, several at a time. Runs on the calling thread with an event
/// loop of its own.
class InstanceDownload {
public:
    InstanceDownload(
        ImageDataRoute route, const ApiClientConfig& config, const ZorbelApiClient::InstanceSink& sink,
        CancelFlag cancel, unsigned parallelism);
    ~InstanceDownload();

    /// Returns when every instance was delivered; throws ZorbelApiError, or what the sink threw.
    void run(const QStringList& instanceIds);

private:
    struct Transfer {
        QString instanceId;
        std::size_t manager = 0;
        std::vector<std::byte> bytes;
        bool tooLarge = false;
    };

    void launch();
    void start(const QString& instanceId);
    void receive(QNetworkReply* reply);
    void readBuffered(QNetworkReply* reply, std::vector<std::byte>& bytes) const;
    void checkSize(QNetworkReply* reply, qint64 bytes);
    void finish(QNetworkReply* reply);
    void complete(QNetworkReply* reply, Transfer& transfer);
    void pollCancel();
    /// The first failure wins; it aborts whatever runs.
    void fail(std::exception_ptr error);
    std::size_t leastBusyManager() const;

    ImageDataRoute route_;
    const ApiClientConfig& config_;
    const ZorbelApiClient::InstanceSink& sink_;
    CancelFlag cancel_;
    std::size_t parallelism_;

    std::vector<std::unique_ptr<QNetworkAccessManager>> managers_;
    std::vector<std::size_t> load_; ///< replies in flight of each manager
    std::unordered_map<QNetworkReply*, Transfer> running_;
    QStringList instanceIds_;
    qsizetype next_ = 0;
    std::size_t completed_ = 0;
    std::exception_ptr error_;
    QEventLoop* loop_ = nullptr;
};

} // namespace zorbel
