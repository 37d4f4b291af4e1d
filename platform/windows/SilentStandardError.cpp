#include "platform/SilentStandardError.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

namespace zorbel {

SilentStandardError::SilentStandardError() {
    std::fflush(stderr);
    const int error = _fileno(stderr);
    const int nowhere = error < 0 ? -1 : _open("NUL", _O_WRONLY);
    if (nowhere < 0)
        return;
    saved_ = _dup(error);
    if (saved_ >= 0)
        _dup2(nowhere, error);
    _close(nowhere);
}

SilentStandardError::~SilentStandardError() {
    if (saved_ < 0)
        return;
    std::fflush(stderr);
    _dup2(saved_, _fileno(stderr));
    _close(saved_);
}

} // namespace zorbel
