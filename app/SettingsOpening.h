#pragma once

#include <memory>

namespace zorbel {

class MainWindow;
class SessionStorage;
class SettingsStore;
class ZorbelApiClient;

/// Has the main window open the settings, and follow what they change. All must outlive the window.
void connectSettings(
    MainWindow& window, const std::shared_ptr<ZorbelApiClient>& client, SettingsStore& settings,
    SessionStorage& storage);

} // namespace zorbel
