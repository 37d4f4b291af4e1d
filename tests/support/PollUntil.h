#pragma once

#include <chrono>
#include <thread>

namespace zorbel::test {

/// For threads without an event loop; false after far more time than the slowest machine needs.
template <class Condition>
bool pollUntil(Condition condition) {
    for (int milliseconds = 0; milliseconds < 300'000; ++milliseconds) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

} // namespace zorbel::test
