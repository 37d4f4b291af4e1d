#pragma once

#include "cache/storage/ViewerStorage.h"
#include "platform/FileLock.h"

#include <filesystem>
#include <optional>

namespace zorbel {

/// One running viewer's claim on a scope's storage, so that in session-only mode the last one to leave clears
/// it, and a start after a crash clears what was left. The claim is a locked file beside the scope directory,
/// which ends with the process however that ends. User-interface thread.
class StorageSession {
public:
    /// Takes the claim. Where session-only mode is on and nobody else has one, what an earlier session left
    /// is cleared now. Throws std::runtime_error when the disk refuses.
    StorageSession(ViewerStorage storage, bool sessionOnly);
    /// end(), with a failure logged.
    ~StorageSession();
    StorageSession(const StorageSession&) = delete;
    StorageSession& operator=(const StorageSession&) = delete;

    /// The setting may change while the program runs; what counts is its value at the end.
    void setSessionOnly(bool sessionOnly) { sessionOnly_ = sessionOnly; }
    /// Gives up the claim; in session-only mode the last one clears the storage. A folder in use is tried
    /// again, 10 times in all, before std::runtime_error "Unable to clear session-only viewer cache".
    void end();

private:
    ViewerStorage storage_;
    bool sessionOnly_;
    std::filesystem::path claimFile_;
    std::optional<FileLock> claim_;
};

} // namespace zorbel
