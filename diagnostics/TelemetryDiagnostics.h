#pragma once

#include <functional>
#include <string>
#include <vector>

namespace zorbel {

/// An event of the telemetry as it is sent.
struct TelemetryRecord {
    std::string json;
    bool sent = false;
};

/// What the pane shows of the telemetry and does with it; all on the user-interface thread. Empty functions:
/// there is none.
struct TelemetryDiagnostics {
    std::function<bool()> isConfigured{};
    std::function<bool()> isEnabled{};
    std::function<void(bool)> setEnabled{};
    std::function<std::string()> endpoint{};
    std::function<std::vector<TelemetryRecord>()> recentEvents{};
};

} // namespace zorbel
