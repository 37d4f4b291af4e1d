#include "viewer/reading/state/SaveScheduler.h"

#include <gtest/gtest.h>

namespace zorbel {
namespace {

using namespace std::chrono_literals;
using Kinds = std::vector<StateKind>;

class SaveSchedulerTest : public testing::Test {
protected:
    SaveScheduler scheduler_;
    SaveScheduler::Time now_{};
};

TEST_F(SaveSchedulerTest, aDragIsWrittenAtOnceTwiceASecondAndAtItsEnd) {
    int writes = 0;
    for (int step = 0; step < 100; ++step, now_ += 20ms) { // two seconds
        scheduler_.changed(StateKind::HangingProtocol);
        writes += static_cast<int>(scheduler_.takeDue(now_).size());
    }
    EXPECT_EQ(writes, 4); // at 0, 500, 1000 and 1500 ms
    ASSERT_TRUE(scheduler_.wait(now_));
    now_ += *scheduler_.wait(now_);
    EXPECT_EQ(scheduler_.takeDue(now_), Kinds{StateKind::HangingProtocol});
    EXPECT_FALSE(scheduler_.wait(now_));
    EXPECT_TRUE(scheduler_.takeDue(now_ + 1h).empty());
}

TEST_F(SaveSchedulerTest, kindsDoNotWaitForEachOther) {
    scheduler_.changed(StateKind::ReadingPosition);
    EXPECT_EQ(scheduler_.takeDue(now_), Kinds{StateKind::ReadingPosition});
    scheduler_.changed(StateKind::ReadingPosition);
    scheduler_.changed(StateKind::Findings);
    EXPECT_EQ(scheduler_.wait(now_ + 100ms), 0ms);
    EXPECT_EQ(scheduler_.takeDue(now_ + 100ms), Kinds{StateKind::Findings});
    EXPECT_EQ(scheduler_.wait(now_ + 100ms), 400ms);
}

TEST_F(SaveSchedulerTest, atTheEndEverythingUnwrittenIsTakenOnce) {
    scheduler_.changed(StateKind::Measurements);
    scheduler_.takeDue(now_);
    scheduler_.changed(StateKind::Measurements);
    scheduler_.changed(StateKind::KeyImages);
    EXPECT_EQ(scheduler_.takeAll(now_ + 1ms), (Kinds{StateKind::Measurements, StateKind::KeyImages}));
    EXPECT_TRUE(scheduler_.takeAll(now_ + 1ms).empty());
}

TEST_F(SaveSchedulerTest, aFailedWriteIsTriedAgainLater) {
    scheduler_.changed(StateKind::Findings);
    scheduler_.takeDue(now_);
    scheduler_.failed(StateKind::Findings, now_);
    scheduler_.changed(StateKind::Findings);
    EXPECT_TRUE(scheduler_.takeDue(now_ + 4999ms).empty());
    EXPECT_EQ(scheduler_.takeAll(now_ + 4999ms), Kinds{StateKind::Findings}) << "but not given up at the end";
    scheduler_.failed(StateKind::Findings, now_);
    EXPECT_EQ(scheduler_.takeDue(now_ + 5s), Kinds{StateKind::Findings});
}

TEST_F(SaveSchedulerTest, anotherStudyStartsOver) {
    scheduler_.changed(StateKind::Findings);
    scheduler_.takeDue(now_);
    scheduler_.changed(StateKind::Findings);
    scheduler_.reset();
    EXPECT_FALSE(scheduler_.wait(now_));
    scheduler_.changed(StateKind::Findings);
    EXPECT_EQ(scheduler_.wait(now_), 0ms);
}

} // namespace
} // namespace zorbel
