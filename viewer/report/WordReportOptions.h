#pragma once

#include <chrono>
#include <filesystem>
#include <functional>

class QWidget;

namespace zorbel {

/// What Word reports may use on this computer.
struct WordReportOptions {
    std::filesystem::path root{}; ///< for their working folders; the user's own
    /// How long the working folder of a synced report stays.
    std::chrono::hours keepSynced{24};
    /// Asks the same user to sign in again, over the given window, and tells whether they did.
    std::function<void(QWidget* parent, std::function<void(bool)> answer)> signInAgain{};
};

} // namespace zorbel
