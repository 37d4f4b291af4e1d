#pragma once

#include <functional>

#include <sys/types.h>

namespace zorbel::test {

/// A second process of the same program. It must be started before this one takes locks, which it would
/// share.
class OtherProcess {
public:
    /// Runs `work` in the new process, which ends with what the checks in it came to. `ready` ends the wait
    /// of waitUntilReady(), `mayEnd` waits for letEnd().
    using Work = std::function<void(const std::function<void()>& ready, const std::function<void()>& mayEnd)>;
    explicit OtherProcess(const Work& work);
    ~OtherProcess();
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    void waitUntilReady();
    void letEnd();
    void kill();
    /// Whether it ended by itself and no check in it failed.
    bool succeeds();

private:
    pid_t process_ = -1;
    int fromOther_ = -1;
    int toOther_ = -1;
};

/// Runs the work in a process without an administrator's rights, for which permissions count; `folder` is
/// given to it. Tells whether every check in it held.
bool succeedsWithoutPrivileges(const char* folder, const std::function<void()>& work);

} // namespace zorbel::test
