#include "app/log/Logger.h"

#include "app/log/CorrelationId.h"

#include <chrono>
#include <string>

namespace zorbel {

Logger& Logger::instance() {
    // Never destroyed, so that destructors of other statics can still log. The C library flushes open streams
    // at exit.
    static Logger& logger = *new Logger;
    return logger;
}

void Logger::addSink(std::shared_ptr<ILogSink> sink) {
    const std::lock_guard lock(mutex_);
    sinks_.push_back(std::move(sink));
}

void Logger::removeSink(const std::shared_ptr<ILogSink>& sink) {
    const std::lock_guard lock(mutex_);
    std::erase(sinks_, sink);
}

void Logger::setMinLevel(LogLevel level) {
    const std::lock_guard lock(mutex_);
    minLevel_ = level;
}

void Logger::debug(std::string_view component, std::string_view message, const LogMeta& meta) noexcept {
    log(LogLevel::Debug, component, message, meta);
}

void Logger::info(std::string_view component, std::string_view message, const LogMeta& meta) noexcept {
    log(LogLevel::Info, component, message, meta);
}

void Logger::warn(std::string_view component, std::string_view message, const LogMeta& meta) noexcept {
    log(LogLevel::Warn, component, message, meta);
}

void Logger::error(std::string_view component, std::string_view message, const LogMeta& meta) noexcept {
    log(LogLevel::Error, component, message, meta);
    flush(); // what led to it must be on the disk, should the program not live to end properly
}

void Logger::flush() noexcept {
    const std::lock_guard lock(mutex_);
    for (const auto& sink : sinks_) {
        try {
            sink->flush();
        } catch (...) {
        }
    }
}

void Logger::log(
    LogLevel level, std::string_view component, std::string_view message, const LogMeta& meta) noexcept {
    const std::lock_guard lock(mutex_);
    if (level < minLevel_ || sinks_.empty()) {
        return;
    }
    try {
        const std::string line = formatLogLine(
            std::chrono::system_clock::now(), level, component, CorrelationId::current(), message, meta);
        for (const auto& sink : sinks_) {
            try {
                sink->write(line.data(), line.size());
            } catch (...) {
            }
        }
    } catch (...) {
    }
}

} // namespace zorbel
