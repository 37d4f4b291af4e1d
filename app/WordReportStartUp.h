#pragma once

#include "viewer/report/WordReportOptions.h"

#include <cstdint>
#include <filesystem>

namespace zorbel {

struct UserProfile;

/// Where the signed-in user's Word reports are worked on, in a folder of their own: what is not at the
/// service yet must outlive the session, whatever the storage's settings are. retentionDays: of the storage;
/// 0 removes what is synced at the next opportunity.
WordReportOptions wordReportOptions(
    const UserProfile& profile, const std::filesystem::path& configFolder, std::uint32_t retentionDays);

} // namespace zorbel
