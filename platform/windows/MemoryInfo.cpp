#include "platform/MemoryInfo.h"

#include <windows.h>

#include <psapi.h>

namespace zorbel {

MemoryInfo memoryInfo() noexcept {
    MemoryInfo info;
    PROCESS_MEMORY_COUNTERS process{};
    process.cb = sizeof process;
    if (K32GetProcessMemoryInfo(GetCurrentProcess(), &process, sizeof process)) {
        info.resident = process.WorkingSetSize;
        info.peakResident = process.PeakWorkingSetSize;
    }
    MEMORYSTATUSEX machine{};
    machine.dwLength = sizeof machine;
    if (GlobalMemoryStatusEx(&machine)) {
        info.machineTotal = machine.ullTotalPhys;
        info.machineAvailable = machine.ullAvailPhys;
    }
    return info;
}

} // namespace zorbel
