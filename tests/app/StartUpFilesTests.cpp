#include "app/LogFile.h"
#include "app/SessionLock.h"
#include "app/crash/CrashNotice.h"
#include "base/qt/BackgroundTask.h"
#include "tests/support/Files.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include <csignal>

namespace zorbel {
namespace {

class SessionLockTest : public testing::Test {
protected:
    /// A program that starts; one that is destroyed without an end is one that was killed.
    std::unique_ptr<SessionLock> start(bool seesCrash) const {
        auto program = std::make_unique<SessionLock>(config_);
        const auto begun = program->begin();
        EXPECT_EQ(begun.previousRunCrashed, seesCrash);
        EXPECT_EQ(begun.failure, "");
        EXPECT_TRUE(exists());
        return program;
    }
    bool exists() const { return std::filesystem::exists(config_ / "session.lock"); }

    QTemporaryDir folder_;
    const std::filesystem::path config_ =
        std::filesystem::path(folder_.path().toStdString()) / "new" / "config";
};

TEST_F(SessionLockTest, tellsACrashedSessionFromAnEndedOne) {
    start(false);
    auto next = start(true);
    EXPECT_EQ(std::filesystem::file_size(config_ / "session.lock"), 0U);
    next->end();
    next->end(); // both aboutToQuit and the end of the event loop end it
    EXPECT_TRUE(std::filesystem::is_empty(config_));
    start(false)->end();

    std::ofstream(config_ / "session.lock").put('x'); // by an older version
    next = start(true);
    EXPECT_EQ(std::filesystem::file_size(config_ / "session.lock"), 0U);
}

TEST_F(SessionLockTest, ofSeveralProgramsTheLastLivingOneRemovesIt) {
    auto first = start(false);
    auto second = start(false);
    second->end();
    EXPECT_TRUE(exists()) << "the first still runs";
    first.reset();
    first = start(true);
    second = start(false);
    first.reset();
    first = start(true); // noticed while the second runs
    second.reset();
    first->end();
    EXPECT_TRUE(exists()) << "nobody has noticed the second's crash";
    start(true)->end();
    EXPECT_FALSE(exists());
}

TEST(BackgroundTask, canReportAnOverflowOfItsStack) {
    QThreadPool pool;
    QObject receiver;
    stack_t stack{};
    stack.ss_flags = SS_DISABLE;
    const auto look = [&stack] { return sigaltstack(nullptr, &stack); };
    runInBackground(pool, &receiver, look, [](int) {});
    pool.waitForDone();
    EXPECT_EQ(stack.ss_flags & SS_DISABLE, 0);
}

TEST(CrashNotice, tellsOfEachDumpOnceWhateverTheClockSays) {
    const test::TemporaryFolder folder;
    const auto crash = [&folder](const char* time) {
        std::ofstream(folder.path() / ("Viewer-" + std::string(time) + "Z-42.txt")) << "report";
    };
    const auto told = [&folder]() -> std::string {
        const CrashNotice notice(folder.path(), "Viewer");
        const auto due = notice.due();
        notice.markTold();
        return due ? due->file.filename().string() : "";
    };
    EXPECT_EQ(told(), "");
    crash("20260101T080000");
    crash("20260102T080000");
    EXPECT_EQ(told(), "Viewer-20260102T080000Z-42.txt");
    EXPECT_EQ(told(), "");
    crash("20250101T080000");
    EXPECT_EQ(told(), "Viewer-20250101T080000Z-42.txt");
    EXPECT_EQ(told(), "");
}

class LogFileTest : public testing::Test {
protected:
    /// A program that starts and logs.
    std::unique_ptr<LogFile> start(const std::string& line) const {
        auto log = std::make_unique<LogFile>(file_, LogFile::Limits{.longest = 1000, .kept = 100});
        log->write((line + "\n").data(), line.size() + 1);
        log->flush();
        return log;
    }
    void fill() const {
        std::ofstream lines(file_);
        for (int line = 100; line < 300; ++line)
            lines << "line " << line << "\n";
    }

    const test::TemporaryFolder folder_;
    const std::filesystem::path file_ = folder_.path() / "viewer.log";
};

TEST_F(LogFileTest, aFileThatIsTooLargeIsCutToItsLastLines) {
    EXPECT_EQ(start("small")->outcome(), "");
    fill();
    std::ofstream(folder_.path() / ".viewer.log.aB3dEf") << "begun by a program that was killed";
    EXPECT_NE(start("next")->outcome(), "");
    const std::string lines = test::readFile(file_);
    EXPECT_TRUE(lines.starts_with("line 289\n")) << lines;
    EXPECT_TRUE(lines.ends_with("line 299\nnext\n")) << lines;
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 2) << "log and lock";
}

TEST_F(LogFileTest, whatAnotherProgramWritesIsNotLost) {
    const auto running = start("first");
    fill();
    const auto size = std::filesystem::file_size(file_);
    EXPECT_NE(start("second")->outcome(), "");
    EXPECT_GT(std::filesystem::file_size(file_), size);
    running->write("third\n", 6);
    running->flush();
    EXPECT_TRUE(test::readFile(file_).ends_with("second\nthird\n"));
}

TEST_F(LogFileTest, aFileThatCannotBeCutStaysAndIsWritten) {
    fill();
    std::filesystem::create_directory(file_.string() + ".lock");
    EXPECT_NE(start("next")->outcome(), "");
    EXPECT_TRUE(test::readFile(file_).starts_with("line 100\n"));
    EXPECT_TRUE(test::readFile(file_).ends_with("line 299\nnext\n"));
}

} // namespace
} // namespace zorbel
