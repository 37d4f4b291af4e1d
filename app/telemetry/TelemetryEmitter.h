#pragma once

#include <QByteArray>
#include <QUrl>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace zorbel {

/// Reports what the program does, not what it shows: events go in batches to the address that the environment
/// variable ZORBEL_TELEMETRY_URL names, which must be HTTPS, or HTTP to a loopback host. Without it telemetry
/// is off, and events are dropped at once. No patient data, e-mail address or token belongs in an event.
///
/// A batch is a POST of {"events":[{"event","studyIdentifier","payload","timestamp","source","platform"}]}:
/// timestamp in milliseconds since the epoch, source "desktop", platform "windows" or "linux", payload an
/// object of strings. It is sent, on a thread of its own, when 20 events are there and on flush().
///
/// Events that could not be sent stay in memory and are tried again with the next batch, the oldest first.
/// They are not kept on the disk: what outlives the session would have to be guarded and cleaned up there,
/// and none of it is worth that.
class TelemetryEmitter {
public:
    using Payload = std::map<std::string, std::string>;

    static constexpr std::size_t batchSize = 20;
    static constexpr std::size_t mostQueued = 1000; ///< of failed events; beyond, the oldest are dropped

    /// An endpoint that is empty or not allowed means off. Needs a QCoreApplication while it is on.
    explicit TelemetryEmitter(const QUrl& endpoint);
    /// As shutDown() without any patience.
    ~TelemetryEmitter();
    TelemetryEmitter(const TelemetryEmitter&) = delete;
    TelemetryEmitter& operator=(const TelemetryEmitter&) = delete;

    /// From ZORBEL_TELEMETRY_URL; empty when it is not set.
    static QUrl endpointFromEnvironment();
    static bool isAllowed(const QUrl& endpoint);

    bool isEnabled() const { return enabled_; }
    /// Any thread; never waits for the network.
    void record(std::string_view event, const Payload& payload = {}, std::string_view studyIdentifier = {});
    /// Sends all there is, and waits for that, but not longer than the patience. False when events are left.
    bool flush(std::chrono::milliseconds patience = std::chrono::seconds(2));
    /// Flushes, then ends the thread and the request under way; what is not sent is lost, later events are
    /// dropped.
    void shutDown(std::chrono::milliseconds patience = std::chrono::seconds(2));

private:
    void work();
    void sendDue(std::unique_lock<std::mutex>& lock);
    bool post(const std::vector<std::string>& events) const;
    void stop();

    const QUrl endpoint_;
    const bool enabled_;
    const std::shared_ptr<std::atomic<bool>> cancel_ = std::make_shared<std::atomic<bool>>(false);
    std::mutex mutex_; ///< guards all below but the thread
    std::condition_variable changed_;
    std::deque<std::string> fresh_; ///< events as JSON, the oldest first
    std::deque<std::string> queue_; ///< those before: failed once, or being sent
    bool sendNow_ = false;
    bool sending_ = false;
    bool stopping_ = false;
    std::thread worker_;
};

} // namespace zorbel
