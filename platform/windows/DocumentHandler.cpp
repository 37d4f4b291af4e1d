#include "platform/DocumentHandler.h"

#include <exception>
#include <string>

#include <windows.h>

#include <objbase.h>
#include <shellapi.h>

namespace zorbel {

namespace {

/// Handlers that live in a library need COM in the calling thread; where it runs otherwise already, that
/// does.
class ComOfThread {
public:
    ComOfThread() : result_(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE)) {}
    ~ComOfThread() {
        if (SUCCEEDED(result_)) {
            CoUninitialize();
        }
    }
    ComOfThread(const ComOfThread&) = delete;
    ComOfThread& operator=(const ComOfThread&) = delete;

private:
    HRESULT result_;
};

} // namespace

bool openDocument(const std::filesystem::path& document) noexcept {
    try {
        std::filesystem::path native = std::filesystem::absolute(document);
        native.make_preferred();
        const ComOfThread com;
        SHELLEXECUTEINFOW info{};
        info.cbSize = sizeof info;
        // The thread may end right after; the message about a missing program is the caller's.
        info.fMask = SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
        info.lpFile = native.c_str();
        info.nShow = SW_SHOWNORMAL;
        return ShellExecuteExW(&info) != FALSE;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace zorbel
