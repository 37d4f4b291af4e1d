// A session of edits without a window, for tests that kill it:
//   zorbel_reading_session ROOT STUDY FIRST-NUMBER SEED LOG
// Each edit puts the next number into one kind of state. Before it, the log gets a line "kind number time",
// the time in milliseconds of the session's own clock, which runs with the edits: what a busy machine takes
// longer for is no part of it.
#include "tests/reading/state/ReadingSession.h"
#include "viewer/reading/state/SaveScheduler.h"

#include <cstdio>
#include <cstdlib>
#include <random>

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace zorbel;
using namespace zorbel::tests;

class Session {
public:
    Session(const char* root, std::string study, int number, unsigned seed, int log)
        : session_(root, std::move(study)), number_(number), random_(seed), log_(log) {}

    [[noreturn]] void run() {
        for (;;) {
            edit(static_cast<int>(random_() % SessionState::kinds));
            now_ += std::chrono::milliseconds(1 + random_() % 40);
            for (const StateKind kind : scheduler_.takeDue(now_))
                if (!session_.save(kind))
                    std::abort();
        }
    }

private:
    void edit(int kind) {
        const bool isCapture = kind == static_cast<int>(StateKind::KeyImages);
        if (isCapture && random_() % 8 != 0)
            return;
        const auto milliseconds =
            std::chrono::duration_cast<std::chrono::milliseconds>(now_.time_since_epoch()).count();
        const std::string line = std::to_string(kind) + " " + std::to_string(++number_) + " " +
                                 std::to_string(milliseconds) + "\n";
        if (write(log_, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
            std::abort();
        session_.state.numbers[static_cast<std::size_t>(kind)] = number_;
        // The last three are not put off.
        if (kind < static_cast<int>(StateKind::KeyImages))
            scheduler_.changed(static_cast<StateKind>(kind));
        else if (!session_.saveAtOnce(kind))
            std::abort();
    }

    ReadingSession session_;
    SaveScheduler scheduler_;
    SaveScheduler::Time now_{};
    int number_;
    std::mt19937 random_;
    int log_;
};

} // namespace

int main(int count, char** arguments) {
    if (count != 6)
        return 2;
    const int log = open(arguments[5], O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
    if (log < 0)
        return 2;
    Session(
        arguments[1], arguments[2], std::atoi(arguments[3]),
        static_cast<unsigned>(std::strtoul(arguments[4], nullptr, 10)), log)
        .run();
}
