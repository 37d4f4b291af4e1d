#include "platform/DocumentHandler.h"

#include "platform/linux/DesktopEntry.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zorbel {

namespace {

namespace fs = std::filesystem;

/// Empty when there is no such program, in PATH unless the name is a whole path.
fs::path programInPath(std::string_view name) {
    if (name.starts_with('/')) {
        return access(std::string(name).c_str(), X_OK) == 0 ? name : std::string_view();
    }
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

/// The desktop's default for Word documents, such as "libreoffice-writer.desktop"; empty when it has none.
std::string defaultHandler() {
    FILE* answer = popen(
        "xdg-mime query default application/vnd.openxmlformats-officedocument.wordprocessingml.document "
        "2>/dev/null",
        "re");
    if (answer == nullptr) {
        return {};
    }
    std::array<char, 256> text{};
    std::string name(text.data(), fread(text.data(), 1, text.size(), answer));
    pclose(answer);
    return name.substr(0, name.find_first_of("\n;"));
}

/// The text of an installed desktop entry, empty when it is not found.
std::string installedEntry(const std::string& name) {
    const auto variable = [](const char* key, std::string fallback) {
        const char* value = std::getenv(key);
        return value != nullptr && *value != '\0' ? std::string(value) : std::move(fallback);
    };
    const std::string folders = variable("XDG_DATA_HOME", variable("HOME", "") + "/.local/share") + ":" +
                                variable("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
    std::istringstream list(folders);
    for (std::string folder; std::getline(list, folder, ':');) {
        std::ifstream file(fs::path(folder) / "applications" / name, std::ios::binary);
        std::string text{std::istreambuf_iterator<char>(file), {}};
        if (!text.empty()) {
            return text;
        }
    }
    return {};
}

[[noreturn]] void becomeProgram(const char* program, char* const* arguments, int report) {
    setsid();
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    // It outlives the terminal, too.
    const int nothing = open("/dev/null", O_RDWR);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(nothing, stream);
    }
    execv(program, arguments);
    const int reason = errno;
    [[maybe_unused]] const ssize_t told = write(report, &reason, sizeof reason);
    _exit(127);
}

/// As a grandchild, so that nobody has to wait for its end.
bool startDetached(std::vector<std::string> command) {
    const fs::path program = command.empty() ? fs::path() : programInPath(command[0]);
    if (program.empty()) {
        return false;
    }
    std::vector<char*> arguments;
    for (std::string& word : command) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    std::array<int, 2> report{};
    if (pipe2(report.data(), O_CLOEXEC) != 0) {
        return false;
    }
    const pid_t child = fork();
    if (child == 0) {
        const pid_t grandchild = fork();
        if (grandchild == 0) {
            becomeProgram(program.c_str(), arguments.data(), report[1]);
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
        // xdg-open may look into the file and show one whose parts are in an unusual order in a browser, and
        // tells nobody when it finds no program.
        const std::string handler = defaultHandler();
        if (!handler.empty() && (startDetached(openingCommand(installedEntry(handler), whole)) ||
                                 startDetached({"xdg-open", whole.string()}))) {
            return true;
        }
        for (const char* name : {"libreoffice", "soffice", "lowriter"}) {
            if (startDetached({name, whole.string()})) {
                return true;
            }
        }
        return false;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace zorbel
