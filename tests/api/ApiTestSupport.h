#pragma once

#include "tests/support/MisbehavingServer.h"

#include "api/ZorbelApiClient.h"
#include "tests/support/PollUntil.h"

#include <gtest/gtest.h>

namespace zorbel::test {

inline ApiClientConfig configFor(const MisbehavingServer& server) {
    ApiClientConfig config;
    config.baseUrl = server.url();
    return config;
}

/// A client in session with the server, whose script leaves the session's requests to serveSession.
inline std::unique_ptr<ZorbelApiClient> signedIn(ApiClientConfig config) {
    auto client = std::make_unique<ZorbelApiClient>(std::move(config));
    const LoginOutcome outcome =
        client->signIn(QStringLiteral("anna@clinic.example"), QStringLiteral("pass"));
    EXPECT_TRUE(outcome.success) << outcome.errorMessage.toStdString();
    return client;
}

/// What the call threw, which every failing call does.
template <typename Call>
ZorbelApiError failureOf(Call call) {
    try {
        call();
    } catch (const ZorbelApiError& error) {
        return error;
    }
    ADD_FAILURE() << "nothing was thrown";
    return ZorbelApiError("nothing was thrown");
}

/// A flag that another thread sets once `ready` returns.
class CancelLater {
public:
    explicit CancelLater(std::function<void()> ready)
        : thread_([this, ready = std::move(ready)] {
              ready();
              flag->store(true);
          }) {}
    ~CancelLater() { thread_.join(); }

    const CancelFlag flag = std::make_shared<std::atomic<bool>>(false);

private:
    std::thread thread_;
};

} // namespace zorbel::test
