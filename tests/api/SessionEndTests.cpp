#include "EndingSessions.h"

#include "api/SessionEvents.h"
#include "api/TokenExpiry.h"

#include <QObject>

namespace zorbel {
namespace {

using namespace test;

/// A client in session with the service.
class SessionEndTest : public testing::Test {
protected:
    SessionEndTest() {
        EXPECT_TRUE(EndingSessions::signIn(client_, "anna"));
        QObject::connect(
            &client_.sessionEvents(), &SessionEvents::ended, &client_.sessionEvents(), [this] { ++told_; });
    }

    EndingSessions service_;
    std::atomic<int> told_ = 0;
    ZorbelApiClient client_{service_.config()};
};

TEST_F(SessionEndTest, IsToldOnceWhateverMeetsIt) {
    service_.endAll();
    const auto meets = [this](const auto& call) {
        EXPECT_TRUE(failureOf(call).isSessionEnd());
        EXPECT_EQ(told_, 1);
    };
    EXPECT_FALSE(client_.hasSessionEnded());
    EXPECT_FALSE(client_.sendViewerAudit(QStringLiteral("STUDY_OPEN")));
    EXPECT_TRUE(client_.hasSessionEnded());
    const ImageDataRoute route = client_.cloudRoute();
    meets([&] { client_.listStudies({}, 10); });
    meets([&] { client_.studySeriesIds(route, QStringLiteral("s")); });
    meets([&] {
        client_.DownloadInstances(
            route, {"i"}, [](auto&&...) {}, {}, 1);
    });
    meets([&] { client_.StreamSeries(route, "1.2", "1.3", {"i"}, {}, {}, [](auto&&...) {}); });
    meets([&] { client_.listLocalNodes(); });
    EXPECT_TRUE(client_.isSignedIn());

    // Neither a wrong password nor the absence of a session is an end of one.
    client_.signOut();
    EXPECT_FALSE(failureOf([&] { client_.listStudies({}, 10); }).isSessionEnd());
    EXPECT_EQ(told_, 1);
}

TEST_F(SessionEndTest, GoesOnWithTheSameUsersNextSessionAlone) {
    const ImageDataRoute route = client_.cloudRoute();
    ZorbelApiClient other(service_.config());
    EXPECT_FALSE(client_.adoptSession(other)) << "signed out";
    ASSERT_TRUE(EndingSessions::signIn(other, "ben"));
    EXPECT_FALSE(client_.adoptSession(other));
    service_.setOrganization("o2");
    ASSERT_TRUE(EndingSessions::signIn(other, "anna"));
    EXPECT_FALSE(client_.adoptSession(other));
    EXPECT_EQ(client_.cloudRoute().token, "anna-1");

    service_.setOrganization("o1");
    ASSERT_TRUE(EndingSessions::signIn(other, "anna"));
    EXPECT_TRUE(failureOf([&] { client_.validateSession(); }).isSessionEnd());
    client_.selectSource(SourceKind::LocalNodeRequired, QStringLiteral("node-1"));
    EXPECT_TRUE(client_.adoptSession(other));
    EXPECT_FALSE(client_.hasSessionEnded());
    EXPECT_EQ(client_.selectedLocalNode(), "node-1");
    EXPECT_EQ(client_.validateSession().id, "anna");
    EXPECT_EQ(client_.studySeriesIds(route, QStringLiteral("x")), QStringList{"series"})
        << "a load that is under way goes on";
}

TEST_F(SessionEndTest, ARequestOfTheOldSessionIsRepeatedInTheNew) {
    ZorbelApiClient other(service_.config());
    std::thread renewal([&] {
        EXPECT_TRUE(service_.waitForHeld());
        EXPECT_TRUE(EndingSessions::signIn(other, "anna")); // which takes the other's token away
        EXPECT_TRUE(client_.adoptSession(other));
        service_.release();
    });
    EXPECT_TRUE(client_.listStudies(QStringLiteral("held"), 10).empty());
    renewal.join();
    EXPECT_EQ(told_, 0);
}

TEST(TokenExpiry, IsReadFromJsonWebTokensAlone) {
    const auto token = [](const QByteArray& claims) {
        return QString::fromLatin1(
            "e30." + claims.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals) + ".x");
    };
    EXPECT_EQ(tokenExpiry(token(R"({"sub":"ä?>","exp":1700000000})")), 1'700'000'000);
    for (const QString& none :
         {token("{}"), token(R"({"exp":"soon"})"), token(R"({"exp":-1})"), token(R"({"exp":1e300})"),
          token("["), QStringLiteral("opaque"), QStringLiteral("a.!.c"), QString()})
        EXPECT_EQ(tokenExpiry(none), std::nullopt) << none.toStdString();
}

} // namespace
} // namespace zorbel
