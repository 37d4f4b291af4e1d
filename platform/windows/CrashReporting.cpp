#include "platform/CrashReporting.h"

#include "app/log/Logger.h"
#include "app/log/RecentLines.h"
#include "platform/CrashDumpTime.h"
#include "platform/CrashDumps.h"
#include "platform/PrivateFile.h"
#include "platform/threads/StackGuard.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <typeinfo>

#include <windows.h>

#include <dbghelp.h>

namespace zorbel {

namespace {

// Laid out before the crash: a damaged heap must not be needed to report itself.
wchar_t dumpPrefix[32768];
char comment[1024];
char lastLines[RecentLines::lineCount * RecentLines::longestLine];
RecentLines* recentLines = nullptr;
std::atomic<bool> handling = false;

/// Stands in a dump for a program that ended itself: abort() and exceptions that nobody caught.
constexpr DWORD abortedCode = 0xE05A0001;

/// Why this thread ends the program.
thread_local const char* ownReason = "";
thread_local const char* exceptionType = "";

/// What the thread that writes dumps is handed by the one that crashed.
struct Fault {
    EXCEPTION_POINTERS* exception = nullptr;
    DWORD thread = 0;
    HANDLE happened = nullptr;
    HANDLE written = nullptr;
} fault;

void describe(const char* title, const char* text) {
    const std::size_t length = std::strlen(comment);
    if (*text != '\0')
        std::snprintf(comment + length, sizeof comment - length, "\n%s %s", title, text);
}

void writeDump() {
    static wchar_t path[32768 + 64];
    const auto time = crashDumpTime(std::time(nullptr));
    const DWORD process = GetCurrentProcessId();
    std::swprintf(path, sizeof path / sizeof *path, L"%ls%hs-%lu.dmp", dumpPrefix, time.data(), process);
    const HANDLE file =
        CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return;
    MINIDUMP_EXCEPTION_INFORMATION information{fault.thread, fault.exception, FALSE};
    MINIDUMP_USER_STREAM stream[] = {
        {CommentStreamA, static_cast<ULONG>(std::strlen(comment) + 1), comment},
        {crashDumpLogStream, static_cast<ULONG>(recentLines->copy(lastLines, sizeof lastLines)), lastLines}};
    MINIDUMP_USER_STREAM_INFORMATION streams{static_cast<ULONG>(std::size(stream)), stream};
    // Of the stacks only what leads from function to function: the rest may be what was read. And no folders,
    // which may name the user.
    const auto contents = static_cast<MINIDUMP_TYPE>(MiniDumpFilterMemory | MiniDumpFilterModulePaths);
    MiniDumpWriteDump(GetCurrentProcess(), process, file, contents, &information, &streams, nullptr);
    FlushFileBuffers(file);
    CloseHandle(file);
}

/// Waits for the fault from the start on: after it there may be neither a stack nor a heap for this.
DWORD WINAPI awaitFault(void*) {
    WaitForSingleObject(fault.happened, INFINITE);
    writeDump();
    SetEvent(fault.written);
    return 0;
}

LONG WINAPI onUnhandledException(EXCEPTION_POINTERS* exception) {
    // A second thread that crashes waits for the first one's dump and ends with the process.
    while (handling.exchange(true))
        Sleep(INFINITE);
    fault.exception = exception;
    fault.thread = GetCurrentThreadId();
    describe("reason", ownReason);
    describe("exception", exceptionType);
    // Whatever holds the dump up, the program ends.
    constexpr DWORD longestMs = 30'000;
    SetEvent(fault.happened);
    WaitForSingleObject(fault.written, longestMs);
    // On a stack that has overflowed nothing else is sure to end it.
    TerminateProcess(GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

[[noreturn]] void endItself() {
    for (;;)
        RaiseException(abortedCode, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}

void onAbort(int) {
    endItself();
}

void onPureCall() {
    ownReason = "a pure virtual function was called";
    endItself();
}

void onInvalidParameter(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int, std::uintptr_t) {
    ownReason = "a library function was given an invalid parameter";
    endItself();
}

/// Of an exception the type alone is told: its text may quote a path, or what was read.
[[noreturn]] void onTerminate() {
    ownReason = "std::terminate";
    if (std::current_exception()) {
        ownReason = "an exception that nobody caught";
        try {
            throw;
        } catch (const std::bad_alloc& exception) {
            ownReason = "out of memory";
            exceptionType = typeid(exception).name();
        } catch (const std::exception& exception) {
            exceptionType = typeid(exception).name();
        } catch (...) {
        }
    }
    endItself();
}

/// Throws what the file system throws.
bool prepare(const std::filesystem::path& folder, std::string_view baseName, std::string_view version) {
    createPrivateFolder(folder);
    const std::wstring prefix =
        (std::filesystem::absolute(folder) / (std::string(baseName) + "-")).make_preferred().wstring();
    const std::string text = std::string(baseName) + " version " + std::string(version);
    if (prefix.size() >= std::size(dumpPrefix) || text.size() >= sizeof comment)
        return false;
    prefix.copy(dumpPrefix, prefix.size());
    text.copy(comment, text.size());
    CrashDumps(folder, baseName).removeOldest();
    recentLines = new RecentLines; // for good: a crash may come while the program's statics go
    Logger::instance().addSink(std::shared_ptr<ILogSink>(std::shared_ptr<void>(), recentLines));
    return true;
}

bool startWriter() {
    fault.happened = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    fault.written = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE thread =
        fault.happened && fault.written ? CreateThread(nullptr, 0, awaitFault, nullptr, 0, nullptr) : nullptr;
    if (thread)
        CloseHandle(thread);
    return thread != nullptr;
}

} // namespace

bool installCrashReporting(
    const std::filesystem::path& folder, std::string_view baseName, std::string_view version) {
    if (recentLines)
        return false;
    try {
        if (!prepare(folder, baseName, version) || !startWriter())
            return false;
    } catch (const std::exception&) {
        return false;
    }
    guardThreadStack();
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(onUnhandledException);
    std::signal(SIGABRT, onAbort);
    _set_purecall_handler(onPureCall);
    _set_invalid_parameter_handler(onInvalidParameter);
    std::set_terminate(onTerminate);
    return true;
}

} // namespace zorbel
