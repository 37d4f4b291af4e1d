#pragma once

#include "app/telemetry/TelemetryQueueFile.h"

#include <QByteArray>
#include <QUrl>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
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
/// is off, and events are dropped at once; with it, the user can switch it off. No patient data, e-mail
/// address or token belongs in an event.
///
/// A batch is a POST of {"events":[{"event","studyIdentifier","payload","timestamp","source","platform"}]}:
/// timestamp in milliseconds since the epoch, source "desktop", platform "windows" or "linux", payload an
/// object of strings. studyIdentifier is always empty: a study's UID leads to its patient, and so does any
/// digest of it for whoever knows the UIDs. A batch is sent, on a thread of its own, when 20 events are there
/// and on flush().
///
/// Events that could not be sent are tried again with the next batch, the oldest first, also in the next
/// session: until then they lie in a TelemetryQueueFile.
///
/// Sent by Qt Network, as the service's own requests are: Debian 12's cpp-httplib verifies TLS against the
/// system's certificates, too, but knows neither the system's proxies nor a limit for a request as a whole,
/// nor an end of one that waits for its connection.
class TelemetryEmitter {
public:
    using Payload = std::map<std::string, std::string>;

    static constexpr std::size_t batchSize = 20;
    static constexpr std::size_t mostQueued = 1000; ///< of failed events; beyond, the oldest are dropped
    static constexpr std::size_t mostRecent = 200;

    struct Options {
        std::filesystem::path folder{}; ///< of the queue's file; empty keeps nothing between sessions
        bool enabled = true;            ///< as the user chose
        /// Remembers what the user chooses; called by setEnabled().
        std::function<void(bool enabled)> remember{};
    };
    struct RecordedEvent {
        std::string json; ///< as it is sent
        bool sent = false;
    };

    /// An endpoint that is empty or not allowed means off. Needs a QCoreApplication while it is on.
    explicit TelemetryEmitter(const QUrl& endpoint) : TelemetryEmitter(endpoint, Options()) {}
    TelemetryEmitter(const QUrl& endpoint, Options options);
    /// As shutDown() without any patience.
    ~TelemetryEmitter();
    TelemetryEmitter(const TelemetryEmitter&) = delete;
    TelemetryEmitter& operator=(const TelemetryEmitter&) = delete;

    /// From ZORBEL_TELEMETRY_URL; empty when it is not set.
    static QUrl endpointFromEnvironment();
    static bool isAllowed(const QUrl& endpoint);

    /// There is an address that events may go to.
    bool isConfigured() const { return configured_; }
    /// Events are recorded.
    bool isEnabled() const;
    /// The user's choice; switching off drops what is not sent, on the disk too, and ends the request under
    /// way. Other programs that run follow at their next start.
    void setEnabled(bool enabled);
    QUrl endpoint() const { return endpoint_; }
    /// The newest ones, the oldest of them first.
    std::vector<RecordedEvent> recentEvents() const;

    /// Any thread; never waits for the network or the disk.
    void record(std::string_view event, const Payload& payload = {});
    /// Sends all there is, and waits for that, but not longer than the patience. False when events are left.
    bool flush(std::chrono::milliseconds patience = std::chrono::seconds(2));
    /// Flushes, then ends the thread and the request under way, and keeps what is not sent for the next
    /// session. Later events are dropped.
    void shutDown(std::chrono::milliseconds patience = std::chrono::seconds(2));

private:
    /// Shared by the queues and the list of recent events.
    using Event = std::shared_ptr<RecordedEvent>;
    using Cancel = std::shared_ptr<std::atomic<bool>>;

    void work();
    void takeOver(std::unique_lock<std::mutex>& lock);
    void sendDue(std::unique_lock<std::mutex>& lock);
    void keepQueue(std::unique_lock<std::mutex>& lock);
    bool post(const std::vector<Event>& events, const Cancel& cancel) const;
    void stop();
    Event newEvent(std::string json);

    const QUrl endpoint_;
    const bool configured_;
    const Options options_;
    TelemetryQueueFile file_;
    mutable std::mutex mutex_; ///< guards all below but the thread, and what the events hold
    std::condition_variable changed_;
    bool enabled_;
    std::deque<Event> fresh_; ///< the oldest first
    std::deque<Event> queue_; ///< those before: failed once, or being sent
    std::deque<Event> recent_;
    Cancel cancel_ = std::make_shared<std::atomic<bool>>(false); ///< of the request under way
    bool takenOver_ = false;                                     ///< what ended programs left
    bool sendNow_ = false;
    bool sending_ = false;
    bool stopping_ = false;
    std::thread worker_;
};

} // namespace zorbel
