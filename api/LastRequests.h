#pragma once

#include "api/RequestOutcome.h"

#include <chrono>
#include <map>
#include <mutex>
#include <optional>

namespace zorbel {

/// The last request to the service and to Local Nodes, and the last that went well. Any thread.
class LastRequests {
public:
    using Time = std::chrono::system_clock::time_point;

    struct Noted {
        RequestOutcome outcome;
        Time time; ///< of its end
    };
    struct Of {
        std::optional<Noted> last;
        std::optional<Time> lastSuccess;
        std::uint64_t requests = 0;
        std::uint64_t failures = 0;
    };

    void note(const RequestOutcome& outcome);
    Of of(bool localNode) const;

private:
    mutable std::mutex mutex_;
    std::map<bool, Of> noted_;
};

} // namespace zorbel
