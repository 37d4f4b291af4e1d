#pragma once

#include <system_error>

namespace zorbel {

/// Whether a folder or file could not be removed only because somebody works with it just now, so that
/// another attempt a moment later may succeed. The error is one that a removal reported.
bool isFileInUse(const std::error_code& error) noexcept;

} // namespace zorbel
