#pragma once

#include <filesystem>
#include <functional>
#include <string_view>

class QMainWindow;

namespace zorbel {

/// Where a session has ended in a fault since the last start, notes that in the window and in the log.
/// folder, baseName: what installCrashReporting() was given. show: shows the dump that it is handed.
void noteLastCrash(
    QMainWindow& window, const std::filesystem::path& folder, std::string_view baseName,
    std::function<void(const std::filesystem::path&)> show);

} // namespace zorbel
