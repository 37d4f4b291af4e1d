#pragma once

namespace zorbel {

/// While it lives, nothing of what the process prints to standard error comes out: some codecs write there
/// what their callers report in words of their own. Concerns all threads; one at a time.
class SilentStandardError {
public:
    SilentStandardError();
    ~SilentStandardError();
    SilentStandardError(const SilentStandardError&) = delete;
    SilentStandardError& operator=(const SilentStandardError&) = delete;

private:
    int saved_ = -1; ///< file descriptor; -1 where there was nothing to silence
};

} // namespace zorbel
