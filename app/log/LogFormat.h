#pragma once

#include "app/log/LogLevel.h"

#include <chrono>
#include <map>
#include <string>
#include <string_view>

namespace zorbel {

/// String to string, written in ascending byte order of the keys; numbers are given as text.
using LogMeta = std::map<std::string, std::string>;

/// One record as one JSON object in one line, line feed included. The order of the fields is fixed; bytes
/// from 0x20 on, UTF-8 sequences included, pass unchanged but for the quote and the backslash. `time` is
/// written in UTC with milliseconds.
std::string formatLogLine(
    std::chrono::system_clock::time_point time, LogLevel level, std::string_view component,
    std::string_view correlationId, std::string_view message, const LogMeta& meta);

} // namespace zorbel
