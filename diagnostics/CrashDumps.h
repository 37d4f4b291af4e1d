#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zorbel {

/// A file that a fault left behind.
struct CrashDump {
    std::filesystem::path file;
    std::uint64_t bytes = 0;
    /// A system's dump, which holds memory contents: nothing can be removed from it.
    bool holdsMemory = false;
};

/// Those in the folder, the newest first; none where it cannot be read. Any thread.
std::vector<CrashDump> crashDumps(const std::filesystem::path& folder);

/// A text dump, at most its first megabyte; of another one what it is. Any thread.
std::string crashDumpText(const std::filesystem::path& file);

} // namespace zorbel
