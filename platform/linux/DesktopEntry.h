#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace zorbel {

/// The desktop entry that hands zorbel-viewer: links to the executable, quoted by the rules of its Exec key.
std::string linkHandlerDesktopEntry(const std::filesystem::path& executable);

/// The text of a mimeapps.list with `desktopFile` as the default application of `mimeType`; every other line
/// stays as it is.
std::string
withDefaultApplication(std::string_view mimeApps, std::string_view mimeType, std::string_view desktopFile);

/// The program and its arguments with which a desktop entry opens the file; empty when it cannot, or wants a
/// terminal.
std::vector<std::string> openingCommand(std::string_view desktopEntry, const std::filesystem::path& file);

} // namespace zorbel
