#include "platform/SystemInfo.h"

#include "platform/linux/LoadedModules.h"

namespace zorbel {

std::string_view platformName() noexcept {
    return "linux";
}

std::string_view systemErrorName() noexcept {
    return "system error";
}

std::string buildId() {
    FixedText<512> id;
    LoadedModules::describeBuildId(id, reinterpret_cast<const void*>(&buildId));
    return std::string(id.view());
}

bool runsInstallers() noexcept {
    return false;
}

} // namespace zorbel
