#include "benchmarks/ProcessMemory.h"

#include <fstream>
#include <stdexcept>
#include <string>

namespace zorbel::bench {

namespace {

double megabytesOf(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind(field + ":", 0) == 0)
            return std::stod(line.substr(field.size() + 1)) * 1024.0 / 1e6; // given in kB of 1024 bytes
    throw std::runtime_error("The kernel does not tell " + field);
}

} // namespace

double residentMegabytes() {
    return megabytesOf("VmRSS");
}

double peakMegabytes() {
    return megabytesOf("VmHWM");
}

void resetPeak() {
    std::ofstream control("/proc/self/clear_refs");
    control << "5" << std::flush;
    if (!control)
        throw std::runtime_error("The kernel does not reset the peak of resident memory");
}

} // namespace zorbel::bench
