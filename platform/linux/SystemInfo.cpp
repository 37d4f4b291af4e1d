#include "platform/SystemInfo.h"

namespace zorbel {

std::string_view platformName() noexcept {
    return "linux";
}

} // namespace zorbel
