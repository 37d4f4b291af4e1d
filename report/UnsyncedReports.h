#pragma once

#include "report/WordReportRecord.h"
#include "report/WordWorkingFolder.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <vector>

namespace zorbel {

/// A report of an earlier run whose document differs from what the service has of it.
struct UnsyncedReport {
    WordWorkingFolder folder; ///< claimed
    /// Nothing where it cannot be read: the document can be opened, but nobody knows where it belongs.
    std::optional<WordReportRecord> record;
    std::filesystem::file_time_type savedAt{}; ///< on this computer
};

/// Looks through the working folders below the root, those that another program watches over left out: what
/// is synced is removed once it is older than that, counted from its last save; what is not is claimed and
/// returned. Waits for the disk; never throws.
std::vector<UnsyncedReport>
takeUnsyncedReports(const std::filesystem::path& root, std::chrono::hours keepSynced);

} // namespace zorbel
