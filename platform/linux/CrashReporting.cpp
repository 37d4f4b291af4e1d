#include "platform/CrashReporting.h"

#include "app/log/Logger.h"
#include "app/log/RecentLines.h"
#include "platform/CrashDumps.h"
#include "platform/PrivateFile.h"
#include "platform/linux/CallChain.h"
#include "platform/linux/CrashDumpFile.h"
#include "platform/linux/FaultGuard.h"
#include "platform/linux/FixedText.h"
#include "platform/linux/LoadedModules.h"
#include "platform/linux/OtherThreads.h"
#include "platform/threads/StackGuard.h"

#include <array>
#include <atomic>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cxxabi.h>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <typeinfo>

#include <unistd.h>

namespace zorbel {

namespace {

constexpr std::array fatalSignals{SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};

/// What lasts until the process is gone: a crash may come while the program's statics go.
struct Reporting {
    std::string prefix;
    std::string head;
    std::string program;
    RecentLines log;
    std::unique_ptr<CrashDumpFile> dump;
};

Reporting* reporting = nullptr;
std::atomic<bool> handling = false;

/// Why this thread ends the program.
thread_local const char* ownReason = "";
thread_local const char* exceptionType = "";

void onFatalSignal(int signalNumber, siginfo_t* info, void* context) {
    FaultGuard::onFault();
    // A second thread that crashes waits for the first one's dump and ends with the process.
    while (handling.exchange(true))
        pause();
    // Whatever holds the dump up, the program ends.
    constexpr unsigned longestSeconds = 30;
    std::signal(SIGALRM, SIG_DFL);
    alarm(longestSeconds);
    reporting->dump->write(*info, *static_cast<ucontext_t*>(context), ownReason, exceptionType);
    std::signal(signalNumber, SIG_DFL);
    // Still blocked here; it strikes on return from this handler.
    raise(signalNumber);
}

/// Of an exception the type alone is told: its text may quote a path, or what was read.
[[noreturn]] void onTerminate() {
    ownReason = "std::terminate";
    if (const std::type_info* type = abi::__cxa_current_exception_type()) {
        ownReason = "an exception that nobody caught";
        exceptionType = type->name();
        try {
            throw;
        } catch (const std::bad_alloc&) {
            ownReason = "out of memory";
        } catch (...) {
        }
    }
    std::abort();
}

std::string programName() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    return length <= 0 ? "program"
                       : std::filesystem::path(std::string(path, static_cast<std::size_t>(length)))
                             .filename()
                             .string();
}

/// Throws what the file system throws.
std::unique_ptr<Reporting>
prepare(const std::filesystem::path& folder, std::string_view baseName, std::string_view version) {
    createPrivateFolder(folder);
    auto made = std::make_unique<Reporting>();
    made->prefix = (std::filesystem::absolute(folder) / (std::string(baseName) + "-")).string();
    FixedText<512> buildId;
    LoadedModules::describeBuildId(buildId, reinterpret_cast<const void*>(&onFatalSignal));
    made->head = std::string(baseName) + " crash report\nversion " + std::string(version) + "\nbuild id " +
                 buildId.text() + "\n";
    made->program = programName();
    made->dump = std::make_unique<CrashDumpFile>(made->prefix, made->head, made->program, made->log);
    return made;
}

/// The first use finds the functions it needs, which must not happen within the handler.
void rehearse() {
    ucontext_t here{};
    getcontext(&here);
    CallChain chain;
    chain.follow(here, false);
    FixedText<512> text;
    LoadedModules("").describe(text, reinterpret_cast<const void*>(&onFatalSignal));
}

bool setHandlers() {
    struct sigaction action {};
    action.sa_sigaction = onFatalSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (const int number : fatalSignals)
        sigaddset(&action.sa_mask, number);
    for (const int number : fatalSignals)
        if (sigaction(number, &action, nullptr) != 0)
            return false;
    std::set_terminate(onTerminate);
    return OtherThreads::install();
}

} // namespace

bool installCrashReporting(
    const std::filesystem::path& folder, std::string_view baseName, std::string_view version) {
    if (reporting)
        return false;
    try {
        auto made = prepare(folder, baseName, version);
        CrashDumps(folder, baseName).removeOldest();
        Logger::instance().addSink(std::shared_ptr<ILogSink>(std::shared_ptr<void>(), &made->log));
        reporting = made.release();
    } catch (const std::exception&) {
        return false;
    }
    guardThreadStack();
    rehearse();
    return setHandlers();
}

} // namespace zorbel
