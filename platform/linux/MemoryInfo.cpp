#include "platform/MemoryInfo.h"

#include <cstdio>
#include <cstring>

namespace zorbel {

namespace {

/// The value of a line such as "VmRSS:   1234 kB", in bytes.
bool read(const char* line, const char* name, std::uint64_t& bytes) noexcept {
    const std::size_t length = std::strlen(name);
    unsigned long long kibibytes = 0;
    if (std::strncmp(line, name, length) != 0 || std::sscanf(line + length, " %llu", &kibibytes) != 1)
        return false;
    bytes = std::uint64_t{kibibytes} * 1024;
    return true;
}

template <typename Take>
void eachLine(const char* path, Take take) noexcept {
    std::FILE* file = std::fopen(path, "re");
    if (file == nullptr)
        return;
    char line[256];
    while (std::fgets(line, sizeof line, file) != nullptr)
        take(line);
    std::fclose(file);
}

} // namespace

MemoryInfo memoryInfo() noexcept {
    MemoryInfo info;
    eachLine("/proc/self/status", [&info](const char* line) {
        if (!read(line, "VmRSS:", info.resident))
            read(line, "VmHWM:", info.peakResident);
    });
    eachLine("/proc/meminfo", [&info](const char* line) {
        if (!read(line, "MemTotal:", info.machineTotal))
            read(line, "MemAvailable:", info.machineAvailable);
    });
    return info;
}

} // namespace zorbel
