#pragma once

#include "cache/StudyLoadOptions.h"

#include <filesystem>

namespace zorbel {

/// What the main window may use on this computer.
struct MainWindowOptions {
    StudyLoadOptions loading;
    /// Where the reading state is kept; empty keeps it for the session alone.
    std::filesystem::path stateFolder;
    /// The program ended without a clean exit the last time: the study that was open may be opened again.
    bool previousRunCrashed = false;
};

} // namespace zorbel
