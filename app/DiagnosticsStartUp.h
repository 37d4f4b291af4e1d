#pragma once

#include "diagnostics/LiveLog.h"
#include "diagnostics/TelemetryDiagnostics.h"
#include "platform/CrashDumps.h"

#include <filesystem>
#include <memory>

namespace zorbel {

class DiagnosticsPane;
class LastRequests;
class MainWindow;
class SessionStorage;
class SettingsStore;
class ZorbelApiClient;

/// What the diagnostics look at beside the window.
struct DiagnosticsSurroundings {
    std::shared_ptr<LiveLog> log;
    std::shared_ptr<LastRequests> requests;
    TelemetryDiagnostics telemetry;
    std::filesystem::path configFolder;
    std::filesystem::path logFile;
    CrashDumps crashDumps{{}, {}};
};

/// Gives the main window its diagnostics pane, which is the window's. All must outlive the window.
DiagnosticsPane* connectDiagnostics(
    MainWindow& window, const std::shared_ptr<ZorbelApiClient>& client, const SettingsStore& settings,
    const SessionStorage& storage, DiagnosticsSurroundings surroundings);

} // namespace zorbel
