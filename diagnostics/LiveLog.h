#pragma once

#include "app/log/ILogSink.h"

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace zorbel {

/// The last lines of the log, for whoever wants to see them, when they want. Whoever logs never waits for
/// that: a line is copied, and the oldest goes where there are too many. Any thread.
class LiveLog : public ILogSink {
public:
    static constexpr std::size_t mostLines = 5000;
    static constexpr std::size_t mostBytes = std::size_t{4} << 20;
    static constexpr std::size_t longestLine = 8192; ///< in bytes; more is cut off

    void write(const char* line, std::size_t length) override;
    void flush() override {}

    struct Lines {
        std::vector<std::string> lines; ///< the oldest first
        std::uint64_t next = 0;         ///< the number of the line that comes after them
    };
    /// Those from this number on that are still there; the first line of all is 0.
    Lines since(std::uint64_t number) const;

private:
    mutable std::mutex mutex_;
    std::deque<std::string> lines_;
    std::size_t bytes_ = 0;
    std::uint64_t next_ = 0;
};

} // namespace zorbel
