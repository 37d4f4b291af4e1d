#pragma once

#include <cstddef>

namespace zorbel {

/// Receives finished lines from the Logger, one at a time and under its mutex. A sink must not log by itself.
class ILogSink {
public:
    virtual ~ILogSink() = default;
    /// One whole line, its line feed included, as UTF-8 bytes.
    virtual void write(const char* line, std::size_t length) = 0;
    virtual void flush() = 0;
};

} // namespace zorbel
