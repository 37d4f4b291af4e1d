#include "app/log/RecentLines.h"

#include <algorithm>

namespace zorbel {

void RecentLines::write(const char* line, std::size_t length) {
    if (length == 0)
        return;
    const std::uint64_t number = written_.load(std::memory_order_relaxed) + 1;
    Slot& slot = slots_[number % lineCount];
    slot.number.store(0, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    const std::size_t kept = std::min(length, longestLine);
    for (std::size_t i = 0; i + 1 < kept; ++i)
        slot.text[i].store(line[i], std::memory_order_relaxed);
    slot.text[kept - 1].store('\n', std::memory_order_relaxed);
    slot.length.store(kept, std::memory_order_relaxed);
    slot.number.store(number, std::memory_order_release);
    written_.store(number, std::memory_order_release);
}

std::size_t RecentLines::copy(char* to, std::size_t room) const noexcept {
    const std::uint64_t last = written_.load(std::memory_order_acquire);
    std::size_t used = 0;
    for (std::uint64_t number = last > lineCount ? last - lineCount + 1 : 1; number <= last; ++number) {
        std::size_t length = room - used;
        if (copySlot(slots_[number % lineCount], number, to + used, length))
            used += length;
    }
    return used;
}

/// `length` is the room there is, and then what was used of it.
bool RecentLines::copySlot(const Slot& slot, std::uint64_t number, char* to, std::size_t& length) noexcept {
    if (slot.number.load(std::memory_order_acquire) != number)
        return false;
    const std::size_t size = slot.length.load(std::memory_order_relaxed);
    if (size > length)
        return false;
    for (std::size_t i = 0; i < size; ++i)
        to[i] = slot.text[i].load(std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_acquire);
    length = size;
    return slot.number.load(std::memory_order_relaxed) == number;
}

} // namespace zorbel
