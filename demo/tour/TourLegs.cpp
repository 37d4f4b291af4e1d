#include "TourLegs.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <csignal>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zorbel {

namespace {

constexpr std::array<const char*, 3> legNames{"main", "crash", "after-crash"};
constexpr int picturesInCrash = 1;

/// How a leg's program ended, as waitpid() tells it; −1 where it could not be started.
int run(const char* program, const char* folder, TourLeg leg, int picturesBefore) {
    std::string number = std::to_string(picturesBefore);
    const std::array<char*, 5> words{
        const_cast<char*>(program), const_cast<char*>(folder),
        const_cast<char*>(legNames[static_cast<std::size_t>(leg)]), number.data(), nullptr};
    pid_t child = 0;
    if (posix_spawn(&child, "/proc/self/exe", nullptr, nullptr, words.data(), environ) != 0)
        return -1;
    int status = -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

} // namespace

std::optional<TourPart> TourPart::of(int count, char** words) {
    if (count == 0)
        return TourPart();
    for (std::size_t leg = 0; count == 2 && leg < legNames.size(); ++leg)
        if (std::string(words[0]) == legNames[leg])
            return TourPart{static_cast<TourLeg>(leg), std::atoi(words[1])};
    return std::nullopt;
}

bool runFurtherLegs(const char* program, const char* folder, int picturesBefore) {
    std::fflush(stdout);
    const int crash = run(program, folder, TourLeg::Crash, picturesBefore);
    if (!WIFSIGNALED(crash) || WTERMSIG(crash) != SIGSEGV) {
        std::fprintf(stderr, "The viewer did not end by the fault.\n");
        return false;
    }
    return run(program, folder, TourLeg::AfterCrash, picturesBefore + picturesInCrash) == 0;
}

void endWithStarter() {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
}

} // namespace zorbel
