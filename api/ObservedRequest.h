#pragma once

#include "api/ApiClientConfig.h"
#include "api/ZorbelApiError.h"

#include <QUrl>

#include <chrono>
#include <exception>

namespace zorbel {

/// What may be told of an address' path: no identifier.
QString pathWords(const QString& path);

/// Does a request and tells the configuration's observer, if there is one, what it came to. path: as in
/// RequestOutcome.
template <typename Request>
auto observed(const ApiClientConfig& config, const QString& path, bool isLocalNode, Request request) {
    struct Telling {
        ~Telling() {
            if (!config.observer)
                return;
            outcome.took = std::chrono::duration_cast<std::chrono::milliseconds>(
                std::chrono::steady_clock::now() - begun);
            config.observer(outcome);
        }
        const ApiClientConfig& config;
        RequestOutcome outcome;
        std::chrono::steady_clock::time_point begun = std::chrono::steady_clock::now();
    } telling{config, {path, isLocalNode, 200, {}, {}}};
    try {
        return request();
    } catch (const ZorbelApiError& error) {
        telling.outcome.status = error.status;
        telling.outcome.failure = error.cause == ZorbelApiError::Cause::NoAnswer ? QStringLiteral("no answer")
                                  : error.cause == ZorbelApiError::Cause::SafetyLimit
                                      ? QStringLiteral("too much data")
                                  : error.status != 0 ? QStringLiteral("HTTP error")
                                                      : QStringLiteral("failed");
        throw;
    } catch (...) {
        telling.outcome.status = 0;
        telling.outcome.failure = QStringLiteral("failed");
        throw;
    }
}

} // namespace zorbel
