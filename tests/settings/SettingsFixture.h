#pragma once

#include "settings/model/SettingsModel.h"
#include "settings/store/SettingsStore.h"
#include "tests/support/MisbehavingServer.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace zorbel::test {

/// A signed-in client of a service with one node, settings in a file of their own, and a storage that only
/// notes what it is asked for.
class SettingsFixture : public testing::Test {
protected:
    struct NotedStorage : StorageInUse {
        std::optional<ViewerStorage> storage() const override { return used; }
        void change(
            const ViewerCacheSettings& chosen, bool removeOld,
            std::function<void(const QString&)> done) override {
            changes.push_back(chosen);
            removals.push_back(removeOld);
            done(failure);
        }
        void clear(std::function<void(const QString&)> done) override { done(failure); }

        std::optional<ViewerStorage> used;
        std::vector<ViewerCacheSettings> changes;
        std::vector<bool> removals;
        QString failure;
    };

    explicit SettingsFixture(const std::string& role = "CLIENT_ADMIN") : role_(role) {
        ApiClientConfig config;
        config.baseUrl = server_.url();
        client_ = std::make_shared<ZorbelApiClient>(config);
        EXPECT_TRUE(client_->signIn(QStringLiteral("anna@clinic.example"), QStringLiteral("p")).success);
        used_.cacheDir = folder_.filePath(QStringLiteral("cache")).toStdString();
        used_.write(store_);
        storage_.used = ViewerStorage(used_.cacheDir, StorageScope::of("o1", "u1"));
    }

    void serve(Exchange& exchange) {
        const auto& request = exchange.request;
        if (hanging_ && request.isFor("local-nodes")) {
            exchange.waitForHangUp();
            return;
        }
        if (request.isFor("/api/auth/me"))
            exchange.reply(
                expired_ ? 401 : 200,
                R"({"user":{"id":"u1","email":"anna@clinic.example","name":"Anna","role":")" + role_ +
                    R"(","effectiveOrganizationId":"o1","organizationName":"Clinic"}})");
        else if (request.isFor("/local-nodes/session"))
            exchange.reply(200, R"({"baseUrl":")" + server_.url().toStdString() + R"(","token":"n0de"})");
        else if (request.isFor("/identity"))
            exchange.reply(200, foreign_ ? R"({"organizationId":"o2"})" : R"({"organizationId":"o1"})");
        else if (request.isFor("/local-nodes") && request.method == "POST")
            exchange.reply(addressRefused_ ? 400 : 200, R"({"message":"No such network"})");
        else if (request.isFor("/local-nodes"))
            exchange.reply(200, nodes_);
        else if (!serveSession(exchange))
            exchange.reply(404, "{}");
    }
    std::string lastBodyFor(std::string_view path) const {
        std::string body;
        for (const auto& request : server_.requests())
            if (request.isFor(path) && request.method == "POST")
                body = request.body;
        return body;
    }

    const std::string role_;
    std::string nodes_ =
        R"({"nodes":[{"clinicId":"n1","name":"Node","baseUrl":"http://10.0.0.5","status":"ONLINE"}]})";
    std::atomic<bool> hanging_ = false, expired_ = false, foreign_ = false, addressRefused_ = false;
    MisbehavingServer server_{[this](Exchange& exchange) { serve(exchange); }};
    std::shared_ptr<ZorbelApiClient> client_;
    QTemporaryDir folder_;
    const QString file_ = folder_.filePath(QStringLiteral("settings.ini"));
    SettingsStore store_{file_};
    ViewerCacheSettings used_{{}, 1, 10};
    NotedStorage storage_;
};

} // namespace zorbel::test
