#pragma once

#include "app/log/ILogSink.h"
#include "app/log/Logger.h"

#include <memory>
#include <mutex>
#include <string>

namespace zorbel::test {

/// What the program logs while it lives, from any thread.
class LogCapture {
public:
    LogCapture() { Logger::instance().addSink(sink_); }
    ~LogCapture() { Logger::instance().removeSink(sink_); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::string text() const {
        const std::lock_guard lock(sink_->mutex);
        return sink_->text;
    }
    void clear() {
        const std::lock_guard lock(sink_->mutex);
        sink_->text.clear();
    }
    bool contains(const std::string& part) const { return text().find(part) != std::string::npos; }
    std::size_t count(const std::string& part) const {
        const std::string all = text();
        std::size_t found = 0;
        for (auto at = all.find(part); at != std::string::npos; at = all.find(part, at + 1))
            ++found;
        return found;
    }

private:
    struct Sink : ILogSink {
        void write(const char* line, std::size_t length) override {
            const std::lock_guard lock(mutex);
            text.append(line, length);
        }
        void flush() override {}
        mutable std::mutex mutex;
        std::string text;
    };
    std::shared_ptr<Sink> sink_ = std::make_shared<Sink>();
};

} // namespace zorbel::test
