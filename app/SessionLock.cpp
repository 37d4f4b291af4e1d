#include "app/SessionLock.h"

#include "platform/PrivateFile.h"

#include <system_error>

namespace zorbel {

SessionLock::SessionLock(const std::filesystem::path& folder)
    : folder_(folder), file_(folder / "session.lock") {}

bool SessionLock::exists() const {
    std::error_code ignored;
    return std::filesystem::exists(file_, ignored);
}

void SessionLock::create() const {
    createPrivateFolder(folder_);
    writePrivateFile(file_, {});
}

void SessionLock::remove() const {
    std::error_code ignored; // a lock that stays behind only makes the next start offer a recovery
    std::filesystem::remove(file_, ignored);
}

} // namespace zorbel
