#include "platform/LinkProtocol.h"
#include "platform/PrivateFile.h"
#include "tests/platform/TestFolder.h"

#include <regex>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

namespace {

using namespace zorbel;

constexpr const wchar_t* key = L"Software\\Classes\\zorbel-viewer";

struct Value {
    DWORD type = 0;
    std::wstring text;
    friend bool operator==(const Value&, const Value&) = default;
};

Value readValue(const std::wstring& subkey, const wchar_t* name) {
    wchar_t buffer[1024] = {};
    DWORD size = sizeof buffer;
    Value value;
    const LSTATUS status =
        RegGetValueW(HKEY_CURRENT_USER, (key + subkey).c_str(), name, RRF_RT_ANY, &value.type, buffer, &size);
    value.text = status == ERROR_SUCCESS ? buffer : L"(absent)";
    return value;
}

TEST(LinkProtocolTest, WritesTheFourValuesAndFollowsAMovedProgram) {
    RegDeleteTreeW(HKEY_CURRENT_USER, key);
    ASSERT_TRUE(registerLinkProtocol(L"C:/Old/zorbel-desktop.exe"));
    ASSERT_TRUE(registerLinkProtocol(L"C:/Program Files/Zörbel/zorbel-desktop.exe"));

    const std::wstring quoted = L"\"C:\\Program Files\\Zörbel\\zorbel-desktop.exe\"";
    EXPECT_EQ(readValue(L"", nullptr), (Value{REG_SZ, L"URL:Zorbel Diagnostic Viewer"}));
    EXPECT_EQ(readValue(L"", L"URL Protocol"), (Value{REG_SZ, L""}));
    EXPECT_EQ(readValue(L"\\DefaultIcon", nullptr), (Value{REG_SZ, quoted + L",0"}));
    EXPECT_EQ(readValue(L"\\shell\\open\\command", nullptr), (Value{REG_SZ, quoted + L" \"%1\""}));
    RegDeleteTreeW(HKEY_CURRENT_USER, key);
}

TEST(LinkProtocolTest, StopsAtTheFirstFailure) {
    RegDeleteTreeW(HKEY_CURRENT_USER, key);
    // A volatile parent takes no lasting child, so the third write fails.
    HKEY handle = nullptr;
    ASSERT_EQ(
        RegCreateKeyExW(
            HKEY_CURRENT_USER, key, 0, nullptr, REG_OPTION_VOLATILE, KEY_WRITE, nullptr, &handle, nullptr),
        ERROR_SUCCESS);
    RegCloseKey(handle);
    EXPECT_FALSE(registerLinkProtocol(L"C:\\zorbel-desktop.exe"));
    EXPECT_EQ(readValue(L"", L"URL Protocol"), (Value{REG_SZ, L""}));
    EXPECT_EQ(readValue(L"\\DefaultIcon", nullptr).text, L"(absent)");
    EXPECT_EQ(readValue(L"\\shell\\open\\command", nullptr).text, L"(absent)");
    RegDeleteTreeW(HKEY_CURRENT_USER, key);
}

using AccessTest = TestFolder;

/// The owner and the access list in Windows' own notation.
std::wstring accessOf(const std::filesystem::path& path) {
    constexpr SECURITY_INFORMATION parts = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    LPWSTR text = nullptr;
    std::wstring name = path.wstring();
    if (GetNamedSecurityInfoW(
            name.data(), SE_FILE_OBJECT, parts, nullptr, nullptr, nullptr, nullptr, &descriptor) !=
            ERROR_SUCCESS ||
        !ConvertSecurityDescriptorToStringSecurityDescriptorW(
            descriptor, SDDL_REVISION_1, parts, &text, nullptr)) {
        return L"(unknown)";
    }
    std::wstring result = text;
    LocalFree(text);
    LocalFree(descriptor);
    return result;
}

/// The owner is allowed everything, nobody else anything; Wine always adds the system's own account.
void expectOwnerOnly(const std::filesystem::path& path) {
    const std::wstring access = accessOf(path);
    const std::wregex ownerOnly(L"O:(S-[0-9-]+)D:P?(AI)?(\\(A;[A-Z]*;FA;;;(SY|\\1)\\))+");
    EXPECT_TRUE(std::regex_match(access, ownerOnly)) << std::filesystem::path(access) << " for " << path;
}

TEST_F(AccessTest, OnlyTheOwnerIsAllowed) {
    EXPECT_NE(accessOf(folder).find(L";WD)"), std::wstring::npos)
        << "everybody may look at an ordinary folder";
    createPrivateFolder(folder / "private");
    createPrivateFile(folder / "private" / "empty");
    writePrivateFile(folder / "private" / "written", "x");
    for (const char* name : {"", "empty", "written"}) {
        expectOwnerOnly(folder / "private" / name);
    }
    createPrivateFolder(folder);
    expectOwnerOnly(folder);
}

} // namespace
