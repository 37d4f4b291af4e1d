#include "platform/linux/CallChain.h"

#include "platform/linux/FaultGuard.h"
#include "platform/linux/LoadedModules.h"

#include <cstdint>
#include <unwind.h>

namespace zorbel {

namespace {

void* instructionOf(const ucontext_t& context) noexcept {
    return reinterpret_cast<void*>(context.uc_mcontext.gregs[REG_RIP]);
}

/// A return address may be the next line's.
const void* callBefore(const void* returnAddress) noexcept {
    return static_cast<const char*>(returnAddress) - 1;
}

/// As it was before the call that led to nowhere: its return address lies on top of the stack.
void undoCall(ucontext_t& context) noexcept {
    auto& stack = context.uc_mcontext.gregs[REG_RSP];
    context.uc_mcontext.gregs[REG_RIP] = *reinterpret_cast<const greg_t*>(stack);
    stack += sizeof(greg_t);
}

} // namespace

bool CallChain::addFrame(const void* at, bool isReturnAddress) noexcept {
    if (!reached_) {
        reached_ = at == frames_[size_ - 1];
        return true;
    }
    if (!at || size_ == frames_.size())
        return false;
    frames_[size_++] = isReturnAddress ? callBefore(at) : at;
    return true;
}

void CallChain::followFrames(ucontext_t& context, bool jumpedToNowhere) noexcept {
    frames_[size_++] = instructionOf(context);
    const bool undone = jumpedToNowhere && !LoadedModules::contain(frames_[0]);
    if (undone) {
        undoCall(context);
        frames_[size_++] = instructionOf(context);
    }
    _Unwind_Backtrace(
        [](_Unwind_Context* place, void* chain) {
            int isInstruction = 0;
            const void* const at = reinterpret_cast<void*>(_Unwind_GetIPInfo(place, &isInstruction));
            const bool goOn = static_cast<CallChain*>(chain)->addFrame(at, isInstruction == 0);
            return goOn ? _URC_NO_REASON : _URC_END_OF_STACK;
        },
        this);
    if (undone)
        frames_[1] = callBefore(frames_[1]);
}

void CallChain::follow(ucontext_t& context, bool jumpedToNowhere) noexcept {
    broken_ = !FaultGuard::run([&] { followFrames(context, jumpedToNowhere); });
}

} // namespace zorbel
