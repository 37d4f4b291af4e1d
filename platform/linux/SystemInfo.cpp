#include "platform/SystemInfo.h"

namespace zorbel {

std::string_view platformName() noexcept {
    return "linux";
}

std::string_view systemErrorName() noexcept {
    return "system error";
}

bool runsInstallers() noexcept {
    return false;
}

} // namespace zorbel
