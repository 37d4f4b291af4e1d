#pragma once

#include <filesystem>
#include <string_view>

namespace zorbel {

/// The type of the stream that holds the last lines of the log in a Windows dump.
inline constexpr unsigned long crashDumpLogStream = 0x5A4C0001;

/// Has a fatal signal, an unhandled system exception or a C++ exception that nobody catches leave a dump
/// named baseName-YYYYMMDDTHHMMSSZ-pid (.dmp on Windows, .txt on Linux) in `folder`, which is created
/// private. The dump holds the version, the last lines of the log (a sink that keeps them is added to it),
/// and on Linux the signal and the crashed thread's call chain, and no other memory contents. False when the
/// folder cannot be used or the handlers cannot be set. To be called once, early, on the main thread.
bool installCrashReporting(
    const std::filesystem::path& folder, std::string_view baseName, std::string_view version);

} // namespace zorbel
