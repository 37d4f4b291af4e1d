#pragma once

#include "app/update/UpdateOrigin.h"

#include <optional>

namespace zorbel {

/// The demo service's releases, signed by the demonstration's vendor: for a viewer that "zorbel-demo run" has
/// started. Nothing when it could make no installers.
std::optional<UpdateOrigin> demoUpdateOrigin();

/// Where its installers lie; empty for none.
QString demoInstallers();

} // namespace zorbel
