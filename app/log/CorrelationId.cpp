#include "app/log/CorrelationId.h"

#include <atomic>
#include <chrono>
#include <cstdint>

namespace zorbel {

namespace {

// Logging goes on while a thread's objects, and after them the statics, are being destroyed. The two
// variables that every access goes through need no destructor and so stay readable to the very end.
thread_local std::string* threadValue = nullptr;
thread_local bool threadEnded = false;

struct Holder {
    std::string value;
    Holder() { threadValue = &value; }
    ~Holder() {
        threadValue = nullptr;
        threadEnded = true;
    }
};

} // namespace

std::string CorrelationId::current() {
    return threadValue != nullptr ? *threadValue : std::string();
}

std::string CorrelationId::set(std::string id) {
    if (threadEnded) {
        return {};
    }
    thread_local Holder holder;
    return std::exchange(holder.value, std::move(id));
}

void CorrelationId::restore(std::string previous) {
    set(std::move(previous));
}

std::string CorrelationId::generate() {
    static std::atomic<std::uint64_t> counter = 0;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return "sess-" + std::to_string(std::chrono::floor<std::chrono::milliseconds>(now).count()) + "-load-" +
           std::to_string(counter++);
}

} // namespace zorbel
