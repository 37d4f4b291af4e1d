#include "tests/faults/DiskFaults.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zorbel::tests {

namespace {

/// Memory without a name, which outlives the process that wrote it.
class Note {
public:
    Note() : file_(memfd_create("note", 0)) {}
    ~Note() { close(file_); }
    Note(const Note&) = delete;
    Note& operator=(const Note&) = delete;

    std::string path() const { return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(file_); }
    void write(const std::string& text) const {
        for (std::size_t done = 0; done < text.size();) {
            const auto count = ::write(file_, text.data() + done, text.size() - done);
            if (count <= 0)
                return;
            done += static_cast<std::size_t>(count);
        }
    }
    std::string text() const {
        std::string all(static_cast<std::size_t>(lseek(file_, 0, SEEK_END)), '\0');
        const auto count = pread(file_, all.data(), all.size(), 0);
        all.resize(static_cast<std::size_t>(count > 0 ? count : 0));
        return all;
    }

private:
    int file_;
};

} // namespace

FaultyRun runWithDiskFault(DiskFault fault, const std::function<void()>& action) {
    const Note call;
    const Note exception;
    fault.report = call.path();
    std::fflush(nullptr); // or the process would write the waiting output once more
    const pid_t child = fork();
    if (child == 0) {
        try {
            armDiskFault(fault);
            action();
            armDiskFault({});
        } catch (const std::exception& failure) {
            armDiskFault({});
            exception.write(failure.what()[0] ? failure.what() : "an exception without words");
        }
        _exit(0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child)
        throw std::runtime_error("The process with the disk fault could not be run");
    FaultyRun run;
    run.call = call.text();
    run.reached = !run.call.empty();
    run.killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    run.exception = exception.text();
    if (!run.killed && !(WIFEXITED(status) && WEXITSTATUS(status) == 0))
        throw std::runtime_error("The process with the disk fault crashed at " + run.call);
    return run;
}

} // namespace zorbel::tests
