#include "platform/DocumentHandler.h"
#include "tests/platform/TestFolder.h"

#include <windows.h>

namespace {

using namespace zorbel;

/// With a kind of files of its own. Windows finds a handler among the user's, Wine among everybody's.
class DocumentHandlerTest : public TestFolder {
protected:
    void SetUp() override {
        TestFolder::SetUp();
        removeHandler();
    }
    void TearDown() override {
        removeHandler();
        TestFolder::TearDown();
    }

    /// It copies the document that it is given.
    static void registerHandler(const std::filesystem::path& copy) {
        for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
            write(root, kind, L"ZorbelTestDocument");
            write(
                root, std::wstring(handler) + L"\\shell\\open\\command",
                L"cmd.exe /c copy \"%1\" \"" + copy.wstring() + L"\"");
        }
    }

private:
    static void removeHandler() {
        for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
            RegDeleteTreeW(root, kind);
            RegDeleteTreeW(root, handler);
        }
    }
    static void write(HKEY root, const std::wstring& key, const std::wstring& text) {
        RegSetKeyValueW(
            root, key.c_str(), nullptr, REG_SZ, text.c_str(),
            static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }

    static constexpr const wchar_t* kind = L"Software\\Classes\\.zorbeltest";
    static constexpr const wchar_t* handler = L"Software\\Classes\\ZorbelTestDocument";
};

TEST_F(DocumentHandlerTest, HandsTheDocumentToItsHandler) {
    const std::filesystem::path document = folder / L"Müller's work.zorbeltest";
    std::ofstream(document) << "report";
    EXPECT_FALSE(openDocument(document)) << "nobody knows such files";

    std::filesystem::path copy = folder / L"opened.txt";
    registerHandler(copy.make_preferred());
    EXPECT_FALSE(openDocument(folder / L"absent.zorbeltest"));
    ASSERT_TRUE(openDocument(document));
    while (contents(copy) != "report") {
        Sleep(10);
    }
}

} // namespace
