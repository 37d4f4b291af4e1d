#pragma once

#include <atomic>
#include <memory>

namespace zorbel {

/// Set by any thread to end a call early; polled every 75 ms. A null pointer means the call cannot be
/// cancelled.
using CancelFlag = std::shared_ptr<std::atomic<bool>>;

inline bool isCancelled(const CancelFlag& flag) {
    return flag && flag->load(std::memory_order_relaxed);
}

inline constexpr int cancelPollMs = 75;

} // namespace zorbel
