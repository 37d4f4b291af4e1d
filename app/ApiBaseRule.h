#pragma once

#include <QString>

#include <optional>

namespace zorbel {

/// Reduces a service address that came with a link to scheme, host and port, without a trailing "/". An empty
/// text stays empty (no override). Nothing when the address is neither the vendor's own host over HTTPS nor a
/// loopback host: a link must not send the user's password elsewhere.
std::optional<QString> normalizeApiBase(const QString& apiBase);

} // namespace zorbel
