#pragma once

#include <string_view>

namespace zorbel {

enum class LogLevel { Debug = 0, Info = 1, Warn = 2, Error = 3, Fatal = 4 };

/// The word written for a level; any value outside the enumeration is written as "info".
std::string_view logLevelWord(LogLevel level) noexcept;

} // namespace zorbel
