#pragma once

#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace zorbel::demo {

/// Blocks the signals that end a program in the calling thread and in those that it starts from now on, so
/// that waitForEndingSignal and ViewerProcess see them. Call before any thread is started.
void holdEndingSignals();

/// Whether one of them waits to be seen.
bool endingSignalCame();

/// Returns the number of the signal that came, for a program without a viewer.
int waitForEndingSignal();

/// Runs a program with additions to the environment, in the calling thread's care: Ctrl+C and SIGTERM end it
/// too. Needs holdEndingSignals.
class ViewerProcess {
public:
    /// Throws std::runtime_error when the program cannot be started.
    ViewerProcess(
        const std::vector<std::string>& command, const std::map<std::string, std::string>& environment);
    /// Its exit code; 128 + number when a signal ended it or this program.
    int wait();

private:
    int waitAfterSignal(int signal);
    bool reap(int& code);

    pid_t pid_ = -1;
};

} // namespace zorbel::demo
