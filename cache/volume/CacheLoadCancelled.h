#pragma once

#include <atomic>
#include <stdexcept>

namespace zorbel {

/// Thrown by the steps of a volume cache load once their cancel flag is set.
class CacheLoadCancelled : public std::runtime_error {
public:
    CacheLoadCancelled() : std::runtime_error("The load was cancelled") {}

    static void throwIfSet(const std::atomic<bool>* cancel) {
        if (cancel && *cancel)
            throw CacheLoadCancelled();
    }
};

} // namespace zorbel
