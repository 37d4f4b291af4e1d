#include "platform/TerminationRequests.h"

#include <array>
#include <cerrno>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace zorbel {

namespace {

int requests = -1; ///< the pipe's end that the handler writes to

void onRequest(int) {
    const int before = errno;
    // A full pipe is readable already.
    [[maybe_unused]] const auto written = write(requests, "", 1);
    errno = before;
}

} // namespace

int watchTerminationRequests() noexcept {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return -1;
    requests = ends[1];
    struct sigaction action {};
    action.sa_handler = onRequest;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        struct sigaction before {};
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            sigaction(number, &action, nullptr);
    }
    return ends[0];
}

} // namespace zorbel
