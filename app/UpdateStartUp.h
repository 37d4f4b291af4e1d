#pragma once

#include "app/update/UpdateOrigin.h"

#include <filesystem>

class QString;

namespace zorbel {

class MainWindow;
class UpdateController;

/// Removes what earlier downloads left in the folder, and has newer releases looked for a moment after the
/// window is shown and then once a day. They are offered when that disturbs nothing. The controller is the
/// window's.
UpdateController* startUpdates(
    MainWindow& window, const UpdateOrigin& origin, const QString& currentVersion,
    const std::filesystem::path& folder);

} // namespace zorbel
