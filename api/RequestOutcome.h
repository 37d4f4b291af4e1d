#pragma once

#include <QString>

#include <chrono>
#include <cstdint>

namespace zorbel {

/// What one request came to. It names no study and nobody: of the address it has the words alone.
struct RequestOutcome {
    QString path; ///< "/apps/pacs/api/studies"; "…" for each part that may be an identifier
    bool isLocalNode = false;
    std::int32_t status = 0; ///< HTTP status of a failure; 200 for any success, 0 without an answer
    QString failure; ///< a word: "no answer", "too much data", "HTTP error", "failed"; empty on success
    std::chrono::milliseconds took{0};
};

} // namespace zorbel
