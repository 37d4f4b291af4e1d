#pragma once

#include "api/SessionRequest.h"

#include <memory>

namespace zorbel {

class MainWindow;
class SessionStorage;
class SettingsStore;
class ZorbelApiClient;

/// Has the main window open the settings, and follow what they change. All must outlive the window.
/// renewSession: for what they ask of the service.
void connectSettings(
    MainWindow& window, const std::shared_ptr<ZorbelApiClient>& client, SettingsStore& settings,
    SessionStorage& storage, const SessionRequest& renewSession);

} // namespace zorbel
