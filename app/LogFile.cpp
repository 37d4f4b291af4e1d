#include "app/LogFile.h"

#include "app/log/LogTail.h"
#include "platform/PrivateFile.h"

#include <chrono>
#include <exception>
#include <system_error>
#include <thread>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

fs::path lockOf(const fs::path& file) {
    return fs::path(file) += ".lock";
}

/// Copies of the file that a killed program began.
void removeUnfinished(const fs::path& folder) {
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(folder, ignored))
        if (isUnfinishedWrite(entry.path().filename()))
            fs::remove(entry.path(), ignored);
}

/// What the log is to be told.
std::string cut(const fs::path& file, const LogFile::Limits& limits) noexcept {
    std::error_code absent;
    const auto size = fs::file_size(file, absent);
    if (absent || size <= limits.longest)
        return {};
    try {
        const auto alone = FileLock::tryAcquire(lockOf(file));
        if (!alone)
            return "The log has grown too large, and stays so while another program writes it";
        removeUnfinished(file.parent_path());
        writePrivateFile(file, lastBytesOfLog(file, limits.kept));
        return "The log had grown too large, and was cut to its last lines";
    } catch (const std::exception&) {
        return "The log has grown too large, and could not be cut";
    }
}

/// Waits for a program that cuts the file just now. Nothing where the lock is out of order: a program without
/// it writes its log all the same.
std::optional<FileLock> share(const fs::path& file) noexcept {
    constexpr int mostAttempts = 500;
    constexpr std::chrono::milliseconds pause(20);
    try {
        for (int attempt = 0; attempt < mostAttempts; ++attempt) {
            if (auto lock = FileLock::tryShare(lockOf(file)))
                return lock;
            std::this_thread::sleep_for(pause);
        }
    } catch (const std::exception&) {
    }
    return std::nullopt;
}

} // namespace

LogFile::LogFile(const fs::path& file, const Limits& limits)
    : outcome_(cut(file, limits)), use_(share(file)), sink_(file) {}

} // namespace zorbel
