#include "demo/OrthancProcess.h"

#include "demo/Loopback.h"

#include <nlohmann/json.hpp>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zorbel::demo {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr const char* folderPrefix = "zorbel-demo-orthanc-";
constexpr const char* user = "gateway";
constexpr const char* dicomWebPlugin = "/usr/share/orthanc/plugins/libOrthancDicomWeb.so";
// Orthanc takes seconds to end in good order. Its storage goes away with it, so there is nothing to wait for.
constexpr auto gracePeriod = 300ms;

std::string findProgram() {
    std::vector<fs::path> folders;
    if (const char* path = std::getenv("PATH")) {
        std::string rest = path;
        for (std::size_t at = 0; at <= rest.size();) {
            const std::size_t end = std::min(rest.find(':', at), rest.size());
            folders.emplace_back(rest.substr(at, end - at));
            at = end + 1;
        }
    }
    // Debian puts it where only root's PATH looks.
    folders.emplace_back("/usr/sbin");
    for (const fs::path& folder : folders) {
        const fs::path program = folder / "Orthanc";
        if (access(program.c_str(), X_OK) == 0) {
            return program;
        }
    }
    throw std::runtime_error("Orthanc is not installed. Install the packages orthanc and orthanc-dicomweb.");
}

int lockFolder(const fs::path& folder) {
    const int file = open((folder / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file >= 0 && flock(file, LOCK_EX | LOCK_NB) == 0) {
        return file;
    }
    if (file >= 0) {
        close(file);
    }
    return -1;
}

/// Folders of programs that were killed: nobody holds their lock any more.
void removeLeftovers(const fs::path& parent) {
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(parent, ignored)) {
        const bool ours = entry.path().filename().string().rfind(folderPrefix, 0) == 0;
        if (!ours || !fs::exists(entry.path() / "lock", ignored)) {
            continue;
        }
        const int lock = lockFolder(entry.path());
        if (lock >= 0) {
            fs::remove_all(entry.path(), ignored);
            close(lock);
        }
    }
}

/// A new folder that nobody takes for a leftover: it bears its name only once it is locked.
int makeLockedFolder(const fs::path& parent, fs::path& folder) {
    std::string unfinished = parent / "zorbel-demo-new-XXXXXX";
    if (mkdtemp(unfinished.data()) == nullptr) {
        throw std::runtime_error("No temporary folder for Orthanc can be made in " + parent.string());
    }
    const int lock = lockFolder(unfinished);
    folder = parent / (folderPrefix + unfinished.substr(unfinished.size() - 6));
    std::error_code error;
    fs::rename(unfinished, folder, error);
    if (lock < 0 || error) {
        fs::remove_all(unfinished, error);
        if (lock >= 0) {
            close(lock);
        }
        throw std::runtime_error("No temporary folder for Orthanc can be made in " + parent.string());
    }
    return lock;
}

} // namespace

/// Forks and reaps from one thread that lives as long as the child, because the signal that ends the child on
/// its parent's death is sent when the forking *thread* ends.
class OrthancProcess::Keeper {
public:
    Keeper(const std::string& program, const fs::path& folder) {
        thread_ = std::thread([this, program, folder] { run(program, folder); });
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return pid_ != 0; });
        if (pid_ < 0) {
            lock.unlock();
            thread_.join();
            throw std::runtime_error("Orthanc could not be started: the system gave no process.");
        }
    }

    ~Keeper() {
        signal(SIGTERM);
        if (!waitForEnd(gracePeriod)) {
            signal(SIGKILL);
        }
        thread_.join();
    }

    bool waitForEnd(std::chrono::milliseconds time) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, time, [this] { return ended_; });
    }

    void signal(int number) {
        const std::lock_guard lock(mutex_);
        if (!ended_) {
            ::kill(pid_, number);
        }
    }

    int pid() const { return pid_; }

    bool ended() {
        const std::lock_guard lock(mutex_);
        return ended_;
    }

