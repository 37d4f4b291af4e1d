#include "platform/linux/CrashDumpFile.h"

#include "app/log/RecentLines.h"
#include "platform/CrashDumpTime.h"
#include "platform/linux/FixedText.h"

#include <climits>
#include <cstdint>
#include <ctime>

#include <fcntl.h>
#include <unistd.h>

namespace zorbel {

namespace {

std::string_view signalName(int number) noexcept {
    switch (number) {
    case SIGSEGV:
        return "SIGSEGV";
    case SIGBUS:
        return "SIGBUS";
    case SIGFPE:
        return "SIGFPE";
    case SIGILL:
        return "SIGILL";
    case SIGABRT:
        return "SIGABRT";
    default:
        return "?";
    }
}

enum class Place { NearZero, NearStackPointer, Elsewhere };

/// The address itself may be a piece of a text, as where a pointer was overwritten.
Place placeOf(const siginfo_t& signal, const ucontext_t& context) noexcept {
    constexpr std::uintptr_t near = 64 * 1024;
    const auto address = reinterpret_cast<std::uintptr_t>(signal.si_addr);
    const auto stack = static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RSP]);
    if (address < near)
        return Place::NearZero;
    // What lies there is the stack, unless it has come to its end.
    return address + near > stack && address < stack + near ? Place::NearStackPointer : Place::Elsewhere;
}

bool isMemoryFault(const siginfo_t& signal) noexcept {
    return (signal.si_signo == SIGSEGV || signal.si_signo == SIGBUS) && signal.si_code > 0;
}

std::string_view reasonOf(const siginfo_t& signal, const ucontext_t& context) noexcept {
    if (signal.si_signo == SIGABRT)
        return "the program ended itself";
    if (signal.si_code <= 0)
        return "a signal that somebody sent";
    if (isMemoryFault(signal))
        return placeOf(signal, context) == Place::NearStackPointer ? "stack overflow" : "memory fault";
    return signal.si_signo == SIGFPE ? "arithmetic fault" : "illegal instruction";
}

std::string_view nameOf(Place place) noexcept {
    switch (place) {
    case Place::NearZero:
        return "near zero";
    case Place::NearStackPointer:
        return "near the stack pointer";
    case Place::Elsewhere:
        break;
    }
    return "elsewhere";
}

/// "1234 name"
void describeThread(FixedText<512>& to, pid_t id) noexcept {
    FixedText<64> path;
    path << "/proc/self/task/" << id << "/comm";
    char name[32];
    ssize_t length = 0;
    if (const int file = open(path.text(), O_RDONLY | O_CLOEXEC); file >= 0) {
        length = read(file, name, sizeof name);
        close(file);
    }
    const std::string_view text(name, length > 0 ? static_cast<std::size_t>(length) : 0);
    to << id << " " << text.substr(0, text.find('\n'));
}

} // namespace

void CrashDumpFile::write(
    const siginfo_t& signal, ucontext_t& context, std::string_view reason,
    std::string_view exception) noexcept {
    const auto time = crashDumpTime(::time(nullptr));
    FixedText<PATH_MAX + 64> path;
    path << prefix_ << time.data() << "-" << getpid() << ".txt";
    const int file = open(path.text(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0)
        return;
    writeHead(file, signal, context, reason, exception);
    writeLog(file);
    fsync(file); // from here on a damaged stack is read
    writeAll(file, "call chain\n");
    chain_.follow(context, isMemoryFault(signal));
    writeChain(file, chain_);
    writeOtherThreads(file);
    writeAll(file, "modules\n");
    modules_.writeBuildIds(file);
    writeAll(file, "end of the report\n");
    fsync(file);
    close(file);
}

void CrashDumpFile::writeHead(
    int file, const siginfo_t& signal, const ucontext_t& context, std::string_view reason,
    std::string_view exception) const noexcept {
    FixedText<512> text;
    text << "time " << crashDumpTime(::time(nullptr)).data() << "\nprocess " << getpid() << "\nreason "
         << (reason.empty() ? reasonOf(signal, context) : reason);
    if (!exception.empty())
        text << "\nexception " << exception;
    text << "\nsignal " << signal.si_signo << " " << signalName(signal.si_signo) << ", code "
         << signal.si_code;
    if (isMemoryFault(signal))
        text << ", address " << nameOf(placeOf(signal, context));
    text << "\nthread ";
    describeThread(text, gettid());
    text << "\n";
    writeAll(file, head_);
    writeAll(file, text.view());
}

void CrashDumpFile::writeLog(int file) const noexcept {
    static char lines[RecentLines::lineCount * RecentLines::longestLine];
    writeAll(file, "last log lines\n");
    writeAll(file, {lines, log_.copy(lines, sizeof lines)});
}

void CrashDumpFile::writeChain(int file, const CallChain& chain) noexcept {
    for (std::size_t i = 0; i < chain.size(); ++i) {
        FixedText<512> line;
        modules_.describe(line, chain[i]);
        line << "\n";
        writeAll(file, line.view());
    }
    if (chain.isBroken())
        writeAll(file, "(the stack cannot be read any further)\n");
}

void CrashDumpFile::writeOtherThreads(int file) noexcept {
    others_.ask();
    for (std::size_t i = 0; i < others_.size(); ++i) {
        const auto& thread = others_[i];
        const bool answered = thread.answered.load(std::memory_order_acquire);
        FixedText<512> title;
        title << "thread ";
        describeThread(title, thread.id);
        title << (answered ? "\n" : " does not answer\n");
        writeAll(file, title.view());
        if (answered)
            writeChain(file, thread.chain);
    }
    if (others_.areMore())
        writeAll(file, "(and more threads)\n");
}

} // namespace zorbel
