#include "platform/PrivateFile.h"

#include <atomic>
#include <string>
#include <system_error>
#include <vector>

#include <windows.h>

#include <sddl.h>

namespace zorbel {

namespace {

namespace fs = std::filesystem;

std::string utf8(const fs::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

[[noreturn]] void fail(DWORD reason, const char* what, const fs::path& path) {
    throw std::system_error(static_cast<int>(reason), std::system_category(), what + utf8(path));
}

std::wstring currentUserSid() {
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == 0) {
        return {};
    }
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<unsigned char> buffer(size);
    std::wstring text;
    LPWSTR sid = nullptr;
    if (GetTokenInformation(token, TokenUser, buffer.data(), size, &size) != 0 &&
        ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid, &sid) != 0) {
        text = sid;
        LocalFree(sid);
    }
    CloseHandle(token);
    return text;
}

/// Full access for the current user, none for anybody else, nothing inherited from above; children inherit
/// it.
class OwnerOnly {
public:
    OwnerOnly(const char* what, const fs::path& path) {
        const std::wstring text = L"D:P(A;OICI;FA;;;" + currentUserSid() + L")";
        if (ConvertStringSecurityDescriptorToSecurityDescriptorW(
                text.c_str(), SDDL_REVISION_1, &descriptor_, nullptr) == 0) {
            fail(GetLastError(), what, path);
        }
        attributes_.nLength = sizeof attributes_;
        attributes_.lpSecurityDescriptor = descriptor_;
    }
    ~OwnerOnly() { LocalFree(descriptor_); }
    OwnerOnly(const OwnerOnly&) = delete;
    OwnerOnly& operator=(const OwnerOnly&) = delete;

    SECURITY_ATTRIBUTES* attributes() { return &attributes_; }
    /// Gives an existing folder this access; what lies in it keeps its own. Tells whether it worked.
    bool applyTo(const fs::path& folder) const {
        return SetFileSecurityW(
                   folder.c_str(), DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                   descriptor_) != 0;
    }

private:
    PSECURITY_DESCRIPTOR descriptor_ = nullptr;
    SECURITY_ATTRIBUTES attributes_{};
};

HANDLE createNew(const fs::path& file, const char* what, const fs::path& named) {
    OwnerOnly access(what, named);
    const HANDLE handle = CreateFileW(
        file.c_str(), GENERIC_WRITE, 0, access.attributes(), CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        fail(GetLastError(), what, named);
    }
    return handle;
}

bool writeAll(HANDLE file, std::string_view bytes) {
    while (!bytes.empty()) {
        constexpr std::size_t largest = 1U << 24;
        DWORD written = 0;
        if (WriteFile(
                file, bytes.data(), static_cast<DWORD>(bytes.size() < largest ? bytes.size() : largest),
                &written, nullptr) == 0) {
            return false;
        }
        bytes.remove_prefix(written);
    }
    return FlushFileBuffers(file) != 0;
}

} // namespace

void createPrivateFolder(const fs::path& folder) {
    constexpr const char* what = "Cannot create the private folder ";
    OwnerOnly access(what, folder);
    fs::path step;
    for (const fs::path& part : folder) {
        step /= part;
        if (step.has_relative_path() && CreateDirectoryW(step.c_str(), access.attributes()) == 0) {
            const DWORD reason = GetLastError();
            if (GetFileAttributesW(step.c_str()) == INVALID_FILE_ATTRIBUTES) {
                fail(reason, what, folder);
            }
        }
    }
    if ((GetFileAttributesW(folder.c_str()) & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        fail(ERROR_DIRECTORY, what, folder);
    }
    if (!access.applyTo(folder)) {
        fail(GetLastError(), what, folder);
    }
}

void createPrivateFile(const fs::path& file) {
    CloseHandle(createNew(file, "Cannot create the private file ", file));
}

void writePrivateFile(const fs::path& file, std::string_view bytes) {
    static std::atomic<unsigned> counter = 0;
    constexpr const char* what = "Cannot write ";
    fs::path temporary = file;
    temporary += L"." + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(counter++) + L".tmp";
    const HANDLE handle = createNew(temporary, what, file);
    const bool written = writeAll(handle, bytes);
    DWORD reason = written ? ERROR_SUCCESS : GetLastError();
    CloseHandle(handle);
    if (written &&
        MoveFileExW(temporary.c_str(), file.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) ==
            0) {
        reason = GetLastError();
    }
    if (reason != ERROR_SUCCESS) {
        DeleteFileW(temporary.c_str());
        fail(reason, what, file);
    }
}

bool isUnfinishedWrite(const fs::path& fileName) {
    return fileName.extension() == L".tmp" && fileName.stem().extension() != L"";
}

bool isOwnFolder(const fs::path& folder) noexcept {
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

} // namespace zorbel
