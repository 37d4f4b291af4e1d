#pragma once

#include <QString>

#include <cstdint>

namespace zorbel {

/// Where the service is and how long and how much a request may take. Times are milliseconds, sizes bytes.
struct ApiClientConfig {
    QString baseUrl; ///< service root, without trailing path
    std::int32_t requestTimeoutMs = 30000;
    std::int32_t transferTimeoutMs = 180000;
    std::uint64_t maximumResponseBytes = 16777216;
    std::uint64_t maximumDicomBytes = 536870912;
};

} // namespace zorbel
