#include "app/WordReportStartUp.h"

#include "api/UserProfile.h"
#include "app/log/Logger.h"
#include "cache/storage/StorageScope.h"

#include <exception>

namespace zorbel {

WordReportOptions wordReportOptions(
    const UserProfile& profile, const std::filesystem::path& configFolder, std::uint32_t retentionDays) {
    WordReportOptions options;
    options.keepSynced = std::chrono::days(retentionDays);
    try {
        const auto scope = StorageScope::of(profile.organizationId.toStdString(), profile.id.toStdString());
        options.root = configFolder / "word" / scope.identifier();
    } catch (const std::exception& error) {
        Logger::instance().warn("WordReport", "Word reports are unavailable", {{"reason", error.what()}});
    }
    return options;
}

} // namespace zorbel
