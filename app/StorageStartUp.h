#pragma once

#include "cache/storage/StorageSession.h"
#include "cache/storage/ViewerStorage.h"

#include <memory>
#include <optional>

namespace zorbel {

struct UserProfile;
struct ViewerCacheSettings;

/// The signed-in user's storage on this computer.
struct OpenedStorage {
    std::optional<ViewerStorage> storage; ///< empty when studies cannot be kept
    StoragePolicy policy;
    std::unique_ptr<StorageSession> session; ///< null when the storage could not be claimed
};

/// Claims the storage and applies the policy to it. What fails is logged, and the program goes on without.
OpenedStorage openStorage(const UserProfile& profile, const ViewerCacheSettings& chosen);

} // namespace zorbel
