#include "platform/FileLock.h"

#include "platform/PrivateFile.h"

#include <string>
#include <system_error>

#include <windows.h>

namespace zorbel {

namespace {

HANDLE systemHandle(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

[[noreturn]] void fail(DWORD reason, const std::filesystem::path& file) {
    const std::u8string text = file.u8string();
    throw std::system_error(
        static_cast<int>(reason), std::system_category(),
        "Cannot lock " + std::string(text.begin(), text.end()));
}

} // namespace

std::optional<FileLock> FileLock::take(const std::filesystem::path& file, bool shared) {
    for (;;) {
        // The open handle is the lock: not shared with anybody, or with those that only read.
        const HANDLE handle = CreateFileW(
            file.c_str(), shared ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE | DELETE,
            shared ? FILE_SHARE_READ : 0, nullptr, OPEN_EXISTING,
            FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
        if (handle != INVALID_HANDLE_VALUE) {
            return FileLock(reinterpret_cast<std::intptr_t>(handle), file);
        }
        const DWORD reason = GetLastError();
        if (reason == ERROR_SHARING_VIOLATION || reason == ERROR_LOCK_VIOLATION ||
            reason == ERROR_DELETE_PENDING) {
            return std::nullopt;
        }
        if (reason != ERROR_FILE_NOT_FOUND) {
            fail(reason, file);
        }
        try {
            createPrivateFile(file);
        } catch (const std::system_error& error) {
            const int code = error.code().value();
            if (code != ERROR_FILE_EXISTS && code != ERROR_SHARING_VIOLATION) {
                fail(static_cast<DWORD>(code), file);
            }
        }
    }
}

void FileLock::removeFile() noexcept {
    if (handle_ != none) {
        FILE_DISPOSITION_INFO disposition{};
        disposition.DeleteFile = TRUE;
        SetFileInformationByHandle(
            systemHandle(handle_), FileDispositionInfo, &disposition, sizeof disposition);
    }
    release();
}

void FileLock::release() noexcept {
    if (handle_ != none) {
        CloseHandle(systemHandle(handle_));
        handle_ = none;
    }
}

} // namespace zorbel
