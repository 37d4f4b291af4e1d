#pragma once

#include "app/log/LogLevel.h"

#include <string>
#include <string_view>

namespace zorbel {

/// One line of the log, taken apart for people. Value type.
struct LogLine {
    LogLevel level = LogLevel::Info;
    std::string component;
    std::string text; ///< "09:15:02.007  WARN   Storage  message  key=value …"

    /// What is no line of the log comes out as it is.
    static LogLine parse(std::string_view line);
};

/// Which lines are to be seen.
struct LogFilter {
    LogLevel least = LogLevel::Debug;
    std::string component; ///< empty: all
    std::string part;      ///< of the text, whatever its case; empty: all

    bool matches(const LogLine& line) const;
};

} // namespace zorbel
