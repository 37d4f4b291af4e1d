#include "platform/DocumentHandler.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zorbel {

namespace {

namespace fs = std::filesystem;

/// Empty when no folder of PATH holds such a program.
fs::path programInPath(std::string_view name) {
    const char* variable = std::getenv("PATH");
    std::string_view folders = variable != nullptr ? variable : "/usr/local/bin:/usr/bin:/bin";
    while (!folders.empty()) {
        const std::size_t length = std::min(folders.find(':'), folders.size());
        const fs::path program = fs::path(folders.substr(0, length)) / name;
        folders.remove_prefix(std::min(length + 1, folders.size()));
        std::error_code ignored;
        if (program.is_absolute() && fs::is_regular_file(program, ignored) &&
            access(program.c_str(), X_OK) == 0) {
            return program;
        }
    }
    return {};
}

/// Whether xdg-open would find a program: it tells nobody when it does not, and may show the package in a
/// browser instead.
bool desktopHasHandler() {
    FILE* answer = popen(
        "xdg-mime query default application/vnd.openxmlformats-officedocument.wordprocessingml.document "
        "2>/dev/null",
        "re");
    if (answer == nullptr) {
        return false;
    }
    std::array<char, 256> text{};
    const bool named = fread(text.data(), 1, text.size(), answer) > 1;
    pclose(answer);
    return named;
}

[[noreturn]] void becomeProgram(const char* program, const char* document, int report) {
    setsid();
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    const std::array<char*, 3> arguments{const_cast<char*>(program), const_cast<char*>(document), nullptr};
    execv(program, arguments.data());
    const int reason = errno;
    [[maybe_unused]] const ssize_t told = write(report, &reason, sizeof reason);
    _exit(127);
}

/// As a grandchild, so that nobody has to wait for its end.
bool startDetached(const fs::path& program, const fs::path& document) {
    std::array<int, 2> report{};
    if (pipe2(report.data(), O_CLOEXEC) != 0) {
        return false;
    }
    const pid_t child = fork();
    if (child == 0) {
        const pid_t grandchild = fork();
        if (grandchild == 0) {
            becomeProgram(program.c_str(), document.c_str(), report[1]);
        }
        _exit(grandchild < 0 ? 1 : 0);
    }
    close(report[1]);
    int status = 1;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    // The pipe closes without a word when the program has taken the grandchild over.
    int reason = 0;
    const bool refused = read(report[0], &reason, sizeof reason) == sizeof reason;
    close(report[0]);
    return child > 0 && status == 0 && !refused;
}

} // namespace

bool openDocument(const fs::path& document) noexcept {
    try {
        const fs::path whole = fs::absolute(document);
        const fs::path desktop = programInPath("xdg-open");
        if (!desktop.empty() && desktopHasHandler() && startDetached(desktop, whole)) {
            return true;
        }
        for (const char* name : {"libreoffice", "soffice", "lowriter"}) {
            const fs::path program = programInPath(name);
            if (!program.empty() && startDetached(program, whole)) {
                return true;
            }
        }
        return false;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace zorbel
