#include "diagnostics/CrashDumpText.h"

#include "platform/RegularFile.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <span>

namespace zorbel {

bool holdsMemory(const std::filesystem::path& crashDump) {
    return crashDump.extension() == ".dmp";
}

std::string crashDumpText(const std::filesystem::path& crashDump) {
    constexpr std::uint64_t longest = std::uint64_t{1} << 20;
    if (holdsMemory(crashDump))
        return "A memory dump of the system, for a debugger.";
    try {
        RegularFile file(crashDump);
        std::string text(static_cast<std::size_t>(std::min<std::uint64_t>(file.size(), longest)), '\0');
        text.resize(file.read(std::as_writable_bytes(std::span(text.data(), text.size()))));
        return text;
    } catch (const std::exception&) {
        return "This dump cannot be read.";
    }
}

} // namespace zorbel
