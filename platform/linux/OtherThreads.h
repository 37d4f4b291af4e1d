#pragma once

#include "platform/linux/CallChain.h"

#include <array>
#include <atomic>
#include <cstddef>

#include <csignal>
#include <sys/types.h>

namespace zorbel {

/// What the other threads of this process are doing, told by themselves: each is sent a signal and follows
/// its own stack. Neither allocates nor locks; used by the one thread that handles a fault. A thread that
/// cannot answer, because it holds all signals back or waits for a device, is told apart.
class OtherThreads {
public:
    struct Thread {
        pid_t id = 0;
        std::atomic<bool> answered = false;
        CallChain chain; ///< to be read once it has answered
    };

    /// To be called once, before any fault.
    static bool install() noexcept;

    /// Asks all, and waits for their answers for some seconds at most.
    void ask() noexcept;
    std::size_t size() const noexcept { return size_; }
    const Thread& operator[](std::size_t thread) const noexcept { return threads_[thread]; }
    bool areMore() const noexcept { return more_; }

private:
    static void onQuestion(int, siginfo_t* info, void* context);
    void collect() noexcept;
    void add(pid_t id) noexcept;
    static bool send(Thread& thread) noexcept;
    static void awaitAnswer(const Thread& thread, long deadline) noexcept;

    std::array<Thread, 160> threads_{};
    std::size_t size_ = 0;
    bool more_ = false;
};

} // namespace zorbel
