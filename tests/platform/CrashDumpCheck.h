#pragma once

#include <filesystem>
#include <string>

enum class CrashKind { MemoryFault, StackOverflow, Abort, Exception, OutOfMemory };

/// Expectations of this system's form of a dump. Returns the lines of the log in it.
std::string checkCrashDump(
    const std::filesystem::path& path, const std::string& contents, const std::string& version,
    CrashKind kind);
