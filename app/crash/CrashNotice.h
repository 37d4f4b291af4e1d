#pragma once

#include "platform/CrashDumps.h"

#include <filesystem>
#include <optional>
#include <string_view>

namespace zorbel {

/// Whether the user is to be told that a session ended in a fault: of each dump, one start tells. Which ones
/// were told of is kept beside them, as their names. One thread.
class CrashNotice {
public:
    CrashNotice(std::filesystem::path folder, std::string_view baseName);

    /// The newest dump that no start has told of.
    std::optional<CrashDumps::Dump> due() const;
    /// All that are there now have been told of. Throws std::system_error where that cannot be kept; they
    /// are then told of again.
    void markTold() const;

private:
    std::filesystem::path told_;
    CrashDumps dumps_;
};

} // namespace zorbel
