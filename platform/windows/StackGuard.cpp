#include "platform/threads/StackGuard.h"

#include <windows.h>

namespace zorbel {

void guardThreadStack() noexcept {
    // What the handler needs of the stack that has overflowed: it hands over to another thread at once.
    thread_local const bool guarded = [] {
        ULONG reserve = 64 * 1024;
        return SetThreadStackGuarantee(&reserve) != 0;
    }();
    static_cast<void>(guarded);
}

} // namespace zorbel
