#pragma once

#include <string>
#include <string_view>

namespace zorbel {

/// "windows" or "linux", as written to the log and sent with telemetry.
std::string_view platformName() noexcept;

/// What a message calls the system's error numbers: "Windows error" or "system error".
std::string_view systemErrorName() noexcept;

/// Which build of the program this is, as its crash dumps name it; "unknown" where the linker left no mark.
std::string buildId();

/// Whether the installer of an update, a Windows program, runs here.
bool runsInstallers() noexcept;

} // namespace zorbel
