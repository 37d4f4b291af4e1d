#pragma once

#include "ApiTestSupport.h"

#include <atomic>
#include <mutex>
#include <string>

namespace zorbel::test {

/// A service with the users "anna" and "ben" that hands out the tokens "NAME-1", "NAME-2", … and knows but
/// the last one.
class EndingSessions {
public:
    static bool signIn(ZorbelApiClient& client, const char* name) {
        return client.signIn(QString::fromLatin1(name), QStringLiteral("pass")).success;
    }
    ApiClientConfig config() const { return configFor(server_); }
    std::vector<RecordedRequest> requests() const { return server_.requests(); }
    void endAll() {
        const std::lock_guard lock(mutex_);
        valid_.clear();
    }
    /// Of the profiles from now on.
    void setOrganization(const std::string& id) {
        const std::lock_guard lock(mutex_);
        organization_ = id;
    }
    /// A list request for "held" is answered after `release`.
    bool waitForHeld() const {
        return pollUntil([this] { return held_.load(); });
    }
    void release() { released_ = true; }

private:
    void serve(Exchange& exchange) {
        if (exchange.request.isFor("search=held")) {
            held_ = true;
            EXPECT_TRUE(pollUntil([this] { return released_.load(); }));
        }
        const auto [status, body] = answerTo(exchange.request);
        if (status == 0)
            serveSession(exchange);
        else
            exchange.reply(status, body);
    }
    std::pair<int, std::string> answerTo(const RecordedRequest& request) {
        const std::lock_guard lock(mutex_);
        if (request.isFor("/api/auth/login")) {
            const std::string name = request.body.find("ben") != std::string::npos ? "ben" : "anna";
            valid_ = name + "-" + std::to_string(++issued_);
            return {200, R"({"token":")" + valid_ + R"(","user":)" + profileOf(name) + "}"};
        }
        if (valid_.empty() || !request.has("Bearer " + valid_ + "\r\n"))
            return {401, R"({"error":"Expired"})"};
        if (request.isFor("/api/auth/me"))
            return {200, R"({"user":)" + profileOf(valid_.substr(0, valid_.find('-'))) + "}"};
        return request.isFor("viewer-proxy") ? std::pair(200, std::string(R"({"Series":["series"]})"))
                                             : std::pair(0, std::string());
    }
    std::string profileOf(const std::string& name) const {
        return R"({"id":")" + name + R"(","organizationId":")" + organization_ + "\"}";
    }

    std::mutex mutex_;
    std::string valid_;
    std::string organization_ = "o1";
    int issued_ = 0;
    std::atomic<bool> held_ = false;
    std::atomic<bool> released_ = false;
    MisbehavingServer server_{[this](Exchange& exchange) { serve(exchange); }};
};

} // namespace zorbel::test
