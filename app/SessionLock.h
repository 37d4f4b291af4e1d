#pragma once

#include "platform/FileLock.h"
#include "platform/ProgramClaims.h"

#include <filesystem>
#include <optional>
#include <string>

namespace zorbel {

/// The file "session.lock", empty, which exists exactly while a session runs in any program of this user.
/// Each session also holds a claim of its own, so that one that crashed or was killed is told from one that
/// still runs: the next start notices it even while others run, and of several programs the last to end
/// removes the file, unless one has crashed and no start has noticed yet. User-interface thread.
class SessionLock {
public:
    /// folder: where "session.lock" lies; it is created when needed.
    explicit SessionLock(std::filesystem::path folder);

    struct Begun {
        bool previousRunCrashed = false; ///< a session ended without end(), and this is the first to notice
        std::string failure;             ///< why the lock is not all there; empty when it is
    };
    Begun begin();
    /// May be called more than once.
    void end() noexcept;

private:
    bool noticeCrash() const;

    std::filesystem::path folder_;
    std::filesystem::path file_;
    ProgramClaims claims_;
    std::optional<FileLock> claim_;
    bool running_ = false;
};

} // namespace zorbel
