#include "platform/SilentStandardError.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace zorbel {

SilentStandardError::SilentStandardError() {
    std::fflush(stderr);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0)
        return;
    saved_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    if (saved_ >= 0)
        dup2(nowhere, STDERR_FILENO);
    close(nowhere);
}

SilentStandardError::~SilentStandardError() {
    if (saved_ < 0)
        return;
    std::fflush(stderr);
    dup2(saved_, STDERR_FILENO);
    close(saved_);
}

} // namespace zorbel
