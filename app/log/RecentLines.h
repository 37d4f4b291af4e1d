#pragma once

#include "app/log/ILogSink.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace zorbel {

/// Keeps the last lines of the log in memory of its own, so that a crash report can hold them: reading them
/// neither locks nor allocates, and may happen within a signal handler while other threads go on logging.
class RecentLines : public ILogSink {
public:
    static constexpr std::size_t lineCount = 200;
    static constexpr std::size_t longestLine = 512; ///< in bytes, line feed included; more is cut off

    void write(const char* line, std::size_t length) override;
    void flush() override {}

    /// Copies the lines, the oldest first; one that is being replaced just now is left out. Returns how many
    /// bytes that were, as far as there is room for whole lines.
    std::size_t copy(char* to, std::size_t room) const noexcept;

private:
    struct Slot {
        std::atomic<std::uint64_t> number{0}; ///< of its line, from 1; 0 while it is written
        std::atomic<std::size_t> length{0};
        std::array<std::atomic<char>, longestLine> text{};
    };

    static bool copySlot(const Slot& slot, std::uint64_t number, char* to, std::size_t& length) noexcept;

    std::array<Slot, lineCount> slots_;
    std::atomic<std::uint64_t> written_{0};
};

} // namespace zorbel
