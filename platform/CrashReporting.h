#pragma once

#include <filesystem>
#include <string_view>

namespace zorbel {

/// The type of the stream that holds the last lines of the log in a Windows dump.
inline constexpr unsigned long crashDumpLogStream = 0x5A4C0001;

/// Has a fatal signal, an unhandled system exception or a C++ exception that nobody catches leave a dump
/// named baseName-YYYYMMDDTHHMMSSZ-pid (.dmp on Windows, .txt on Linux) in `folder`, which is created
/// private; of earlier dumps there the newest are kept (see CrashDumps). The dump holds the version, what
/// happened, the last lines of the log (a sink that keeps them is added to it) and what each thread was
/// doing, and no other memory contents: on Linux as text, with the build id of each module that call chains
/// lead through. Of an exception it tells the type alone. An overflow of a thread's stack is reported where
/// the thread is guarded (guardThreadStack()), which the calling one is from now on. False when the folder
/// cannot be used or the handlers cannot be set. To be called once, early, on the main thread.
bool installCrashReporting(
    const std::filesystem::path& folder, std::string_view baseName, std::string_view version);

} // namespace zorbel
