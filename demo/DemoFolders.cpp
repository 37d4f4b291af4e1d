#include "demo/DemoFolders.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>

#include <unistd.h>

namespace zorbel::demo {

namespace fs = std::filesystem;

namespace {

fs::path noteFile() {
    return demoHome().parent_path() / "service-url";
}

} // namespace

fs::path demoHome() {
    if (const char* cache = std::getenv("XDG_CACHE_HOME"); cache != nullptr && *cache == '/') {
        return fs::path(cache) / "zorbel-demo" / "home";
    }
    const char* home = std::getenv("HOME");
    return home != nullptr && *home == '/'
               ? fs::path(home) / ".cache" / "zorbel-demo" / "home"
               : fs::temp_directory_path() / ("zorbel-demo-" + std::to_string(getuid())) / "home";
}

fs::path privateFolder(const fs::path& folder) {
    fs::create_directories(folder);
    fs::permissions(folder, fs::perms::owner_all);
    return folder;
}

FolderOfThisRun::FolderOfThisRun(const fs::path& parent, const std::string& prefix) {
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(privateFolder(parent))) {
        const std::string name = entry.path().filename().string();
        if (name.rfind(prefix, 0) == 0 && kill(std::atoi(name.c_str() + prefix.size()), 0) != 0 &&
            errno == ESRCH) {
            fs::remove_all(entry.path(), ignored);
        }
    }
    path_ = privateFolder(parent / (prefix + std::to_string(getpid())));
}

FolderOfThisRun::~FolderOfThisRun() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

ServiceNote::ServiceNote(const std::string& url) : url_(url) {
    privateFolder(noteFile().parent_path());
    std::ofstream(noteFile()) << url;
}

ServiceNote::~ServiceNote() {
    std::error_code ignored;
    if (ServiceNote::url() == url_) {
        fs::remove(noteFile(), ignored);
    }
}

std::string ServiceNote::url() {
    std::ifstream file(noteFile());
    std::string url;
    std::getline(file, url);
    return url;
}

} // namespace zorbel::demo
