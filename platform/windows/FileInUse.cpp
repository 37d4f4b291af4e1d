#include "platform/FileInUse.h"

#include <cerrno>

#include <windows.h>

namespace zorbel {

bool isFileInUse(const std::error_code& error) noexcept {
    if (error.category() == std::system_category()) {
        return error.value() == ERROR_ACCESS_DENIED || error.value() == ERROR_DIR_NOT_EMPTY;
    }
    // The C++ library reports some failures in the words of the C library.
    return error.category() == std::generic_category() &&
           (error.value() == EACCES || error.value() == ENOTEMPTY);
}

} // namespace zorbel
