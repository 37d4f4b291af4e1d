#include "platform/SystemInfo.h"

namespace zorbel {

std::string_view platformName() noexcept {
    return "windows";
}

std::string_view systemErrorName() noexcept {
    return "Windows error";
}

bool runsInstallers() noexcept {
    return true;
}

} // namespace zorbel
