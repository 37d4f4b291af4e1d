#include "app/SessionLock.h"

#include "platform/PrivateFile.h"

#include <chrono>
#include <exception>
#include <utility>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

/// Held while claims are taken, counted and given up: two programs that start or end at the same time do so
/// one after the other.
class ClaimsLock {
public:
    explicit ClaimsLock(const fs::path& folder)
        : lock_(FileLock::acquire(folder / "session-claims.lock", std::chrono::seconds(2))) {}
    ~ClaimsLock() {
        if (lock_)
            lock_->removeFile();
    }
    ClaimsLock(const ClaimsLock&) = delete;
    ClaimsLock& operator=(const ClaimsLock&) = delete;

private:
    std::optional<FileLock> lock_;
};

} // namespace

SessionLock::SessionLock(fs::path folder)
    : folder_(std::move(folder)), file_(folder_ / "session.lock"), claims_(folder_ / "session-") {}

SessionLock::Begun SessionLock::begin() {
    Begun begun;
    std::error_code ignored;
    try {
        createPrivateFolder(folder_);
        begun.previousRunCrashed = fs::exists(file_, ignored);
        const ClaimsLock deciding(folder_);
        begun.previousRunCrashed = fs::exists(file_, ignored) && noticeCrash();
        claim_ = claims_.take().first;
    } catch (const std::exception& error) {
        begun.failure = error.what();
    }
    try {
        writePrivateFile(file_, {});
        running_ = true;
    } catch (const std::exception& error) {
        begun.failure = error.what();
    }
    return begun;
}

void SessionLock::end() noexcept {
    if (!std::exchange(running_, false))
        return;
    try {
        std::optional<ClaimsLock> deciding;
        ProgramClaims::Found others;
        if (claim_) {
            deciding.emplace(folder_);
            claim_->removeFile();
            claim_.reset();
            others = claims_.find();
        }
        if (others.living.empty() && others.dead.empty())
            fs::remove(file_);
    } catch (const std::exception&) {
        // a lock that stays behind only makes the next start offer a recovery
        claim_.reset();
    }
}

/// With nobody alive the file itself says it, whatever became of its session's claim.
bool SessionLock::noticeCrash() const {
    const auto others = claims_.find();
    for (const auto& crashed : others.dead)
        claims_.removeDead(crashed);
    return others.living.empty() || !others.dead.empty();
}

} // namespace zorbel
