#include "platform/FileLock.h"

#include <thread>

namespace zorbel {

std::optional<FileLock>
FileLock::acquire(const std::filesystem::path& file, std::chrono::milliseconds patience) {
    constexpr std::chrono::milliseconds pause(2);
    const auto end = std::chrono::steady_clock::now() + patience;
    for (;;) {
        auto lock = tryAcquire(file);
        if (lock || std::chrono::steady_clock::now() >= end)
            return lock;
        std::this_thread::sleep_for(pause);
    }
}

} // namespace zorbel
