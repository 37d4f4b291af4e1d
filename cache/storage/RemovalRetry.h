#pragma once

#include "platform/FileInUse.h"

#include <chrono>
#include <system_error>
#include <thread>

namespace zorbel {

inline constexpr int removalAttempts = 10;

/// Calls `remove`, which returns a std::error_code, until it succeeds, 10 times at most and with a pause
/// after each failure; a failure that is not for a file in use is final.
template <typename Remove>
std::error_code removeWithRetry(Remove remove, std::chrono::milliseconds pause) {
    for (int attempt = 1;; ++attempt) {
        const std::error_code error = remove();
        if (!isFileInUse(error) || attempt == removalAttempts)
            return error;
        std::this_thread::sleep_for(pause);
    }
}

} // namespace zorbel
