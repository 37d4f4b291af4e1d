#include "platform/SystemInfo.h"

#include <windows.h>

#include <cstdio>

namespace zorbel {

std::string_view platformName() noexcept {
    return "windows";
}

std::string_view systemErrorName() noexcept {
    return "Windows error";
}

std::string buildId() {
    // What debuggers look programs up by: the time stamp of the link, and the size of the image.
    const auto* base = reinterpret_cast<const unsigned char*>(GetModuleHandleW(nullptr));
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* image = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    char id[32];
    std::snprintf(
        id, sizeof id, "%08lX%lx", static_cast<unsigned long>(image->FileHeader.TimeDateStamp),
        static_cast<unsigned long>(image->OptionalHeader.SizeOfImage));
    return id;
}

bool runsInstallers() noexcept {
    return true;
}

} // namespace zorbel
