#pragma once

#include "tests/support/MisbehavingServer.h"

#include <QUrl>

#include <nlohmann/json.hpp>

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace zorbel::test {

/// Takes batches on a loopback port, or refuses them, or keeps the sender waiting.
class TelemetryCollector {
public:
    ~TelemetryCollector() { release(); }

    QUrl url() const { return QUrl(server_.url(QStringLiteral("/events"))); }
    void refuse(bool refusing) { set(refusing_, refusing); }
    /// Requests hang from now on.
    void hold() { set(held_, true); }
    void release() { set(held_, false); }

    /// Waits for one batch at least.
    void waitForBatch() const {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return !batches_.empty(); });
    }
    std::vector<nlohmann::json> batches() const {
        const std::lock_guard lock(mutex_);
        return batches_;
    }
    std::vector<RecordedRequest> requests() const { return server_.requests(); }
    /// The events' names in the order of their arrival.
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const nlohmann::json& batch : batches())
            for (const nlohmann::json& event : batch.at("events"))
                all.push_back(event.at("event"));
        return all;
    }

private:
    void set(bool& flag, bool value) {
        const std::lock_guard lock(mutex_);
        flag = value;
        changed_.notify_all();
    }
    void take(Exchange& exchange) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return !held_; });
        if (!refusing_)
            batches_.push_back(nlohmann::json::parse(exchange.request.body));
        const int status = refusing_ ? 500 : 204;
        changed_.notify_all();
        lock.unlock();
        exchange.reply(status, "");
    }

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    bool refusing_ = false;
    bool held_ = false;
    std::vector<nlohmann::json> batches_;
    MisbehavingServer server_{[this](Exchange& exchange) { take(exchange); }};
};

} // namespace zorbel::test
