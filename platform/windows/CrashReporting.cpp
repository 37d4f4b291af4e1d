#include "platform/CrashReporting.h"

#include "app/log/Logger.h"
#include "app/log/RecentLines.h"
#include "platform/CrashDumpTime.h"
#include "platform/PrivateFile.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <iterator>
#include <memory>
#include <string>

#include <windows.h>

#include <dbghelp.h>

namespace zorbel {

namespace {

// Laid out before the crash: a damaged heap must not be needed to report itself.
wchar_t dumpPrefix[32768];
char comment[256];
char lastLines[RecentLines::lineCount * RecentLines::longestLine];
RecentLines* recentLines = nullptr;
std::atomic<bool> handling = false;

/// Stands in a dump for a program that ended itself: abort() and exceptions that nobody caught.
constexpr DWORD abortedCode = 0xE05A0001;

void writeDump(EXCEPTION_POINTERS* exception) {
    static wchar_t path[32768 + 64];
    const auto time = crashDumpTime(std::time(nullptr));
    const DWORD process = GetCurrentProcessId();
    std::swprintf(path, sizeof path / sizeof *path, L"%ls%hs-%lu.dmp", dumpPrefix, time.data(), process);
    const HANDLE file =
        CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return;
    }
    MINIDUMP_EXCEPTION_INFORMATION information{GetCurrentThreadId(), exception, FALSE};
    MINIDUMP_USER_STREAM stream[] = {
        {CommentStreamA, static_cast<ULONG>(std::char_traits<char>::length(comment) + 1), comment},
        {crashDumpLogStream, static_cast<ULONG>(recentLines->copy(lastLines, sizeof lastLines)), lastLines}};
    MINIDUMP_USER_STREAM_INFORMATION streams{static_cast<ULONG>(std::size(stream)), stream};
    MiniDumpWriteDump(GetCurrentProcess(), process, file, MiniDumpNormal, &information, &streams, nullptr);
    CloseHandle(file);
}

LONG WINAPI onUnhandledException(EXCEPTION_POINTERS* exception) {
    // A second thread that crashes waits for the first one's dump and ends with the process.
    while (handling.exchange(true)) {
        Sleep(INFINITE);
    }
    writeDump(exception);
    return EXCEPTION_EXECUTE_HANDLER;
}

void onAbort(int) {
    RaiseException(abortedCode, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}

} // namespace

bool installCrashReporting(
    const std::filesystem::path& folder, std::string_view baseName, std::string_view version) {
    try {
        createPrivateFolder(folder);
        const std::wstring prefix =
            (std::filesystem::absolute(folder) / (std::string(baseName) + "-")).make_preferred().wstring();
        const std::string text = std::string(baseName) + " version " + std::string(version);
        if (prefix.size() * sizeof(wchar_t) >= sizeof dumpPrefix || text.size() >= sizeof comment) {
            return false;
        }
        prefix.copy(dumpPrefix, prefix.size());
        text.copy(comment, text.size());
        if (recentLines == nullptr) {
            recentLines = new RecentLines; // for good: a crash may come while the program's statics go
            Logger::instance().addSink(std::shared_ptr<ILogSink>(std::shared_ptr<void>(), recentLines));
        }
    } catch (const std::exception&) {
        return false;
    }
    // Keeps room on this thread's stack for the filter to run after a stack overflow.
    ULONG reserve = 64 * 1024;
    SetThreadStackGuarantee(&reserve);
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(onUnhandledException);
    std::signal(SIGABRT, onAbort);
    std::set_terminate([] { std::abort(); });
    return true;
}

} // namespace zorbel
