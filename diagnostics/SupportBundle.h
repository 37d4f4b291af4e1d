#pragma once

#include "diagnostics/DiagnosticsReport.h"
#include "diagnostics/Redactor.h"
#include "diagnostics/TelemetryDiagnostics.h"
#include "platform/CrashDumps.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace zorbel {

/// What a support bundle is made of. Value type.
struct SupportBundleSources {
    std::function<DiagnosticsReport()> report;
    DiagnosticsJson settings;
    std::vector<TelemetryRecord> telemetry;
    std::filesystem::path log;
    CrashDumps crashDumps{{}, {}};
    std::filesystem::path keyFile; ///< of the short names
    KnownSecrets secrets;
};

/// One file of a bundle, as it will lie in it.
struct SupportBundleEntry {
    std::string name;
    std::uint64_t bytes = 0;
    std::string contents;         ///< without what may name or let in anybody
    std::filesystem::path copied; ///< or this file as it is, which may hold memory contents
    bool holdsMemory() const { return !copied.empty(); }
};

/// A redactor with the names of this computer.
Redactor redactorFor(const SupportBundleSources& sources);
/// All that a bundle can hold. Blocks; any thread.
std::vector<SupportBundleEntry> supportBundleEntries(const SupportBundleSources& sources);
/// Writes the zip file in one step. Throws WorkCancelled or std::runtime_error with a text for the user, and
/// then leaves nothing. Blocks; any thread.
void writeSupportBundle(
    const std::filesystem::path& file, const std::vector<SupportBundleEntry>& entries,
    const std::atomic<bool>* cancel);

} // namespace zorbel
