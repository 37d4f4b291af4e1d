#pragma once

#include <filesystem>

namespace zorbel::demo {

/// Has demo-installers.py make the demonstration's installers in the folder. False when what it needs is not
/// installed; it says so on standard error.
bool makeDemoInstallers(const std::filesystem::path& folder);

} // namespace zorbel::demo
