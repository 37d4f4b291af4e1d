#pragma once

#include "cache/storage/ViewerStorage.h"
#include "platform/FileLock.h"

#include <optional>

namespace zorbel {

/// One running viewer's claim on a scope's storage, so that in session-only mode the last one to leave clears
/// it, and a start after a crash clears what was left. The claim is a locked file beside the scope directory,
/// "<scope>.session-<random>", which ends with the process however that ends. Claiming and clearing happen
/// under a lock of their own, "<scope>.claims.lock", so that nobody's storage is cleared after he began.
/// User-interface thread.
class StorageSession {
public:
    /// Takes the claim. Where session-only mode is on and nobody else has one, what an earlier session left
    /// is cleared now; where that fails it is logged and tried again at the end. A missing cache root is
    /// created, private; an existing one keeps its permissions. Throws std::runtime_error, with the reason,
    /// when the disk refuses.
    StorageSession(ViewerStorage storage, bool sessionOnly);
    /// end(); a failure is only logged.
    ~StorageSession();
    StorageSession(const StorageSession&) = delete;
    StorageSession& operator=(const StorageSession&) = delete;

    /// The setting may change while the program runs; what counts is its value at the end.
    void setSessionOnly(bool sessionOnly) { sessionOnly_ = sessionOnly; }
    /// Gives up the claim; in session-only mode the last one clears the storage. A folder in use is tried
    /// again, 10 times in all, before std::runtime_error "Unable to clear session-only viewer cache". A
    /// second call does nothing.
    void end();

private:
    ViewerStorage storage_;
    bool sessionOnly_;
    std::optional<FileLock> claim_;
};

} // namespace zorbel
