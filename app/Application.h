#pragma once

#include "app/update/UpdateOrigin.h"

#include <functional>
#include <optional>

class QApplication;

namespace zorbel {

/// Runs the program from its first line to its last; returns the exit code: the event loop's result, 0 when
/// the sign-in was cancelled, 2 when the API endpoint was refused.
/// updates: where newer releases come from; none are looked for without it. No setting, variable or argument
/// of the program changes it. applicationReady, if given, is called once the application object has its
/// identity and looks, before any window: the guided tour hooks in there.
///
/// Environment: ZORBEL_API_BASE_URL names the service, ZORBEL_TELEMETRY_URL where telemetry goes (nowhere
/// without it), ZORBEL_LOG_LEVEL=debug puts the debug lines into the log too.
int runApplication(
    int& argc, char** argv, const std::optional<UpdateOrigin>& updates,
    const std::function<void(QApplication&)>& applicationReady = {});

} // namespace zorbel
