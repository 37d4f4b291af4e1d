#include "api/InstanceDownload.h"

#include "api/HttpRequest.h"
#include "api/ServiceReply.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>

#include <algorithm>

namespace zorbel {

namespace {

// A network manager opens at most six connections to one host; the others of its requests would wait for one
// with their transfer timeout already running.
constexpr std::size_t connectionsPerManager = 6;
constexpr qint64 readBufferBytes = 4 * 1024 * 1024;

} // namespace

InstanceDownload::InstanceDownload(
    ImageDataRoute route, const ApiClientConfig& config, const ZorbelApiClient::InstanceSink& sink,
    CancelFlag cancel, unsigned parallelism)
    : route_(std::move(route)), config_(config), sink_(sink), cancel_(std::move(cancel)),
      parallelism_(std::clamp(parallelism, 1U, 16U)) {}

InstanceDownload::~InstanceDownload() = default;

void InstanceDownload::run(const QStringList& instanceIds) {
    instanceIds_ = instanceIds;
    const std::size_t inFlight = std::min(parallelism_, static_cast<std::size_t>(instanceIds.size()));
    for (std::size_t covered = 0; covered < inFlight; covered += connectionsPerManager)
        managers_.push_back(std::make_unique<QNetworkAccessManager>());
    load_.assign(managers_.size(), 0);

    QEventLoop loop;
    loop_ = &loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [this] { pollCancel(); });
    poll.start(cancelPollMs);
    pollCancel();
    launch();
    if (!running_.empty())
        loop.exec();
    // The application's own quit ends nested loops before the replies do.
    if (!error_ && completed_ != static_cast<std::size_t>(instanceIds_.size()))
        fail(std::make_exception_ptr(ZorbelApiError("DICOM download cancelled")));
    if (error_)
        std::rethrow_exception(error_);
}

void InstanceDownload::launch() {
    while (!error_ && !isCancelled(cancel_) && next_ < instanceIds_.size() && running_.size() < parallelism_)
        start(instanceIds_[next_++]);
}

std::size_t InstanceDownload::leastBusyManager() const {
    return static_cast<std::size_t>(std::min_element(load_.begin(), load_.end()) - load_.begin());
}

void InstanceDownload::start(const QString& instanceId) {
    const QString url = route_.baseUrl + route_.prefix + QStringLiteral("instances/") +
                        QString::fromLatin1(QUrl::toPercentEncoding(instanceId)) + QStringLiteral("/file");
    const std::size_t manager = leastBusyManager();
    QNetworkReply* reply = managers_[manager]->get(dicomRequest(
        QUrl(url), "application/dicom, application/octet-stream", route_.token, config_.transferTimeoutMs));
    reply->setReadBufferSize(readBufferBytes);
    ++load_[manager];
    running_.emplace(reply, Transfer{instanceId, manager, {}, false});
    QObject::connect(reply, &QNetworkReply::readyRead, loop_, [this, reply] { receive(reply); });
    QObject::connect(
        reply, &QNetworkReply::downloadProgress, loop_,
        [this, reply](qint64 received, qint64 total) { checkSize(reply, std::max(received, total)); });
    QObject::connect(reply, &QNetworkReply::metaDataChanged, loop_, [this, reply] {
        checkSize(reply, announcedSize(*reply));
    });
    QObject::connect(reply, &QNetworkReply::finished, loop_, [this, reply] { finish(reply); });
}

void InstanceDownload::checkSize(QNetworkReply* reply, qint64 bytes) {
    const auto transfer = running_.find(reply);
    if (transfer == running_.end() || transfer->second.tooLarge || bytes < 0 ||
        static_cast<std::uint64_t>(bytes) <= config_.maximumDicomBytes)
        return;
    transfer->second.tooLarge = true;
    reply->setProperty("zorbelResponseTooLarge", true);
    reply->abort();
}

void InstanceDownload::receive(QNetworkReply* reply) {
    const auto found = running_.find(reply);
    if (found == running_.end() || found->second.tooLarge || error_)
        return;
    try {
        readBuffered(reply, found->second.bytes);
        checkSize(reply, static_cast<qint64>(found->second.bytes.size()));
    } catch (const std::bad_alloc&) {
        fail(std::current_exception());
    }
}

void InstanceDownload::readBuffered(QNetworkReply* reply, std::vector<std::byte>& bytes) const {
    if (bytes.empty()) {
        const auto announced = static_cast<std::uint64_t>(std::max<qint64>(announcedSize(*reply), 0));
        bytes.reserve(std::min(announced, config_.maximumDicomBytes));
    }
    while (const qint64 available = reply->bytesAvailable()) {
        const std::size_t before = bytes.size();
        bytes.resize(before + static_cast<std::size_t>(available));
        const qint64 count = reply->read(reinterpret_cast<char*>(bytes.data() + before), available);
        bytes.resize(before + static_cast<std::size_t>(std::max<qint64>(count, 0)));
        if (count <= 0)
            break;
    }
}

void InstanceDownload::finish(QNetworkReply* reply) {
    receive(reply);
    const auto found = running_.find(reply);
    if (found == running_.end())
        return;
    Transfer transfer = std::move(found->second);
    running_.erase(found);
    --load_[transfer.manager];
    reply->deleteLater();
    if (!error_) {
        try {
            complete(reply, transfer);
        } catch (...) {
            fail(std::current_exception());
        }
    }
    launch();
    if (running_.empty() && (error_ || next_ == instanceIds_.size()))
        loop_->quit();
}

void InstanceDownload::complete(QNetworkReply* reply, Transfer& transfer) {
    if (transfer.tooLarge)
        throw ZorbelApiError(
            "A DICOM instance exceeded the workstation safety limit", ZorbelApiError::Cause::SafetyLimit);
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    throwUnlessSuccessful(
        status,
        QByteArray::fromRawData(
            reinterpret_cast<const char*>(transfer.bytes.data()),
            static_cast<qsizetype>(transfer.bytes.size())),
        reply->error());
    if (reply->error() != QNetworkReply::NoError)
        throw ZorbelApiError(reply->errorString().toStdString(), ZorbelApiError::Cause::NoAnswer);
    throwIfEncoded(*reply);
    throwIfCutOff(*reply, static_cast<qint64>(transfer.bytes.size()));
    ++completed_;
    sink_(
        transfer.instanceId, std::move(transfer.bytes), completed_,
        static_cast<std::size_t>(instanceIds_.size()));
}

void InstanceDownload::pollCancel() {
    if (!error_ && isCancelled(cancel_))
        fail(std::make_exception_ptr(ZorbelApiError("DICOM download cancelled")));
}

void InstanceDownload::fail(std::exception_ptr error) {
    if (!error_)
        error_ = std::move(error);
    std::vector<QNetworkReply*> replies;
    for (const auto& [reply, transfer] : running_)
        replies.push_back(reply);
    // abort() reports the end of a reply at once, which removes it from running_.
    for (QNetworkReply* reply : replies)
        reply->abort();
    if (running_.empty() && loop_)
        loop_->quit();
}

} // namespace zorbel
