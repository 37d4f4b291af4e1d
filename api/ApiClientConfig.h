#pragma once

#include "api/RequestOutcome.h"

#include <QString>

#include <cstdint>
#include <functional>

namespace zorbel {

/// Where the service is and how long and how much a request may take. Times are milliseconds, sizes bytes.
struct ApiClientConfig {
    QString baseUrl; ///< service root, without trailing path
    std::int32_t requestTimeoutMs = 30000;
    std::int32_t transferTimeoutMs = 180000;
    std::uint64_t maximumResponseBytes = 16777216;
    std::uint64_t maximumDicomBytes = 536870912;
    /// Of a Local Node that the cloud can stand in for: longer silence counts as a failure of the node.
    std::int32_t localNodePatienceMs = 10'000;
    /// Seconds since the Unix epoch, for what expires; empty means the system's clock. Called from any
    /// thread.
    std::function<std::int64_t()> clock{};
    /// Is told what each request came to, if given; called from any thread.
    std::function<void(const RequestOutcome&)> observer{};
};

} // namespace zorbel
