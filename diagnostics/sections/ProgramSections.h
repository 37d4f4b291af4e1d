#pragma once

#include "diagnostics/DiagnosticsReport.h"

namespace zorbel {

/// Versions of the program, its libraries and the system.
DiagnosticsJson programSection();
/// What OpenGL is here. User-interface thread.
DiagnosticsJson graphicsSection();
/// Of this process and of the machine, in mebibytes. Any thread.
DiagnosticsJson memorySection();
/// Size, scale and rate of each screen. User-interface thread.
DiagnosticsJson screensSection();

} // namespace zorbel
