#include "platform/threads/StackGuard.h"

#include <cstddef>

#include <csignal>
#include <sys/mman.h>

namespace zorbel {

namespace {

/// Its pages cost nothing until a fault is handled on them.
constexpr std::size_t stackSize = 128 * 1024;
constexpr std::size_t guardSize = 4096;

/// A thread's stack for signals, with a page below it that nobody may touch.
class SignalStack {
public:
    SignalStack() noexcept {
        stack_t present{};
        if (sigaltstack(nullptr, &present) != 0 || (present.ss_flags & SS_DISABLE) == 0)
            return; // somebody, as a sanitizer, has given it one
        void* const pages = mmap(
            nullptr, guardSize + stackSize, PROT_READ | PROT_WRITE,
            MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK | MAP_NORESERVE, -1, 0);
        if (pages == MAP_FAILED)
            return;
        stack_t own{};
        own.ss_sp = static_cast<char*>(pages) + guardSize;
        own.ss_size = stackSize;
        if (mprotect(pages, guardSize, PROT_NONE) == 0 && sigaltstack(&own, nullptr) == 0)
            pages_ = pages;
        else
            munmap(pages, guardSize + stackSize);
    }
    ~SignalStack() {
        if (!pages_)
            return;
        stack_t none{};
        none.ss_flags = SS_DISABLE;
        if (sigaltstack(&none, nullptr) == 0)
            munmap(pages_, guardSize + stackSize);
    }
    SignalStack(const SignalStack&) = delete;
    SignalStack& operator=(const SignalStack&) = delete;

    void keep() const noexcept {}

private:
    void* pages_ = nullptr;
};

} // namespace

void guardThreadStack() noexcept {
    thread_local const SignalStack stack;
    stack.keep();
}

} // namespace zorbel
