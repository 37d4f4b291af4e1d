#include "api/LastRequests.h"

namespace zorbel {

void LastRequests::note(const RequestOutcome& outcome) {
    const auto now = std::chrono::system_clock::now();
    const std::lock_guard lock(mutex_);
    Of& noted = noted_[outcome.isLocalNode];
    noted.last = Noted{outcome, now};
    ++noted.requests;
    if (outcome.failure.isEmpty())
        noted.lastSuccess = now;
    else
        ++noted.failures;
}

LastRequests::Of LastRequests::of(bool localNode) const {
    const std::lock_guard lock(mutex_);
    const auto found = noted_.find(localNode);
    return found == noted_.end() ? Of() : found->second;
}

} // namespace zorbel
