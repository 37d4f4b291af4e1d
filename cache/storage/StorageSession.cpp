#include "cache/storage/StorageSession.h"

#include "app/log/Logger.h"
#include "cache/storage/RemovalRetry.h"
#include "platform/PrivateFile.h"
#include "platform/ProgramClaims.h"

#include <chrono>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

using std::chrono::milliseconds;

constexpr milliseconds pauseBetweenAttempts{100};
/// Long enough for another viewer to clear a full cache.
constexpr milliseconds claimsPatience{20'000};
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
        if (auto lock = FileLock::acquire(file, claimsPatience))
            return std::move(*lock);
        throw std::runtime_error("Timed out waiting for another viewer to clear the viewer cache");
    }

    FileLock lock_;
};

ProgramClaims claimsOf(const ViewerStorage& storage) {
    return ProgramClaims(besideScope(storage, ".session-"));
}

/// Removes what dead processes left. The claims lock is held, and no claim of this session's.
bool hasLiveClaims(const ViewerStorage& storage) {
    const auto claims = claimsOf(storage);
    const auto found = claims.find();
    for (const auto& dead : found.dead)
        claims.removeDead(dead);
    return !found.living.empty();
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
    claim_ = claimsOf(storage_).take().first;
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
