#pragma once

#include "api/LastRequests.h"
#include "api/ZorbelApiClient.h"
#include "cache/storage/ViewerStorage.h"
#include "diagnostics/DiagnosticsReport.h"
#include "settings/store/SettingsStore.h"

#include <optional>

namespace zorbel {

/// Role and organization: neither a name nor an address nor a token.
DiagnosticsJson sessionSection(const ZorbelApiClient& client);
/// Where studies come from, and what the last requests came to.
DiagnosticsJson serviceSection(const ZorbelApiClient& client, const LastRequests& requests);
/// What is kept on this computer. Walks through the cache folder; any thread.
DiagnosticsJson
storageSection(const std::optional<ViewerStorage>& storage, const StoragePolicy& policy, bool sessionOnly);
/// Every setting of the table.
DiagnosticsJson settingsSection(const SettingsStore& settings, const QString& organizationId);

} // namespace zorbel
