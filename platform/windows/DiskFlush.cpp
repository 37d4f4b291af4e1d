#include "platform/DiskFlush.h"

#include <string>
#include <system_error>

#include <windows.h>

namespace zorbel {

namespace {

[[noreturn]] void fail(DWORD reason, const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    throw std::system_error(
        static_cast<int>(reason), std::system_category(),
        "Cannot flush " + std::string(text.begin(), text.end()));
}

/// The error, or ERROR_SUCCESS.
DWORD flush(const std::filesystem::path& path, DWORD flags, bool& opened) {
    const HANDLE handle = CreateFileW(
        path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT | flags, nullptr);
    opened = handle != INVALID_HANDLE_VALUE;
    if (!opened)
        return GetLastError();
    const DWORD reason = FlushFileBuffers(handle) != 0 ? ERROR_SUCCESS : GetLastError();
    CloseHandle(handle);
    return reason;
}

} // namespace

void beginFlush(const std::filesystem::path&) noexcept {
    // The system writes out on its own; it cannot be asked for without waiting.
}

void flushFile(const std::filesystem::path& file) {
    bool opened = false;
    if (const DWORD reason = flush(file, FILE_ATTRIBUTE_NORMAL, opened); reason != ERROR_SUCCESS)
        fail(reason, file);
}

void flushFolder(const std::filesystem::path& folder) {
    bool opened = false;
    const DWORD reason = flush(folder, FILE_FLAG_BACKUP_SEMANTICS, opened);
    // NTFS journals the changes of folders itself; that some file systems refuse to flush one is no failure.
    if (reason != ERROR_SUCCESS && !opened && reason != ERROR_ACCESS_DENIED)
        fail(reason, folder);
}

} // namespace zorbel
