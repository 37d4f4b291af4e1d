#include "platform/LinkProtocol.h"

#include "platform/linux/AtomicFile.h"
#include "platform/linux/DesktopEntry.h"

#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zorbel {

namespace {

namespace fs = std::filesystem;

constexpr const char* desktopFileName = "zorbel-viewer.desktop";

fs::path homeFolder() {
    if (const char* home = std::getenv("HOME"); home != nullptr && *home == '/') {
        return home;
    }
    const passwd* user = getpwuid(getuid());
    return user != nullptr ? user->pw_dir : "";
}

/// A base folder of the desktop; what is not an absolute path counts as not set.
fs::path baseFolder(const char* variable, const char* belowHome) {
    if (const char* value = std::getenv(variable); value != nullptr && *value == '/') {
        return value;
    }
    return homeFolder() / belowHome;
}

/// Nothing when the file is there but cannot be read, so that it is not overwritten with less than it held.
std::optional<std::string> readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return fs::exists(path) ? std::nullopt : std::optional<std::string>("");
    }
    std::string text{std::istreambuf_iterator<char>(file), {}};
    return file.bad() ? std::nullopt : std::optional<std::string>(std::move(text));
}

void replaceFile(const fs::path& path, std::string_view text) {
    struct stat info {};
    const mode_t mode = stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0644;
    fs::create_directories(path.parent_path());
    writeFileAtomically(path, text, mode);
}

bool writeDesktopEntry(const fs::path& executable) {
    const fs::path path = baseFolder("XDG_DATA_HOME", ".local/share") / "applications" / desktopFileName;
    const std::string wanted = linkHandlerDesktopEntry(executable);
    if (readFile(path) != wanted) {
        replaceFile(path, wanted);
    }
    return true;
}

bool makeDefaultHandler() {
    fs::path path = baseFolder("XDG_CONFIG_HOME", ".config") / "mimeapps.list";
    if (fs::is_symlink(path)) {
        path = fs::weakly_canonical(path);
    }
    const std::optional<std::string> text = readFile(path);
    if (!text) {
        return false;
    }
    const std::string wanted =
        withDefaultApplication(*text, "x-scheme-handler/zorbel-viewer", desktopFileName);
    if (wanted != *text) {
        replaceFile(path, wanted);
    }
    return true;
}

} // namespace

bool registerLinkProtocol(const fs::path& executable) noexcept {
    try {
        return executable.is_absolute() && writeDesktopEntry(executable) && makeDefaultHandler();
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace zorbel
