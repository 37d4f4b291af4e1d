#include "viewer/reading/state/SaveScheduler.h"

#include <algorithm>

namespace zorbel {

void SaveScheduler::failed(StateKind kind, Time now) {
    of(kind) = {true, now + retryInterval};
}

std::optional<SaveScheduler::Duration> SaveScheduler::wait(Time now) const {
    std::optional<Duration> shortest;
    for (const Kind& kind : kinds_) {
        if (!kind.dirty)
            continue;
        const auto left =
            kind.notBefore ? std::max(*kind.notBefore - now, Duration::zero()) : Duration::zero();
        shortest = std::min(shortest.value_or(left), left);
    }
    return shortest;
}

std::vector<StateKind> SaveScheduler::takeDue(Time now) {
    return take(now, false);
}

std::vector<StateKind> SaveScheduler::takeAll(Time now) {
    return take(now, true);
}

std::vector<StateKind> SaveScheduler::take(Time now, bool all) {
    std::vector<StateKind> due;
    for (std::size_t index = 0; index < kinds_.size(); ++index) {
        Kind& kind = kinds_[index];
        if (kind.dirty && (all || !kind.notBefore || now >= *kind.notBefore)) {
            kind = {false, now + interval};
            due.push_back(static_cast<StateKind>(index));
        }
    }
    return due;
}

} // namespace zorbel
