#pragma once

namespace zorbel {

/// Has an overflow of the calling thread's stack end in a crash dump as any other fault does: from then until
/// the thread ends it has a place beside its stack where the fault can be handled. To be called at the start
/// of each thread that the program makes, and of each task in a pool; only a thread's first call does
/// anything. Without it, as in the threads that libraries make for themselves, an overflow ends the program
/// with no dump; all other faults leave one from every thread.
void guardThreadStack() noexcept;

} // namespace zorbel
