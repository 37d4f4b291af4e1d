#include "platform/Foreground.h"

namespace zorbel {

void yieldForeground() noexcept {}

} // namespace zorbel
