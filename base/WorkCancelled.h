#pragma once

#include <atomic>
#include <stdexcept>

namespace zorbel {

/// Thrown by work that somebody cancelled: neither a result nor a failure.
class WorkCancelled : public std::runtime_error {
public:
    WorkCancelled() : std::runtime_error("Cancelled") {}
};

/// Throws WorkCancelled once the flag is set; a null flag never is.
inline void throwIfCancelled(const std::atomic<bool>* cancel) {
    if (cancel && *cancel)
        throw WorkCancelled();
}

} // namespace zorbel
