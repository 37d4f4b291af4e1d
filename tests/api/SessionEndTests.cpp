#include "ApiTestSupport.h"

#include "api/SessionEvents.h"
#include "api/TokenExpiry.h"

#include <QObject>

namespace zorbel {
namespace {

using namespace test;

/// A service that gives each user tokens "NAME-1", "NAME-2", … and knows but the last of each, and a client
/// in session with it. Who signs in as "anna@…" is the user "anna".
class SessionEndTest : public testing::Test {
protected:
    SessionEndTest() {
        EXPECT_TRUE(signIn(client_, "anna"));
        QObject::connect(
            &client_.sessionEvents(), &SessionEvents::ended, &client_.sessionEvents(), [this] { ++told_; });
    }

    bool signIn(ZorbelApiClient& client, const char* name) {
        return client.signIn(QString::fromLatin1(name), QStringLiteral("pass")).success;
    }
    void endSessions() {
        const std::lock_guard lock(mutex_);
        valid_.clear();
    }
    void serve(Exchange& exchange) {
        if (exchange.request.isFor("/api/auth/login")) {
            const std::string name = exchange.request.body.find("ben") != std::string::npos ? "ben" : "anna";
            const std::lock_guard lock(mutex_);
            valid_ = name + "-" + std::to_string(++issued_);
            exchange.reply(200, R"({"token":")" + valid_ + R"(","user":)" + profileOf(name) + "}");
            return;
        }
        if (exchange.request.isFor("search=held")) {
            held_ = true;
            EXPECT_TRUE(pollUntil([this] { return released_.load(); }));
        }
        std::string valid;
        {
            const std::lock_guard lock(mutex_);
            valid = valid_;
        }
        if (valid.empty() || !exchange.request.has("Bearer " + valid + "\r\n"))
            exchange.reply(401, R"({"error":"Expired"})");
        else if (exchange.request.isFor("/api/auth/me"))
            exchange.reply(200, R"({"user":)" + profileOf(valid.substr(0, valid.find('-'))) + "}");
        else if (exchange.request.isFor("viewer-proxy"))
            exchange.reply(200, R"({"Series":["series"]})");
        else
            serveSession(exchange);
    }
    std::string profileOf(const std::string& name) const {
        return R"({"id":")" + name + R"(","organizationId":")" + organization_ + "\"}";
    }

    std::mutex mutex_;
    std::string valid_;
    std::string organization_ = "o1";
    std::atomic<int> issued_ = 0;
    std::atomic<bool> held_ = false;
    std::atomic<bool> released_ = false;
    std::atomic<int> told_ = 0;
    MisbehavingServer server_{[this](Exchange& exchange) { serve(exchange); }};
    ZorbelApiClient client_{configFor(server_)};
};

TEST_F(SessionEndTest, IsToldOnceWhateverMeetsIt) {
    endSessions();
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
    ZorbelApiClient other(configFor(server_));
    EXPECT_FALSE(client_.adoptSession(other)) << "signed out";
    ASSERT_TRUE(signIn(other, "ben"));
    EXPECT_FALSE(client_.adoptSession(other));
    organization_ = "o2";
    ASSERT_TRUE(signIn(other, "anna"));
    EXPECT_FALSE(client_.adoptSession(other));
    EXPECT_EQ(client_.cloudRoute().token, "anna-1");

    organization_ = "o1";
    ASSERT_TRUE(signIn(other, "anna"));
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
    ZorbelApiClient other(configFor(server_));
    std::thread renewal([&] {
        EXPECT_TRUE(pollUntil([&] { return held_.load(); }));
        EXPECT_TRUE(signIn(other, "anna")); // which takes the other's token away
        EXPECT_TRUE(client_.adoptSession(other));
        released_ = true;
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
