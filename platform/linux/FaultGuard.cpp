#include "platform/linux/FaultGuard.h"

#include <csetjmp>
#include <csignal>
#include <initializer_list>

namespace zorbel {

namespace {

/// Where this thread goes on after a fault.
thread_local sigjmp_buf* afterFault = nullptr;

} // namespace

void FaultGuard::onFault() noexcept {
    if (afterFault)
        siglongjmp(*afterFault, 1);
}

bool FaultGuard::runWork(void (*work)(void*), void* it) noexcept {
    sigset_t faults;
    sigemptyset(&faults);
    for (const int fault : {SIGSEGV, SIGBUS, SIGABRT})
        sigaddset(&faults, fault);
    sigset_t before;
    pthread_sigmask(SIG_SETMASK, nullptr, &before);
    sigjmp_buf here;
    const bool goesWell = sigsetjmp(here, 0) == 0;
    if (goesWell) {
        afterFault = &here;
        pthread_sigmask(SIG_UNBLOCK, &faults, nullptr);
        work(it);
    }
    afterFault = nullptr;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return goesWell;
}

} // namespace zorbel
