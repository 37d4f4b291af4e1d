#pragma once

#include "cache/StudyLoadOptions.h"
#include "viewer/report/WordReportOptions.h"

#include <QString>

#include <filesystem>

namespace zorbel {

/// What the main window may use on this computer.
struct MainWindowOptions {
    StudyLoadOptions loading;
    WordReportOptions reports;
    /// Where the reading state is kept; empty keeps it for the session alone.
    std::filesystem::path stateFolder;
    /// The session lock tells that a program did not exit cleanly.
    bool previousRunCrashed = false;
    /// The study that a link asked for at the start; empty for none. It is opened before anything is
    /// recovered.
    QString linkedStudy;
};

} // namespace zorbel
