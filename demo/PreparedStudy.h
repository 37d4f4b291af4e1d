#pragma once

#include "demo/DemoAccounts.h"

#include <filesystem>

namespace zorbel::demo {

/// Writes the study in phantomStudies / preparedStudyName as a volume cache for the account, where the viewer
/// looks for it below the user's cache folder (XDG_CACHE_HOME), as the imaging service would; also over an
/// earlier one, which may be old or damaged. Throws std::runtime_error with a text for the user.
void prepareVolumeCache(
    const std::filesystem::path& phantomStudies, const std::filesystem::path& userCacheFolder,
    const DemoAccount& account);

} // namespace zorbel::demo
