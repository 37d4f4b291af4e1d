#pragma once

#include <array>
#include <cstddef>

#include <ucontext.h>

namespace zorbel {

/// The functions that a thread is in, the innermost first. Neither allocates nor locks; filled within a
/// signal handler by the thread whose chain it is.
class CallChain {
public:
    /// Follows the stack from where the signal met the thread. A damaged stack ends the chain, not the
    /// program: needs FaultGuard::onFault() in the handlers of the signals that reading it may raise. What a
    /// jump to nowhere was called from is found only where `jumpedToNowhere` allows to change `context`,
    /// which the thread then cannot return to.
    void follow(ucontext_t& context, bool jumpedToNowhere) noexcept;

    std::size_t size() const noexcept { return size_; }
    const void* operator[](std::size_t frame) const noexcept { return frames_[frame]; }
    /// The stack could not be read to its end.
    bool isBroken() const noexcept { return broken_; }

private:
    /// Whether further ones are wanted.
    bool addFrame(const void* at, bool isReturnAddress) noexcept;
    void followFrames(ucontext_t& context, bool jumpedToNowhere) noexcept;

    std::array<const void*, 96> frames_{};
    std::size_t size_ = 0;
    bool reached_ = false; ///< the frame that the signal met: the handler's own come before it
    bool broken_ = false;
};

} // namespace zorbel
