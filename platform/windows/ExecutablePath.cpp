#include "platform/ExecutablePath.h"

#include <string>
#include <system_error>

#include <windows.h>

namespace zorbel {

std::filesystem::path executablePath() {
    std::wstring path(MAX_PATH, L'\0');
    // A path that is cut off fills the buffer.
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) {
            throw std::system_error(
                static_cast<int>(GetLastError()), std::system_category(),
                "Cannot find the program's own file");
        }
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

} // namespace zorbel
