#include "platform/LinkProtocol.h"

#include <exception>
#include <string>

#include <windows.h>

namespace zorbel {

namespace {

/// Writes one string value below the current user's hive; a null name means the key's default value.
bool writeValue(const wchar_t* key, const wchar_t* name, const std::wstring& data) {
    HKEY handle = nullptr;
    if (RegCreateKeyExW(
            HKEY_CURRENT_USER, key, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr, &handle,
            nullptr) != ERROR_SUCCESS) {
        return false;
    }
    const auto bytes = static_cast<DWORD>((data.size() + 1) * sizeof(wchar_t));
    const LSTATUS status =
        RegSetValueExW(handle, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(data.c_str()), bytes);
    RegCloseKey(handle);
    return status == ERROR_SUCCESS;
}

} // namespace

bool registerLinkProtocol(const std::filesystem::path& executable) noexcept {
    try {
        std::filesystem::path native = executable;
        const std::wstring quoted = L"\"" + native.make_preferred().wstring() + L"\"";
        return writeValue(L"Software\\Classes\\zorbel-viewer", nullptr, L"URL:Zorbel Diagnostic Viewer") &&
               writeValue(L"Software\\Classes\\zorbel-viewer", L"URL Protocol", L"") &&
               writeValue(L"Software\\Classes\\zorbel-viewer\\DefaultIcon", nullptr, quoted + L",0") &&
               writeValue(
                   L"Software\\Classes\\zorbel-viewer\\shell\\open\\command", nullptr, quoted + L" \"%1\"");
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace zorbel
