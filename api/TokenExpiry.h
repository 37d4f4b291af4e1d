#pragma once

#include <cstdint>
#include <optional>

class QString;

namespace zorbel {

/// When a session's token says that it ends, in seconds since the Unix epoch: a hint for when to ask the
/// service, which alone decides. Nothing where the token is no JSON Web Token or names no such time.
std::optional<std::int64_t> tokenExpiry(const QString& token);

} // namespace zorbel
