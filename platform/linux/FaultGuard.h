#pragma once

namespace zorbel {

/// Reads what may not be there, within a signal handler: a damaged stack, or a module that another thread
/// unloads just now. Neither allocates nor locks. Any thread, not nested.
class FaultGuard {
public:
    /// Whether the work came to its end; a fault ends it where it is. Needs onFault() in the handlers of the
    /// signals that it may raise.
    template <class Work>
    static bool run(Work work) noexcept {
        return runWork([](void* it) { (*static_cast<Work*>(it))(); }, &work);
    }

    /// To be called first in the handler of a fault: does not return where the fault comes from run() in this
    /// thread.
    static void onFault() noexcept;

private:
    static bool runWork(void (*work)(void*), void* it) noexcept;
};

} // namespace zorbel
