#include "app/telemetry/TelemetryEmitter.h"

#include "api/EndpointRule.h"
#include "api/HttpRequest.h"
#include "app/log/Logger.h"
#include "platform/SystemInfo.h"
#include "platform/threads/StackGuard.h"

#include <QString>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

namespace zorbel {

namespace {

constexpr char component[] = "TelemetryEmitter";
constexpr int requestTimeoutMs = 10'000;
constexpr std::uint64_t largestReply = 64 * 1024;

std::int64_t millisecondsSinceEpoch() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::string toJson(std::string_view event, const TelemetryEmitter::Payload& payload) {
    nlohmann::json object{
        {"event", event},
        {"studyIdentifier", ""},
        {"payload", nlohmann::json::object()},
        {"timestamp", millisecondsSinceEpoch()},
        {"source", "desktop"},
        {"platform", platformName()}};
    for (const auto& [name, value] : payload)
        object["payload"][name] = value;
    return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

template <typename Event>
void trim(std::deque<Event>& events, std::size_t most) {
    while (events.size() > most)
        events.pop_front();
}

} // namespace

TelemetryEmitter::TelemetryEmitter(const QUrl& endpoint, Options options)
    : endpoint_(endpoint), configured_(isAllowed(endpoint)), options_(std::move(options)),
      file_(configured_ ? options_.folder : std::filesystem::path()),
      enabled_(configured_ && options_.enabled) {
    if (!configured_) {
        if (!endpoint.isEmpty())
            Logger::instance().warn(component, "The telemetry address is not allowed; telemetry stays off");
        return;
    }
    if (!enabled_)
        file_.removeAll(); // of a program that ran when it was switched off
    worker_ = std::thread([this] {
        guardThreadStack();
        work();
    });
}

TelemetryEmitter::~TelemetryEmitter() {
    stop();
}

void TelemetryEmitter::shutDown(std::chrono::milliseconds patience) {
    flush(patience);
    stop();
}

void TelemetryEmitter::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        cancel_->store(true);
    }
    changed_.notify_all();
    if (!worker_.joinable())
        return;
    worker_.join();
    std::unique_lock lock(mutex_);
    std::move(fresh_.begin(), fresh_.end(), std::back_inserter(queue_));
    fresh_.clear();
    trim(queue_, mostQueued);
    keepQueue(lock);
    file_.close();
}

bool TelemetryEmitter::isEnabled() const {
    const std::lock_guard lock(mutex_);
    return enabled_;
}

void TelemetryEmitter::setEnabled(bool enabled) {
    if (!configured_)
        return;
    {
        const std::lock_guard lock(mutex_);
        if (enabled_ == enabled)
            return;
        enabled_ = enabled;
        if (!enabled) {
            cancel_->store(true);
            fresh_.clear();
            queue_.clear();
            std::erase_if(recent_, [](const Event& event) { return !event->sent; });
        }
    }
    if (!enabled)
        file_.removeAll();
    if (options_.remember)
        options_.remember(enabled);
}

std::vector<TelemetryEmitter::RecordedEvent> TelemetryEmitter::recentEvents() const {
    const std::lock_guard lock(mutex_);
    std::vector<RecordedEvent> events;
    for (const Event& event : recent_)
        events.push_back(*event);
    return events;
}

TelemetryEmitter::Event TelemetryEmitter::newEvent(std::string json) {
    auto event = std::make_shared<RecordedEvent>(RecordedEvent{std::move(json), false});
    recent_.push_back(event);
    trim(recent_, mostRecent);
    return event;
}

QUrl TelemetryEmitter::endpointFromEnvironment() {
    return QUrl(qEnvironmentVariable("ZORBEL_TELEMETRY_URL").trimmed());
}

bool TelemetryEmitter::isAllowed(const QUrl& endpoint) {
    return isSecureEndpoint(endpoint);
}

