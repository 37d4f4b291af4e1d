#include "EndingSessions.h"

#include "signin/session/SessionCheck.h"
#include "signin/session/SessionRenewal.h"
#include "tests/support/Waiting.h"

#include <QCoreApplication>
#include <QEvent>
#include <QStringList>
#include <QThreadPool>

namespace zorbel {
namespace {

using namespace test;
using State = SessionRenewal::State;

/// A session with the service, and a user who is asked on the screen that is this test.
class SessionRenewalTest : public testing::Test {
protected:
    SessionRenewalTest() { EXPECT_TRUE(EndingSessions::signIn(*client_, "anna")); }

    void request() {
        QThreadPool::globalInstance()->start([this] { client_->sendViewerAudit(QStringLiteral("X")); });
        QThreadPool::globalInstance()->waitForDone();
        test::settle();
    }
    void require() {
        renewal_.require([this](bool renewed) { answers_ += renewed ? "yes" : "no"; });
    }
    /// Signs in, or declines without a name.
    void answer(const char* name) {
        ASSERT_TRUE(done_);
        if (name) {
            EXPECT_TRUE(EndingSessions::signIn(*asked_, name));
        }
        std::exchange(done_, nullptr)(name != nullptr);
    }

    EndingSessions service_;
    std::shared_ptr<ZorbelApiClient> client_ = std::make_shared<ZorbelApiClient>(service_.config());
    int asks_ = 0;
    std::shared_ptr<ZorbelApiClient> asked_;
    std::function<void(bool)> done_;
    QStringList answers_;
    SessionRenewal renewal_{client_, [this](const auto& fresh, const auto& done) {
                                ++asks_;
                                asked_ = fresh;
                                done_ = done;
                            }};
};

TEST_F(SessionRenewalTest, AsksOnceAndTellsAllWhoWait) {
    require();
    EXPECT_EQ(answers_, QStringList{"yes"}) << "the session holds";
    service_.endAll();
    request();
    request();
    require();
    require();
    EXPECT_EQ(asks_, 1);
    answer("anna");
    EXPECT_EQ(answers_, (QStringList{"yes", "yes", "yes"}));
    EXPECT_EQ(renewal_.state(), State::Valid);
    EXPECT_EQ(client_->validateSession().id, "anna");
    service_.endAll();
    request();
    EXPECT_EQ(asks_, 2) << "the next session ends, too";
}

TEST_F(SessionRenewalTest, LetsTheUserDeclineUntilTheyWantTheService) {
    service_.endAll();
    request();
    require();
    answer(nullptr);
    EXPECT_EQ(renewal_.state(), State::Declined);
    request();
    EXPECT_EQ(asks_, 1) << "nothing in the background asks again";
    require();
    EXPECT_EQ(asks_, 2);
    EXPECT_EQ(answers_, QStringList{"no"});
    answer("anna");
    EXPECT_EQ(answers_.last(), "yes");
}

TEST_F(SessionRenewalTest, KeepsAnotherUsersSessionApart) {
    service_.endAll();
    request();
    require();
    const std::size_t before = service_.requests().size();
    answer("ben");
    EXPECT_EQ(renewal_.state(), State::OtherUser);
    EXPECT_EQ(renewal_.other()->profile().id, "ben");
    request();
    require();
    EXPECT_EQ(answers_, (QStringList{"no", "no"}));
    EXPECT_EQ(asks_, 1);
    const auto requests = service_.requests();
    ASSERT_EQ(requests.size(), before + 5) << "of the sign-in, and this client's";
    EXPECT_TRUE(requests.back().has("Bearer anna-1\r\n"));

    renewal_.dismissOther();
    EXPECT_EQ(renewal_.state(), State::Declined);
    renewal_.stop();
    require();
    EXPECT_EQ(asks_, 1);
}

TEST(SessionCheck, findsOutThatTheSessionHasEndedWhenSomebodyComesBack) {
    EndingSessions service;
    std::atomic<std::int64_t> time = 1'700'000'000;
    ApiClientConfig config = service.config();
    config.clock = [&time] { return time.load(); };
    const auto client = std::make_shared<ZorbelApiClient>(config);
    ASSERT_TRUE(EndingSessions::signIn(*client, "anna"));
    SessionCheck check(client);
    const std::size_t before = service.requests().size();
    const auto comeBack = [] {
        QEvent activation(QEvent::ApplicationActivate);
        QCoreApplication::sendEvent(QCoreApplication::instance(), &activation);
    };
    comeBack();
    service.endAll();
    time += SessionCheckSchedule::interval;
    comeBack();
    comeBack();
    EXPECT_TRUE(test::waitFor([&] { return client->hasSessionEnded(); }));
    comeBack();
    EXPECT_EQ(service.requests().size(), before + 1);
    EXPECT_TRUE(service.requests().back().isFor("/api/auth/me"));
}

TEST(SessionCheckSchedule, AsksWhileSomebodyIsThereAndAroundTheKnownEnd) {
    SessionCheckSchedule schedule(1000);
    EXPECT_FALSE(schedule.isDue(100'000)) << "nobody is there";
    schedule.noticeUse();
    EXPECT_FALSE(schedule.isDue(1599));
    EXPECT_TRUE(schedule.isDue(1600));
    EXPECT_TRUE(schedule.isDue(10)) << "the clock was set";
    schedule.noticeCheck(1600);
    EXPECT_FALSE(schedule.isDue(9000));
    schedule.setExpiry(3000);
    EXPECT_FALSE(schedule.isDue(2939));
    EXPECT_TRUE(schedule.isDue(2940));
    schedule.noticeCheck(2940);
    EXPECT_FALSE(schedule.isDue(3000));
    EXPECT_TRUE(schedule.isDue(3001));
    schedule.noticeCheck(3001);
    EXPECT_FALSE(schedule.isDue(9000));
}

} // namespace
} // namespace zorbel
