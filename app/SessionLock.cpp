#include "app/SessionLock.h"

#include "platform/PrivateFile.h"

#include <system_error>

namespace zorbel {

SessionLock::SessionLock(const std::filesystem::path& folder)
    : folder_(folder), file_(folder / "session.lock") {}

bool SessionLock::acquire() {
    std::error_code ignored;
    const bool crashed = std::filesystem::exists(file_, ignored);
    createPrivateFolder(folder_);
    writePrivateFile(file_, {});
    return crashed;
}

void SessionLock::remove() const {
    std::error_code ignored; // a lock that stays behind only makes the next start offer a recovery
    std::filesystem::remove(file_, ignored);
}

} // namespace zorbel
