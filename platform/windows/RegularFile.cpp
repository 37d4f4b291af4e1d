#include "platform/RegularFile.h"

#include <algorithm>
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
        "Cannot read " + std::string(text.begin(), text.end()));
}

} // namespace

RegularFile::RegularFile(const std::filesystem::path& file) : file_(file) {
    const HANDLE handle = CreateFileW(
        file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        fail(GetLastError(), file);
    BY_HANDLE_FILE_INFORMATION info{};
    DWORD reason = ERROR_SUCCESS;
    if (GetFileType(handle) != FILE_TYPE_DISK)
        reason = ERROR_INVALID_PARAMETER;
    else if (GetFileInformationByHandle(handle, &info) == 0)
        reason = GetLastError();
    else if ((info.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) != 0)
        reason = ERROR_INVALID_PARAMETER;
    if (reason != ERROR_SUCCESS) {
        CloseHandle(handle);
        fail(reason, file);
    }
    handle_ = reinterpret_cast<std::intptr_t>(handle);
    size_ = (static_cast<std::uint64_t>(info.nFileSizeHigh) << 32U) | info.nFileSizeLow;
}

RegularFile::~RegularFile() {
    if (handle_ != none)
        CloseHandle(systemHandle(handle_));
}

std::size_t RegularFile::read(std::span<std::byte> bytes) {
    constexpr std::size_t largest = 1U << 24;
    std::size_t done = 0;
    while (done < bytes.size()) {
        DWORD count = 0;
        if (ReadFile(
                systemHandle(handle_), bytes.data() + done,
                static_cast<DWORD>(std::min(bytes.size() - done, largest)), &count, nullptr) == 0)
            fail(GetLastError(), file_);
        if (count == 0)
            break;
        done += count;
    }
    return done;
}

} // namespace zorbel
