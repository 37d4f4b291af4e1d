#include "cache/storage/StorageSession.h"

#include "app/log/Logger.h"
#include "cache/storage/RandomName.h"
#include "cache/storage/RemovalRetry.h"
#include "platform/PrivateFile.h"

#include <chrono>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

using std::chrono::milliseconds;

constexpr milliseconds pauseBetweenAttempts{100};
/// Long enough for another viewer to clear a full cache.
constexpr milliseconds claimsPatience{20'000};
constexpr milliseconds claimsPause{10};
constexpr char clearFailure[] = "Unable to clear session-only viewer cache";

void logFailure(const std::exception& error) {
    Logger::instance().warn("Storage", clearFailure, {{"reason", error.what()}});
}

fs::path besideScope(const ViewerStorage& storage, const std::string& suffix) {
    fs::path path = storage.scopeDirectory();
    path += suffix;
    return path;
}

/// Held while claims are taken, counted and given up, and while the storage is cleared.
class ClaimsLock {
public:
    explicit ClaimsLock(const ViewerStorage& storage) : lock_(take(besideScope(storage, ".claims.lock"))) {}
    ~ClaimsLock() { lock_.removeFile(); }
    ClaimsLock(const ClaimsLock&) = delete;
    ClaimsLock& operator=(const ClaimsLock&) = delete;

private:
    static FileLock take(const fs::path& file) {
        for (milliseconds waited{0};; waited += claimsPause) {
            if (auto lock = FileLock::tryAcquire(file))
                return std::move(*lock);
            if (waited >= claimsPatience)
                throw std::runtime_error("Timed out waiting for another viewer to clear the viewer cache");
            std::this_thread::sleep_for(claimsPause);
        }
    }

    FileLock lock_;
};

bool isLiveClaim(const fs::path& file) {
    try {
        auto lock = FileLock::tryAcquire(file);
        if (lock)
            lock->removeFile(); // its process has died
        return !lock;
    } catch (const std::system_error&) {
        return true; // another account's: whether it is dead cannot be told
    }
}

/// Removes what dead processes left. The claims lock is held, and no claim of this session's.
bool hasLiveClaims(const ViewerStorage& storage) {
    const auto prefix = besideScope(storage, ".session-").filename().u8string();
    std::vector<fs::path> claims;
    for (const auto& entry : fs::directory_iterator(storage.cacheRoot()))
        if (entry.path().filename().u8string().starts_with(prefix) && !entry.is_symlink() &&
            entry.is_regular_file())
            claims.push_back(entry.path());
    bool live = false;
    for (const auto& claim : claims)
        live = isLiveClaim(claim) || live;
    return live;
}

/// Unless another viewer works with it.
void clearIfAlone(const ViewerStorage& storage) {
    if (hasLiveClaims(storage))
        return;
    if (const auto error = removeWithRetry([&storage] { return storage.tryClear(); }, pauseBetweenAttempts))
        throw std::system_error(error);
}

void prepareFolders(const ViewerStorage& storage) {
    if (!fs::exists(storage.cacheRoot()))
        createPrivateFolder(storage.cacheRoot());
    if (!fs::is_directory(storage.cacheRoot()))
        throw std::runtime_error("The viewer cache root is not a folder");
    // One from an earlier day may have been opened to others since.
    if (fs::exists(storage.scopeDirectory()))
        createPrivateFolder(storage.scopeDirectory());
}

} // namespace

StorageSession::StorageSession(ViewerStorage storage, bool sessionOnly)
    : storage_(std::move(storage)), sessionOnly_(sessionOnly) {
    prepareFolders(storage_);
    const ClaimsLock claims(storage_);
    if (sessionOnly_) {
        try {
            clearIfAlone(storage_);
        } catch (const std::exception& error) {
            logFailure(error);
        }
    }
    claim_ = FileLock::tryAcquire(besideScope(storage_, ".session-" + randomName()));
}

StorageSession::~StorageSession() {
    try {
        end();
    } catch (const std::exception&) {
        // logged by end()
    }
}

void StorageSession::end() {
    if (!claim_)
        return;
    // Given up first: whatever fails below, no other viewer waits for this one.
    claim_->removeFile();
    claim_.reset();
    std::error_code ignored;
    if (!sessionOnly_ ||
        fs::symlink_status(storage_.scopeDirectory(), ignored).type() == fs::file_type::not_found)
        return;
    try {
        const ClaimsLock claims(storage_);
        clearIfAlone(storage_);
    } catch (const std::exception& error) {
        logFailure(error);
        throw std::runtime_error(clearFailure);
    }
}

} // namespace zorbel
