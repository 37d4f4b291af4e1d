#include "platform/FileInUse.h"

#include <cerrno>

namespace zorbel {

bool isFileInUse(const std::error_code& error) noexcept {
    if (error.category() != std::system_category() && error.category() != std::generic_category()) {
        return false;
    }
    // The directory fills up again while it is being emptied, is mounted on, or is closed by a network share.
    return error.value() == ENOTEMPTY || error.value() == EBUSY || error.value() == EACCES;
}

} // namespace zorbel
