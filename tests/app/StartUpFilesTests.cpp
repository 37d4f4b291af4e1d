#include "app/SessionLock.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>

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

} // namespace
} // namespace zorbel
