#include "platform/Foreground.h"

#include <windows.h>

namespace zorbel {

void yieldForeground() noexcept {
    AllowSetForegroundWindow(ASFW_ANY);
}

} // namespace zorbel
