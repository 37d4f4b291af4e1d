#include "platform/CrashReporting.h"

#include "app/log/Logger.h"
#include "app/log/RecentLines.h"
#include "platform/CrashDumpTime.h"
#include "platform/PrivateFile.h"

#include <array>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <memory>
#include <string>
#include <utility>

#include <csignal>
#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

namespace zorbel {

namespace {

constexpr std::array<std::pair<int, const char*>, 5> fatalSignals{
    {{SIGSEGV, "SIGSEGV"}, {SIGBUS, "SIGBUS"}, {SIGFPE, "SIGFPE"}, {SIGILL, "SIGILL"}, {SIGABRT, "SIGABRT"}}};

// Everything the handler needs is laid out before the crash: the handler itself may neither allocate nor
// lock.
char dumpPrefix[PATH_MAX];
char dumpHeader[256];
char lastLines[RecentLines::lineCount * RecentLines::longestLine];
RecentLines* recentLines = nullptr;
alignas(16) char handlerStack[128 * 1024];
std::atomic<bool> handling = false;

/// A text of fixed capacity; what does not fit is cut off.
class FixedText {
public:
    FixedText& operator<<(const char* text) noexcept {
        while (*text != '\0' && length_ + 1 < sizeof text_) {
            text_[length_++] = *text++;
        }
        text_[length_] = '\0';
        return *this;
    }
    FixedText& operator<<(unsigned long number) noexcept {
        char digits[24];
        char* first = digits + sizeof digits - 1;
        *first = '\0';
        do {
            *--first = static_cast<char>('0' + number % 10);
            number /= 10;
        } while (number != 0);
        return *this << first;
    }
    const char* text() const noexcept { return text_; }
    std::size_t length() const noexcept { return length_; }

private:
    char text_[PATH_MAX + 64] = {};
    std::size_t length_ = 0;
};

const char* signalName(int number) noexcept {
    for (const auto& [known, name] : fatalSignals) {
        if (known == number) {
            return name;
        }
    }
    return "?";
}

bool writeAll(int file, const char* bytes, std::size_t length) noexcept {
    while (length > 0) {
        const ssize_t count = write(file, bytes, length);
        if (count <= 0) {
            return false;
        }
        bytes += count;
        length -= static_cast<std::size_t>(count);
    }
    return true;
}

void writeDump(int signalNumber, int code) noexcept {
    const auto time = crashDumpTime(::time(nullptr));
    const auto process = static_cast<unsigned long>(getpid());
    FixedText path;
    path << dumpPrefix << time.data() << "-" << process << ".txt";
    const int file = open(path.text(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0) {
        return;
    }
    FixedText head;
    head << dumpHeader << "time " << time.data() << "\nprocess " << process << "\nsignal "
         << static_cast<unsigned long>(signalNumber) << " " << signalName(signalNumber) << ", code "
         << (code < 0 ? "-" : "") << static_cast<unsigned long>(code < 0 ? -static_cast<long>(code) : code)
         << "\nlast log lines\n";
    constexpr char chainTitle[] = "call chain\n";
    // The call chain comes last: following it on a damaged stack may end the handler.
    if (writeAll(file, head.text(), head.length()) &&
        writeAll(file, lastLines, recentLines->copy(lastLines, sizeof lastLines)) &&
        writeAll(file, chainTitle, sizeof chainTitle - 1)) {
        void* frames[128];
        backtrace_symbols_fd(frames, backtrace(frames, 128), file);
    }
    fsync(file);
    close(file);
}

void onFatalSignal(int signalNumber, siginfo_t* info, void*) {
    // A second thread that crashes waits for the first one's dump and ends with the process.
    while (handling.exchange(true)) {
        pause();
    }
    writeDump(signalNumber, info->si_code);
    std::signal(signalNumber, SIG_DFL);
    // Still blocked here; it strikes on return from this handler.
    raise(signalNumber);
}

} // namespace

bool installCrashReporting(
    const std::filesystem::path& folder, std::string_view baseName, std::string_view version) {
    try {
        createPrivateFolder(folder);
        const std::string prefix =
            (std::filesystem::absolute(folder) / (std::string(baseName) + "-")).string();
        const std::string header =
            std::string(baseName) + " crash report\nversion " + std::string(version) + "\n";
        if (prefix.size() >= sizeof dumpPrefix || header.size() >= sizeof dumpHeader) {
            return false;
        }
        std::strcpy(dumpPrefix, prefix.c_str());
        std::strcpy(dumpHeader, header.c_str());
        if (recentLines == nullptr) {
            recentLines = new RecentLines; // for good: a crash may come while the program's statics go
            Logger::instance().addSink(std::shared_ptr<ILogSink>(std::shared_ptr<void>(), recentLines));
        }
    } catch (const std::exception&) {
        return false;
    }

    // The first call loads the unwinder, which must not happen within the handler.
    void* frame = nullptr;
    backtrace(&frame, 1);

    stack_t alternate{};
    alternate.ss_sp = handlerStack;
    alternate.ss_size = sizeof handlerStack;
    if (sigaltstack(&alternate, nullptr) != 0) {
        return false;
    }
    struct sigaction action {};
    action.sa_sigaction = onFatalSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (const auto& entry : fatalSignals) {
        sigaddset(&action.sa_mask, entry.first);
    }
    for (const auto& entry : fatalSignals) {
        if (sigaction(entry.first, &action, nullptr) != 0) {
            return false;
        }
    }
    std::set_terminate([] { std::abort(); });
    return true;
}

} // namespace zorbel