private:
    void run(const std::string& program, const fs::path& folder) {
        const std::string configuration = folder / "orthanc.json";
        const std::string log = folder / "orthanc.log";
        const pid_t parent = getpid();
        const pid_t child = fork();
        if (child == 0) {
            becomeOrthanc(program.c_str(), configuration.c_str(), log.c_str(), parent);
        }
        {
            const std::lock_guard lock(mutex_);
            pid_ = child;
        }
        changed_.notify_all();
        if (child < 0) {
            return;
        }
        // Waits without reaping first, so that nobody signals a number that the system may have given away.
        siginfo_t info{};
        while (waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
        }
        const std::lock_guard lock(mutex_);
        waitpid(child, nullptr, 0);
        ended_ = true;
        changed_.notify_all();
    }

    /// After fork, so only calls that are safe there.
    [[noreturn]] static void
    becomeOrthanc(const char* program, const char* configuration, const char* log, pid_t parent) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) {
            _exit(1);
        }
        // Its own group: Ctrl+C is for the program in front, which then ends Orthanc in order.
        setpgid(0, 0);
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        ::signal(SIGTERM, SIG_DFL);
        ::signal(SIGINT, SIG_DFL);
        const int in = open("/dev/null", O_RDONLY);
        const int out = open(log, O_WRONLY | O_CREAT | O_APPEND, 0600);
        dup2(in, 0);
        dup2(out, 1);
        dup2(out, 2);
        close_range(3, ~0U, 0);
        execl(program, program, configuration, nullptr);
        _exit(127);
    }

    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::atomic<pid_t> pid_{0};
    bool ended_ = false;
};

OrthancProcess::OrthancProcess() {
    const std::string program = findProgram();
    if (!fs::exists(dicomWebPlugin)) {
        throw std::runtime_error(
            "Orthanc's DICOMweb plugin is not installed. Install the package orthanc-dicomweb.");
    }
    const fs::path parent = fs::temp_directory_path();
    removeLeftovers(parent);
    lock_ = makeLockedFolder(parent, folder_);
    try {
        const std::string password = randomToken();
        authorization_ = basicAuthorization(user, password);
        launch(program, password);
    } catch (...) {
        keeper_.reset();
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
        close(lock_);
        throw;
    }
}

OrthancProcess::~OrthancProcess() {
    keeper_.reset();
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
    if (lock_ >= 0) {
        close(lock_);
    }
}

void OrthancProcess::launch(const std::string& program, const std::string& password) {
    // Between finding a free port and Orthanc taking it another process may be quicker.
    for (int attempt = 0; attempt < 3; ++attempt) {
        port_ = freePort();
        writeConfiguration(password);
        keeper_ = std::make_unique<Keeper>(program, folder_);
        if (waitUntilReady()) {
            return;
        }
        keeper_.reset();
    }
    throw std::runtime_error("Orthanc does not start. Its last words:\n" + lastLogLines());
}

void OrthancProcess::writeConfiguration(const std::string& password) const {
    const nlohmann::json configuration = {
        {"Name", "Zorbel demo archive"},
        {"StorageDirectory", (folder_ / "storage").string()},
        {"IndexDirectory", (folder_ / "index").string()},
        {"HttpPort", port_},
        {"RemoteAccessAllowed", false},
        {"AuthenticationEnabled", true},
        {"RegisteredUsers", {{user, password}}},
        {"DicomServerEnabled", false},
        {"Plugins", {dicomWebPlugin}},
        {"DicomWeb", {{"Enable", true}, {"Root", "/dicom-web/"}}},
        {"StableAge", 1},
        {"HttpCompressionEnabled", false},
        {"SaveJobs", false},
        // A file that a test removes from the storage is to be missing at once.
        {"MaximumStorageCacheSize", 0}};
    const fs::path file = folder_ / "orthanc.json";
    std::ofstream(file) << configuration.dump(2);
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
}

bool OrthancProcess::waitUntilReady() const {
    for (const auto end = std::chrono::steady_clock::now() + 600s; std::chrono::steady_clock::now() < end;) {
        if (keeper_->waitForEnd(10ms)) {
            return false;
        }
        if (answers(port_, "/system", authorization_)) {
            return true;
        }
    }
    return false;
}

std::string OrthancProcess::lastLogLines() const {
    std::ifstream log(folder_ / "orthanc.log");
    std::deque<std::string> lines;
    for (std::string line; std::getline(log, line);) {
        lines.push_back(line);
        if (lines.size() > 5) {
            lines.pop_front();
        }
    }
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

int OrthancProcess::processId() const {
    return keeper_->pid();
}

bool OrthancProcess::isRunning() const {
    return !keeper_->ended();
}

void OrthancProcess::kill() {
    keeper_->signal(SIGKILL);
    keeper_->waitForEnd(10s);
}

} // namespace zorbel::demo
