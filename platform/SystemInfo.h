#pragma once

#include <string_view>

namespace zorbel {

/// "windows" or "linux", as written to the log and sent with telemetry.
std::string_view platformName() noexcept;

} // namespace zorbel