void TelemetryEmitter::record(std::string_view event, const Payload& payload) {
    if (!configured_)
        return;
    std::string text = toJson(event, payload);
    const std::lock_guard lock(mutex_);
    if (stopping_ || !enabled_)
        return;
    fresh_.push_back(newEvent(std::move(text)));
    trim(fresh_, mostQueued); // a request may hang for a while
    if (fresh_.size() >= batchSize) {
        sendNow_ = true;
        changed_.notify_all();
    }
}

bool TelemetryEmitter::flush(std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    if (!enabled_ || stopping_)
        return true;
    sendNow_ = true;
    changed_.notify_all();
    const bool done = changed_.wait_for(lock, patience, [this] { return !sendNow_ && !sending_; });
    return done && queue_.empty() && fresh_.empty();
}

void TelemetryEmitter::work() {
    std::unique_lock lock(mutex_);
    for (;;) {
        takeOver(lock);
        changed_.wait(lock, [this] { return sendNow_ || stopping_; });
        if (stopping_)
            return;
        takeOver(lock); // it may have been switched on by now
        sendNow_ = false;
        sending_ = true;
        sendDue(lock);
        sending_ = false;
        changed_.notify_all();
    }
}

void TelemetryEmitter::takeOver(std::unique_lock<std::mutex>& lock) {
    if (!enabled_ || std::exchange(takenOver_, true))
        return;
    lock.unlock();
    const std::vector<std::string> left = file_.takeOver(mostQueued);
    lock.lock();
    if (!enabled_)
        return;
    for (const std::string& json : left)
        queue_.push_back(newEvent(json));
}

void TelemetryEmitter::sendDue(std::unique_lock<std::mutex>& lock) {
    std::move(fresh_.begin(), fresh_.end(), std::back_inserter(queue_));
    fresh_.clear();
    const bool hadAny = !queue_.empty();
    while (!queue_.empty() && !stopping_) {
        const auto count = static_cast<std::ptrdiff_t>(std::min(queue_.size(), batchSize));
        const std::vector<Event> batch(queue_.begin(), queue_.begin() + count);
        cancel_ = std::make_shared<std::atomic<bool>>(false);
        const Cancel cancel = cancel_;
        lock.unlock();
        const bool sent = post(batch, cancel);
        lock.lock();
        for (const Event& event : batch)
            event->sent = sent;
        if (queue_.empty() || queue_.front() != batch.front()) // it was switched off meanwhile
            continue;
        if (!sent)
            break; // the rest would fail as well
        queue_.erase(queue_.begin(), queue_.begin() + count);
    }
    trim(queue_, mostQueued);
    if (hadAny && !stopping_)
        keepQueue(lock);
}

void TelemetryEmitter::keepQueue(std::unique_lock<std::mutex>& lock) {
    std::vector<std::string> events;
    for (const Event& event : queue_)
        events.push_back(event->json);
    lock.unlock();
    file_.write(events);
    lock.lock();
    if (!enabled_ && !events.empty()) { // by now
        lock.unlock();
        file_.write({});
        lock.lock();
    }
}

bool TelemetryEmitter::post(const std::vector<Event>& events, const Cancel& cancel) const {
    std::string body = "{\"events\":[";
    for (const Event& event : events)
        body += (event == events.front() ? "" : ",") + event->json;
    body += "]}";
    bool sent = false;
    try {
        performHttpRequest(
            {"POST",
             endpoint_,
             QByteArray::fromStdString(body),
             "application/json",
             {},
             requestTimeoutMs,
             largestReply,
             cancel});
        sent = true;
    } catch (const std::exception&) {
        // The reason may quote what the server answered; that it failed is all the log needs.
    }
    const LogMeta count{{"count", std::to_string(events.size())}};
    if (sent)
        Logger::instance().info(component, "Flushed telemetry batch", count);
    else
        Logger::instance().warn(component, "Telemetry flush failed; queued for retry", count);
    return sent;
}

} // namespace zorbel
