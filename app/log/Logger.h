#pragma once

#include "app/log/ILogSink.h"
#include "app/log/LogFormat.h"
#include "app/log/LogLevel.h"

#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace zorbel {

/// The process-wide log: one JSON object a line, handed to every sink in the order they were added. Any
/// thread, also during static destruction. Logging never throws: a record that cannot be formatted or written
/// is dropped. No password, token or patient name belongs in any argument.
class Logger {
public:
    static Logger& instance();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    void addSink(std::shared_ptr<ILogSink> sink);
    void removeSink(const std::shared_ptr<ILogSink>& sink);
    /// Records below this level are dropped; info at first.
    void setMinLevel(LogLevel level);

    void debug(std::string_view component, std::string_view message, const LogMeta& meta = {}) noexcept;
    void info(std::string_view component, std::string_view message, const LogMeta& meta = {}) noexcept;
    void warn(std::string_view component, std::string_view message, const LogMeta& meta = {}) noexcept;
    /// Also flushes.
    void error(std::string_view component, std::string_view message, const LogMeta& meta = {}) noexcept;

    void flush() noexcept;

private:
    Logger() = default;
    ~Logger() = default;
    void
    log(LogLevel level, std::string_view component, std::string_view message, const LogMeta& meta) noexcept;

    std::mutex mutex_;
    LogLevel minLevel_ = LogLevel::Info;
    std::vector<std::shared_ptr<ILogSink>> sinks_;
};

} // namespace zorbel
