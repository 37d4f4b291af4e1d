#pragma once

#include "api/SessionRequest.h"

#include <chrono>
#include <filesystem>
#include <functional>

namespace zorbel {

/// What Word reports may use on this computer.
struct WordReportOptions {
    std::filesystem::path root{}; ///< for their working folders; the user's own
    /// How long the working folder of a synced report stays.
    std::chrono::hours keepSynced{24};
    /// Opens a document for the user, on a thread of its own, and returns whether there is a program for it.
    /// Empty: the system's.
    std::function<bool(const std::filesystem::path& document)> openDocument{};
    SessionRequest signInAgain{};
};

} // namespace zorbel
