#include "tests/reading/state/ReadingSession.h"

#include <chrono>
#include <csignal>
#include <random>
#include <regex>
#include <thread>

#include <sys/wait.h>

namespace zorbel::tests {
namespace {

namespace fs = std::filesystem;

struct Edit {
    int kind = 0;
    int number = 0;
    long time = 0; ///< milliseconds of the session's clock
};

class StateKillTest : public StateFixture {
protected:
    /// Starts a session, kills it after its log has grown to some bytes, and returns its edits.
    std::vector<Edit>
    killedSession(const std::string& study, int firstNumber, unsigned seed, unsigned bytes) const {
        const fs::path log = folder / "edits";
        fs::create_directories(folder);
        fs::remove(log);
        const pid_t child = fork();
        if (child == 0) {
            execl(
                ZORBEL_READING_SESSION, ZORBEL_READING_SESSION, root.c_str(), study.c_str(),
                std::to_string(firstNumber).c_str(), std::to_string(seed).c_str(), log.c_str(), nullptr);
            _exit(127);
        }
        std::error_code error;
        while (waitpid(child, nullptr, WNOHANG) == 0 && (fs::file_size(log, error) < bytes || error))
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        std::this_thread::sleep_for(std::chrono::microseconds(bytes)); // also in the middle of an edit
        kill(child, SIGKILL);
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "the session ended by itself";
        std::vector<Edit> edits;
        std::ifstream lines(log);
        for (Edit edit; lines >> edit.kind >> edit.number >> edit.time;)
            edits.push_back(edit);
        return edits;
    }

    /// Whether what was found was true within a second before the session's end.
    static bool wasTrue(int kind, int found, int before, const std::vector<Edit>& edits) {
        bool known = found == before;
        for (const Edit& edit : edits) {
            if (edit.kind != kind)
                continue;
            if (known) // until this edit
                return edit.time >= edits.back().time - 1000;
            known = edit.number == found;
        }
        return known;
    }
};

TEST_F(StateKillTest, everyNextStartFindsWhatWasTrueAtMostASecondBefore) {
    std::mt19937 random(20261121);
    SessionState before;
    int number = 0;
    std::size_t edits = 0;
    for (int run = 0; run < 200; ++run) {
        // Another study from time to time, or the pictures would become too many.
        const std::string study = "1.2." + std::to_string(run / 20);
        if (run % 20 == 0)
            before = {};
        const auto done = killedSession(study, number, random(), 1 + random() % 2000);
        ASSERT_FALSE(done.empty());
        number = done.back().number;
        edits += done.size();
        ReadingSession next(root, study);
        const auto found = next.found();
        for (int kind = 0; kind < SessionState::kinds; ++kind) {
            const auto index = static_cast<std::size_t>(kind);
            ASSERT_TRUE(wasTrue(kind, found.numbers[index], before.numbers[index], done))
                << "run " << run << ", kind " << kind << ", found " << found.numbers[index] << ", before "
                << before.numbers[index];
        }
        before = found;
    }
    EXPECT_GT(edits, 2000U);
    // Damaged files, unfinished ones and pictures that no list names would all have other names or be more.
    const std::regex known(
        "(reading|hanging|findings|measurements)/1\\.2\\.[0-9]\\.json|recent-studies\\.json|"
        "session\\.json|keyimages/1\\.2\\.[0-9]/(index\\.json|key-[0-9]+\\.png)");
    for (const std::string& name : names())
        EXPECT_TRUE(std::regex_match(name, known)) << name;
}

} // namespace
} // namespace zorbel::tests
