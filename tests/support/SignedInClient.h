#pragma once

#include "api/ZorbelApiClient.h"
#include "demo/DemoAccounts.h"
#include "demo/DemoService.h"

#include <gtest/gtest.h>

#include <memory>

namespace zorbel::test {

/// The demo service's reader, signed in. The service must have started.
inline std::shared_ptr<ZorbelApiClient>
signedInClient(const demo::DemoService& service, ApiClientConfig config = {}) {
    config.baseUrl = QString::fromStdString(service.baseUrl());
    auto client = std::make_shared<ZorbelApiClient>(config);
    const auto outcome = client->signIn(
        QString::fromLatin1(demo::readerAccount.email), QString::fromLatin1(demo::readerAccount.password));
    EXPECT_TRUE(outcome.success) << outcome.errorMessage.toStdString();
    return client;
}

} // namespace zorbel::test
