#pragma once

#include <functional>

namespace zorbel {

/// Whoever needs the service and met the end of the session has the same user sign in again with this.
/// User-interface thread; answers there, once, during the call or later, whether the session holds again.
using SessionRequest = std::function<void(std::function<void(bool renewed)> answer)>;

} // namespace zorbel
