#pragma once

#include <QString>
#include <QUrl>

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace zorbel::test {

/// Takes batches on a loopback port, or refuses them, or keeps the sender waiting.
class TelemetryCollector {
public:
    TelemetryCollector() {
        server_.Post("/events", [this](const httplib::Request& request, httplib::Response& response) {
            released_.wait();
            const std::lock_guard lock(mutex_);
            contentType_ = request.get_header_value("Content-Type");
            if (refusing_) {
                response.status = 500;
                return;
            }
            batches_.push_back(nlohmann::json::parse(request.body));
        });
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        while (!server_.is_running()) // a stop() before that would be lost
            std::this_thread::yield();
    }
    ~TelemetryCollector() {
        release();
        server_.stop();
        thread_.join();
    }

    QUrl url() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/events").arg(port_)); }
    void refuse(bool refusing) {
        const std::lock_guard lock(mutex_);
        refusing_ = refusing;
    }
    /// Requests hang from now on.
    void hold() {
        promise_ = {};
        released_ = promise_.get_future().share();
        held_ = true;
    }
    void release() {
        if (std::exchange(held_, false))
            promise_.set_value();
    }
    std::vector<nlohmann::json> batches() const {
        const std::lock_guard lock(mutex_);
        return batches_;
    }
    std::string contentType() const {
        const std::lock_guard lock(mutex_);
        return contentType_;
    }
    /// The events' names in the order of their arrival.
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const nlohmann::json& batch : batches())
            for (const nlohmann::json& event : batch.at("events"))
                all.push_back(event.at("event"));
        return all;
    }

private:
    static std::shared_future<void> ready() {
        std::promise<void> promise;
        promise.set_value();
        return promise.get_future().share();
    }

    httplib::Server server_;
    int port_ = 0;
    mutable std::mutex mutex_;
    bool refusing_ = false;
    std::string contentType_;
    std::vector<nlohmann::json> batches_;
    bool held_ = false;
    std::promise<void> promise_;
    std::shared_future<void> released_ = ready();
    std::thread thread_;
};

} // namespace zorbel::test
