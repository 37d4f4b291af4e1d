#pragma once

namespace zorbel {

/// From now on a system's or a terminal's request to end the program (SIGTERM, SIGINT, SIGHUP, each unless it
/// is ignored) makes the returned descriptor readable, for good, instead of ending it; the same request once
/// more ends it at once. −1 where there are no such requests, as on Windows, or they cannot be watched. To be
/// called once, on the main thread.
int watchTerminationRequests() noexcept;

} // namespace zorbel
