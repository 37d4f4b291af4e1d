#pragma once

#include <filesystem>
#include <string>

namespace zorbel::demo {

/// Makes LibreOffice, where it is installed, the program for Word documents of a desktop with this
/// configuration folder (XDG_CONFIG_HOME), and gives it settings without questions at its start and at each
/// save, unless it has some already. A line for the user: what will open a report.
std::string prepareWordProcessor(const std::filesystem::path& configFolder);

} // namespace zorbel::demo
