#pragma once

#include <filesystem>

namespace zorbel {

/// Makes `executable` (absolute path) the current user's handler of zorbel-viewer: links. Meant for every
/// start, so that a moved program registers its new place; what is already right is not written again. False
/// when any step failed; the caller logs it. On Linux the places follow XDG_DATA_HOME and XDG_CONFIG_HOME.
bool registerLinkProtocol(const std::filesystem::path& executable) noexcept;

} // namespace zorbel
