#pragma once

#include <filesystem>
#include <string>

namespace zorbel {

/// Of a system's dump, from which nothing can be removed.
bool holdsMemory(const std::filesystem::path& crashDump);

/// A text dump, at most its first megabyte; of another one what it is. Any thread.
std::string crashDumpText(const std::filesystem::path& crashDump);

} // namespace zorbel
