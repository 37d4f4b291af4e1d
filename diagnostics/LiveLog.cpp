#include "diagnostics/LiveLog.h"

#include <algorithm>

namespace zorbel {

void LiveLog::write(const char* line, std::size_t length) {
    while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r'))
        --length;
    std::string copy(line, std::min(length, longestLine));
    const std::lock_guard lock(mutex_);
    bytes_ += copy.size();
    lines_.push_back(std::move(copy));
    ++next_;
    while (lines_.size() > mostLines || bytes_ > mostBytes) {
        bytes_ -= lines_.front().size();
        lines_.pop_front();
    }
}

LiveLog::Lines LiveLog::since(std::uint64_t number) const {
    const std::lock_guard lock(mutex_);
    const std::uint64_t first = next_ - lines_.size();
    const auto skipped = static_cast<std::ptrdiff_t>(std::clamp(number, first, next_) - first);
    return {{lines_.begin() + skipped, lines_.end()}, next_};
}

} // namespace zorbel
