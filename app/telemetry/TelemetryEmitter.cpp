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

namespace zorbel {

namespace {

constexpr char component[] = "TelemetryEmitter";
constexpr int requestTimeoutMs = 10'000;
constexpr std::uint64_t largestReply = 64 * 1024;

std::int64_t millisecondsSinceEpoch() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::string
toJson(std::string_view event, const TelemetryEmitter::Payload& payload, std::string_view studyIdentifier) {
    nlohmann::json object{
        {"event", event},
        {"studyIdentifier", studyIdentifier},
        {"payload", nlohmann::json::object()},
        {"timestamp", millisecondsSinceEpoch()},
        {"source", "desktop"},
        {"platform", platformName()}};
    for (const auto& [name, value] : payload)
        object["payload"][name] = value;
    return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void trim(std::deque<std::string>& events) {
    while (events.size() > TelemetryEmitter::mostQueued)
        events.pop_front();
}

} // namespace

TelemetryEmitter::TelemetryEmitter(const QUrl& endpoint)
    : endpoint_(endpoint), enabled_(isAllowed(endpoint)) {
    if (enabled_)
        worker_ = std::thread([this] {
            guardThreadStack();
            work();
        });
    else if (!endpoint.isEmpty())
        Logger::instance().warn(component, "The telemetry address is not allowed; telemetry stays off");
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
    }
    cancel_->store(true);
    changed_.notify_all();
    if (worker_.joinable())
        worker_.join();
}

QUrl TelemetryEmitter::endpointFromEnvironment() {
    return QUrl(qEnvironmentVariable("ZORBEL_TELEMETRY_URL").trimmed());
}

bool TelemetryEmitter::isAllowed(const QUrl& endpoint) {
    return isSecureEndpoint(endpoint);
}

void TelemetryEmitter::record(
    std::string_view event, const Payload& payload, std::string_view studyIdentifier) {
    if (!enabled_)
        return;
    std::string text = toJson(event, payload, studyIdentifier);
    const std::lock_guard lock(mutex_);
    if (stopping_)
        return;
    fresh_.push_back(std::move(text));
    trim(fresh_); // a request may hang for a while
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
        changed_.wait(lock, [this] { return sendNow_ || stopping_; });
        if (stopping_)
            return;
        sendNow_ = false;
        sending_ = true;
        sendDue(lock);
        sending_ = false;
        changed_.notify_all();
    }
}

void TelemetryEmitter::sendDue(std::unique_lock<std::mutex>& lock) {
    std::move(fresh_.begin(), fresh_.end(), std::back_inserter(queue_));
    fresh_.clear();
    while (!queue_.empty() && !stopping_) {
        const auto end = queue_.begin() + static_cast<std::ptrdiff_t>(std::min(queue_.size(), batchSize));
        const std::vector<std::string> batch(queue_.begin(), end);
        lock.unlock();
        const bool sent = post(batch);
        lock.lock();
        if (!sent) {
            trim(queue_);
            return; // the rest would fail as well
        }
        queue_.erase(queue_.begin(), end);
    }
}

bool TelemetryEmitter::post(const std::vector<std::string>& events) const {
    std::string body = "{\"events\":[";
    for (const std::string& event : events)
        body += (&event == &events.front() ? "" : ",") + event;
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
             cancel_});
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
