#include "demo/ViewerProcess.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zorbel::demo {

namespace {

sigset_t endingSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&set, signal);
    }
    return set;
}

/// This process's own with these in their places, as "NAME=VALUE".
std::vector<std::string> environmentWith(const std::map<std::string, std::string>& changed) {
    std::vector<std::string> all;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string text = *variable;
        if (!changed.contains(text.substr(0, text.find('=')))) {
            all.push_back(text);
        }
    }
    for (const auto& [name, value] : changed) {
        all.push_back(name + "=" + value);
    }
    return all;
}

} // namespace

void holdEndingSignals() {
    sigset_t set = endingSignals();
    sigaddset(&set, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

bool endingSignalCame() {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGINT) == 1 || sigismember(&pending, SIGTERM) == 1 ||
           sigismember(&pending, SIGHUP) == 1;
}

int waitForEndingSignal() {
    const sigset_t set = endingSignals();
    int signal = 0;
    sigwait(&set, &signal);
    return signal;
}

ViewerProcess::ViewerProcess(
    const std::vector<std::string>& command, const std::map<std::string, std::string>& environment) {
    std::vector<char*> arguments;
    for (const std::string& word : command) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    // Made before the fork: after it no memory may be asked for, as another thread may hold the heap's lock.
    const std::vector<std::string> variables = environmentWith(environment);
    std::vector<char*> childEnvironment;
    for (const std::string& variable : variables) {
        childEnvironment.push_back(const_cast<char*>(variable.c_str()));
    }
    childEnvironment.push_back(nullptr);
    int report[2];
    if (pipe2(report, O_CLOEXEC) != 0) {
        throw std::runtime_error("The viewer could not be started: the system gave no pipe.");
    }
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        sigset_t none;
        sigemptyset(&none);
        pthread_sigmask(SIG_SETMASK, &none, nullptr);
        if (getppid() == parent) {
            execvpe(arguments[0], arguments.data(), childEnvironment.data());
        }
        const int reason = errno;
        [[maybe_unused]] const ssize_t told = write(report[1], &reason, sizeof reason);
        _exit(127);
    }
    close(report[1]);
    int reason = 0;
    const bool failed = pid_ < 0 || read(report[0], &reason, sizeof reason) == sizeof reason;
    close(report[0]);
    if (failed) {
        if (pid_ > 0) {
            waitpid(pid_, nullptr, 0);
        }
        throw std::runtime_error(command[0] + " cannot be started: " + std::strerror(reason));
    }
}

bool ViewerProcess::reap(int& code) {
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) != pid_) {
        return false;
    }
    code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return true;
}

int ViewerProcess::wait() {
    sigset_t set = endingSignals();
    sigaddset(&set, SIGCHLD);
    int code = 0;
    while (!reap(code)) {
        int signal = 0;
        sigwait(&set, &signal);
        if (signal != SIGCHLD) {
            return waitAfterSignal(signal);
        }
    }
    return code;
}

int ViewerProcess::waitAfterSignal(int signal) {
    constexpr int patienceSeconds = 10;
    kill(pid_, SIGTERM);
    sigset_t child;
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(patienceSeconds);
    int code = 0;
    while (!reap(code)) {
        if (std::chrono::steady_clock::now() > end) {
            kill(pid_, SIGKILL);
        }
        const timespec moment{0, 100000000};
        sigtimedwait(&child, nullptr, &moment);
    }
    return 128 + signal;
}

} // namespace zorbel::demo
