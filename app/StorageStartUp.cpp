#include "app/StorageStartUp.h"

#include "api/UserProfile.h"
#include "app/log/Logger.h"
#include "settings/model/ViewerCacheSettings.h"

#include <exception>
#include <string>

namespace zorbel {

namespace {

constexpr char component[] = "Storage";

std::unique_ptr<StorageSession> claim(const ViewerStorage& storage, bool sessionOnly) {
    try {
        return std::make_unique<StorageSession>(storage, sessionOnly);
    } catch (const std::exception& error) {
        Logger::instance().warn(component, "Viewer cache is unavailable", {{"reason", error.what()}});
        return nullptr;
    }
}

} // namespace

OpenedStorage openStorage(const UserProfile& profile, const ViewerCacheSettings& chosen) {
    OpenedStorage opened;
    try {
        const auto scope = StorageScope::of(profile.organizationId.toStdString(), profile.id.toStdString());
        opened.policy = chosen.policy();
        opened.storage.emplace(chosen.cacheDir, scope);
        opened.session = claim(*opened.storage, chosen.isSessionOnly());
        const auto result = opened.storage->applyPolicy(opened.policy, ViewerStorage::Time::clock::now());
        Logger::instance().info(
            component, "Viewer cache policy applied",
            {{"retentionDays", std::to_string(opened.policy.retentionDays)},
             {"remainingBytes", std::to_string(result.remainingBytes)},
             {"removedDirectories", std::to_string(result.removedDirectories)}});
    } catch (const std::exception& error) {
        Logger::instance().warn(
            component, "Viewer cache policy could not be applied", {{"reason", error.what()}});
    }
    return opened;
}

} // namespace zorbel
