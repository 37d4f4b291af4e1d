#pragma once

#include <cstdint>

namespace zorbel {

/// In bytes; 0 where the system does not tell.
struct MemoryInfo {
    std::uint64_t resident = 0;         ///< of this process, in the machine's memory
    std::uint64_t peakResident = 0;     ///< the most of that since it began
    std::uint64_t machineTotal = 0;     ///< of the machine
    std::uint64_t machineAvailable = 0; ///< for programs, without paging
};

/// Any thread; never throws.
MemoryInfo memoryInfo() noexcept;

} // namespace zorbel
