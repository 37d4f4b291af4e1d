#pragma once

namespace zorbel {

/// How the active Word report stands.
enum class WordReportState {
    None,
    Preparing,
    Synced,
    Unsynced, ///< changed on this computer, and nothing is under way or has failed yet
    Syncing,
    Failed,
};

} // namespace zorbel
