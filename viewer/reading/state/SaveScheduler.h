#pragma once

#include "viewer/reading/state/StateKind.h"

#include <array>
#include <chrono>
#include <optional>
#include <vector>

namespace zorbel {

/// When to write what has changed: at once, but each kind at most once per 500 ms, so that a drag is written
/// while it goes on and once more when it has ended. It neither waits nor writes: after each call the caller
/// sets his timer to wait(), and writes what takeDue() names. One thread.
class SaveScheduler {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Duration = std::chrono::steady_clock::duration;

    static constexpr std::chrono::milliseconds interval{500};
    /// After a write that failed: a full disk is not complained about twice a second.
    static constexpr std::chrono::seconds retryInterval{5};

    void changed(StateKind kind) { of(kind).dirty = true; }
    /// A write that takeDue() or takeAll() asked for has failed.
    void failed(StateKind kind, Time now);

    /// How long until something is due, 0 for now; nothing while all is written.
    std::optional<Duration> wait(Time now) const;
    /// What is to be written now; counts as written.
    std::vector<StateKind> takeDue(Time now);
    /// The same for all that has changed: before the study is closed.
    std::vector<StateKind> takeAll(Time now);
    /// Another study is open: what was not taken is forgotten, and nothing waits for an earlier write.
    void reset() { kinds_ = {}; }

private:
    struct Kind {
        bool dirty = false;
        std::optional<Time> notBefore;
    };
    Kind& of(StateKind kind) { return kinds_[static_cast<std::size_t>(kind)]; }
    std::vector<StateKind> take(Time now, bool all);

    std::array<Kind, stateKindCount> kinds_{};
};

} // namespace zorbel
