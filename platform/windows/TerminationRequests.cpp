#include "platform/TerminationRequests.h"

namespace zorbel {

int watchTerminationRequests() noexcept {
    return -1; // Windows closes the windows of a program that is to end
}

} // namespace zorbel
