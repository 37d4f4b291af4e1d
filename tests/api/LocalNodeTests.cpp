#include "ApiTestSupport.h"

#include "tests/support/LogCapture.h"

#include <QJsonDocument>

namespace zorbel {
namespace {

using namespace test;

constexpr const char* unresolved = "The selected study cannot be resolved on the Local Node";
const QString study = QStringLiteral("1.2.3");

/// A service and a node of one clinic, either of which a test can let answer otherwise, and a signed-in
/// client whose clock stands still. Whatever a test does, neither side may see the other's token, nor the log
/// either of them.
class LocalNode : public testing::Test {
protected:
    using Answer = std::function<bool(Exchange&)>;

    void SetUp() override {
        ApiClientConfig config = configFor(cloud_);
        config.clock = [this] { return time_.load(); };
        client_ = signedIn(config);
        client_->listLocalNodes();
    }

    void TearDown() override {
        EXPECT_FALSE(log_.contains("t0ken")) << log_.text();
        EXPECT_FALSE(log_.contains("n0de")) << log_.text();
        for (const RecordedRequest& request : node_.requests()) {
            EXPECT_TRUE(request.has("Authorization: Bearer n0de")) << request.target;
            EXPECT_FALSE(request.has("t0ken")) << request.target;
        }
        for (const RecordedRequest& request : cloud_.requests())
            EXPECT_FALSE(request.has("n0de")) << request.target;
    }

    /// What the service and the node say from now on to requests for the path.
    void cloudSays(const std::string& path, int status, const std::string& body) {
        cloudDoes(path, saying(status, body));
    }
    void nodeSays(const std::string& path, int status, const std::string& body) {
        nodeDoes(path, saying(status, body));
    }
    void cloudDoes(const std::string& path, const Answer& answer) {
        const std::lock_guard lock(mutex_);
        cloudAnswers_.insert(cloudAnswers_.begin(), {path, answer});
    }
    void nodeDoes(const std::string& path, const Answer& answer) {
        const std::lock_guard lock(mutex_);
        nodeAnswers_.insert(nodeAnswers_.begin(), {path, answer});
    }
    void allWellAgain() {
        const std::lock_guard lock(mutex_);
        cloudAnswers_.clear();
        nodeAnswers_.clear();
    }

    std::size_t sessionsAskedFor() const { return count(cloud_, "local-nodes/session"); }
    std::size_t resolutions() const { return count(node_, "resolve-study"); }
    std::size_t identities() const { return count(node_, "identity"); }
    std::size_t traffic() const { return cloud_.requests().size() + node_.requests().size(); }
    void useNode(SourceKind kind) { client_->selectSource(kind, QStringLiteral(" node-1 ")); }
    QString resolve(const CancelFlag& cancel = {}) { return client_->resolveStudyOnLocalNode(study, cancel); }
    /// Where the images come from, seen on the wire.
    QString servedBy() const { return servedBy(client_->imageDataRoute()); }
    QString servedBy(const ImageDataRoute& route) const {
        return client_->studySeriesIds(route, QStringLiteral("x")).value(0);
    }
    bool abandon() { return client_->abandonLocalNode(client_->imageDataRoute()); }
    std::string sessionReply(const std::string& rest) const {
        return R"({"baseUrl":")" + node_.url().toStdString() + R"(","token":"n0de-)" +
               std::to_string(++issued_) + "\"" + rest + "}";
    }
    void expectCloud() const {
        EXPECT_FALSE(client_->imageDataRoute().isLocalNode);
        EXPECT_EQ(client_->sourceLabel(), "Zorbel Cloud");
        EXPECT_EQ(servedBy(), "from-cloud");
    }
    void expectNode() const {
        EXPECT_TRUE(client_->imageDataRoute().isLocalNode);
        EXPECT_EQ(client_->sourceLabel(), "Local Node");
        EXPECT_EQ(servedBy(), "from-node");
    }

    std::atomic<std::int64_t> time_ = 1'700'000'000;
    std::unique_ptr<ZorbelApiClient> client_;

    using Answers = std::vector<std::pair<std::string, Answer>>;

    static Answer saying(int status, const std::string& body) {
        return [status, body](Exchange& exchange) {
            exchange.reply(status, body);
            return true;
        };
    }

    static std::size_t count(const MisbehavingServer& server, const char* path) {
        std::size_t found = 0;
        for (const RecordedRequest& request : server.requests())
            found += request.isFor(path) ? 1 : 0;
        return found;
    }

    bool answeredOtherwise(const Answers& answers, Exchange& exchange) {
        Answer answer;
        {
            const std::lock_guard lock(mutex_);
            for (const auto& [path, one] : answers)
                if (!answer && exchange.request.isFor(path))
                    answer = one;
        }
        return answer && answer(exchange);
    }

    void serveCloud(Exchange& exchange) {
        if (answeredOtherwise(cloudAnswers_, exchange))
            return;
        if (exchange.request.isFor("local-nodes/session"))
            exchange.reply(200, sessionReply(R"(,"expiresInSeconds":600)"));
        else if (exchange.request.isFor("local-nodes"))
            exchange.reply(200, R"({"nodes":[{"clinicId":"node-1","name":"Basement",
                "baseUrl":"http://192.168.1.20","status":"ONLINE","appVersion":"2.1"},{"clinicId":"node-2"}]})");
        else if (exchange.request.isFor("viewer-proxy"))
            exchange.reply(200, R"({"Series":["from-cloud"]})");
        else
            serveSession(exchange);
    }

    void serveNode(Exchange& exchange) {
        if (answeredOtherwise(nodeAnswers_, exchange))
            return;
        if (exchange.request.isFor("/api/local-node/desktop/identity"))
            exchange.reply(200, R"({"organizationId":"o1"})");
        else if (exchange.request.isFor("/api/local-node/desktop/resolve-study?studyInstanceUID=1.2.3"))
            exchange.reply(200, R"({"orthancId":"study-on-node"})");
        else if (exchange.request.isFor("/api/local-node/desktop/viewer-proxy/studies/"))
            exchange.reply(200, R"({"Series":["from-node"]})");
        else
            exchange.reply(404, "{}");
    }

    std::mutex mutex_;
    Answers cloudAnswers_;
    Answers nodeAnswers_;
    mutable std::atomic<int> issued_ = 0;
    LogCapture log_;
    MisbehavingServer node_{[this](Exchange& exchange) { serveNode(exchange); }};
    MisbehavingServer cloud_{[this](Exchange& exchange) { serveCloud(exchange); }};
};

TEST_F(LocalNode, IsListedAndItsAddressSaved) {
    const std::vector<LocalNodeEntry> nodes = client_->listLocalNodes();
    ASSERT_EQ(nodes.size(), 2U);
    EXPECT_EQ(nodes[0].clinicId + nodes[0].name + nodes[0].baseUrl, "node-1Basementhttp://192.168.1.20");
    EXPECT_EQ(nodes[0].status + nodes[0].appVersion, "ONLINE2.1");
    client_->saveLocalNode(QStringLiteral("node-1"), QStringLiteral("http://192.168.1.21"));
    const RecordedRequest saved = cloud_.requests().back();
    EXPECT_EQ(saved.method + " " + saved.target, "POST /apps/pacs/api/desktop/local-nodes");
    EXPECT_EQ(saved.body, R"({"baseUrl":"http://192.168.1.21","clinicId":"node-1"})");
    EXPECT_TRUE(saved.has("Content-Type: application/json\r\n"));
    cloudSays("local-nodes", 200, "[]");
    EXPECT_EQ(
        std::string(failureOf([&] { client_->listLocalNodes(); }).what())
            .rfind("Invalid JSON returned by Zorbel local node list: ", 0),
        0U);
}

TEST_F(LocalNode, ServesTheStudiesItHolds) {
    useNode(SourceKind::Automatic);
    EXPECT_EQ(client_->selectedLocalNode(), "node-1");
    expectCloud();
    EXPECT_EQ(resolve(), "study-on-node");
    expectNode();
    EXPECT_EQ(client_->imageDataRoute().prefix, "/api/local-node/desktop/viewer-proxy/");
    EXPECT_EQ(resolve(), "study-on-node");
    EXPECT_EQ(sessionsAskedFor(), 1U);
    EXPECT_EQ(identities(), 1U);
    // Each study starts on the cloud's route.
    nodeSays("resolve-study", 404, R"({"error":"Not here"})");
    EXPECT_EQ(resolve(), "");
    expectCloud();
}

TEST_F(LocalNode, IsTheWayOfTheOneLoadThatAskedForIt) {
    useNode(SourceKind::Automatic);
    const StudyRoute load = client_->routeForStudy(study);
    EXPECT_EQ(load.studyId, "study-on-node");
    EXPECT_EQ(servedBy(load.route), "from-node");
    expectCloud();
    EXPECT_EQ(servedBy(client_->cloudRoute()), "from-cloud");
    // Nor does what others do lead the load elsewhere.
    nodeSays("resolve-study", 404, "{}");
    EXPECT_FALSE(client_->routeForStudy(study).route.isLocalNode);
    time_ += 570;
    EXPECT_EQ(servedBy(load.route), "from-node") << "in a session that was renewed";
    EXPECT_EQ(sessionsAskedFor(), 2U);
    const ImageDataRoute renewed = [this] {
        allWellAgain();
        return client_->routeForStudy(study).route;
    }();
    client_->selectSource(SourceKind::CloudOnly, QStringLiteral("node-1"));
    EXPECT_EQ(servedBy(renewed), "from-node");
    time_ += 570;
    EXPECT_STREQ(failureOf([&] { servedBy(renewed); }).what(), "The Local Node selection has changed");

    useNode(SourceKind::Automatic);
    const StudyRoute last = client_->routeForStudy(study);
    const ImageDataRoute cloud = client_->cloudRoute();
    for (const bool again : {false, true}) {
        again ? void(client_->signIn(QStringLiteral("a"), QStringLiteral("b"))) : client_->signOut();
        const std::size_t before = traffic();
        EXPECT_EQ(failureOf([&] { servedBy(last.route); }).status, 401);
        EXPECT_EQ(failureOf([&] { servedBy(cloud); }).status, 401);
        EXPECT_EQ(traffic(), before);
    }
}

TEST_F(LocalNode, ThatForgotTheSessionGetsAnotherOnce) {
    useNode(SourceKind::Automatic);
    resolve();
    const std::string forgotten = client_->imageDataRoute().token.toStdString();
    nodeDoes("resolve-study", [forgotten](Exchange& exchange) {
        if (!exchange.request.has("Bearer " + forgotten + "\r\n"))
            return false;
        exchange.reply(401, "{}");
        return true;
    });
    EXPECT_EQ(resolve(), "study-on-node");
    EXPECT_EQ(sessionsAskedFor(), 2U);
    nodeSays("resolve-study", 401, "{}");
    EXPECT_EQ(resolve(), "");
    EXPECT_EQ(sessionsAskedFor(), 3U);
    EXPECT_EQ(resolutions(), 5U);
}

TEST_F(LocalNode, IsNotAskedInVain) {
    const std::size_t before = traffic();
    useNode(SourceKind::CloudOnly);
    EXPECT_EQ(resolve(), "");
    client_->selectSource(SourceKind::Automatic, QStringLiteral("  "));
    EXPECT_EQ(resolve(), "");
    client_->selectSource(SourceKind::Automatic, QStringLiteral("node-2"));
    EXPECT_EQ(resolve(), "");
    client_->selectSource(SourceKind::Automatic, QStringLiteral("unknown"));
    EXPECT_EQ(resolve(), "");
    client_->selectSource(SourceKind::LocalNodeRequired, {});
    EXPECT_STREQ(failureOf([&] { resolve(); }).what(), unresolved);
    EXPECT_STREQ(
        failureOf([&] { client_->openLocalNodeSession(); }).what(), "Select a Zorbel Local Node first");
    EXPECT_EQ(traffic(), before);
}

TEST_F(LocalNode, SessionIsRenewedHalfAMinuteEarlyButNotAtOnce) {
    const std::vector<std::pair<const char*, int>> lifetimes{
        {R"(,"expiresInSeconds":600)", 570}, {R"(,"expiresInSeconds":10)", 15},
        {R"(,"expiresInSeconds":-1)", 15},   {R"(,"expiresInSeconds":31)", 15},
        {R"(,"expiresInSeconds":46)", 16},   {"", 570},
        {R"(,"expiresInSeconds":"9")", 570}, {R"(,"expiresInSeconds":9e18)", 366 * 86400 - 30}};
    for (const auto& [told, seconds] : lifetimes) {
        SCOPED_TRACE(told);
        cloudSays("local-nodes/session", 200, sessionReply(told));
        useNode(SourceKind::LocalNodeRequired);
        resolve();
        const std::size_t opened = sessionsAskedFor();
        time_ += seconds - 1;
        EXPECT_TRUE(client_->imageDataRoute().isLocalNode);
        EXPECT_EQ(sessionsAskedFor(), opened);
        ++time_;
        EXPECT_TRUE(client_->imageDataRoute().isLocalNode);
        EXPECT_EQ(sessionsAskedFor(), opened + 1);
        client_->imageDataRoute();
        EXPECT_EQ(sessionsAskedFor(), opened + 1);
    }
}

TEST_F(LocalNode, FailedRenewalIsToldAndTriedAgain) {
    useNode(SourceKind::LocalNodeRequired);
    resolve();
    const QString first = client_->imageDataRoute().token;
    time_ += 570;
    cloudSays("local-nodes/session", 503, R"({"error":"Later","code":"BUSY"})");
    EXPECT_STREQ(failureOf([&] { client_->proxyGet("studies/1", 1000, 1000); }).what(), "Later");
    EXPECT_EQ(failureOf([&] { client_->imageDataRoute(); }).status, 503);
    allWellAgain();
    nodeSays("identity", 200, R"({"organizationId":"o2"})");
    EXPECT_STREQ(
        failureOf([&] { client_->imageDataRoute(); }).what(),
        "Local Node belongs to a different Zorbel organization");
    allWellAgain();
    EXPECT_NE(client_->imageDataRoute().token, first);
    expectNode();
}

TEST_F(LocalNode, TwoThreadsMayRenewAtOnce) {
    useNode(SourceKind::LocalNodeRequired);
    resolve();
    time_ += 570;
    const auto waiting = std::make_shared<std::atomic<int>>(0);
    nodeDoes("identity", [waiting](Exchange&) {
        ++*waiting;
        pollUntil([&] { return *waiting == 2; });
        return false;
    });
    std::thread other([&] { EXPECT_TRUE(client_->imageDataRoute().isLocalNode); });
    EXPECT_TRUE(client_->imageDataRoute().isLocalNode);
    other.join();
    expectNode();
    EXPECT_EQ(sessionsAskedFor(), 3U);
}

TEST_F(LocalNode, ForeignOneIsNeverUsed) {
    // Neither a stranger nor a node that does not say whose it is.
    for (const char* identity : {R"({"organizationId":"o2"})", R"({"organizationId":""})", "{}"}) {
        nodeSays("identity", 200, identity);
        for (const SourceKind kind : {SourceKind::Automatic, SourceKind::LocalNodeRequired}) {
            useNode(kind);
            EXPECT_STREQ(
                failureOf([&] { client_->openLocalNodeSession(); }).what(),
                "Local Node belongs to a different Zorbel organization");
            if (kind == SourceKind::Automatic)
                EXPECT_EQ(resolve(), "");
            else
                EXPECT_STREQ(failureOf([&] { resolve(); }).what(), unresolved);
            expectCloud();
        }
    }
    EXPECT_EQ(sessionsAskedFor(), 12U);
    EXPECT_EQ(resolutions(), 0U);
}

struct Trouble {
    const char *name, *path;
    int status;
    const char* body;
    bool atNode;
};

constexpr Trouble troubles[] = {
    {"service refuses", "local-nodes/session", 403, R"({"error":"t0ken n0de"})", false},
    {"service without JSON", "local-nodes/session", 200, "", false},
    {"no address", "local-nodes/session", 200, R"({"token":"n0de"})", false},
    {"no token", "local-nodes/session", 200, R"({"baseUrl":"http://127.0.0.1:9","token":""})", false},
    {"nobody", "local-nodes/session", 200, R"({"baseUrl":"http://127.0.0.1:9","token":"n0de"})", false},
    {"node refuses", "identity", 401, R"({"error":"n0de is no token of mine"})", true},
    {"node without JSON", "identity", 200, "<html>", true},
    {"another organization", "identity", 200, R"({"organizationId":"o2"})", true},
    {"resolution fails", "resolve-study", 500, R"({"error":"Phantom^Jaw n0de"})", true},
    {"resolution without JSON", "resolve-study", 200, "{", true}};

TEST_F(LocalNode, ThatFailsIsLeftAloneForAMinuteOrFailsTheStudyWhereNothingElseIsAllowed) {
    for (const Trouble& trouble : troubles) {
        SCOPED_TRACE(trouble.name);
        const auto useFailingNode = [&](SourceKind kind) {
            useNode(kind);
            trouble.atNode ? nodeSays(trouble.path, trouble.status, trouble.body)
                           : cloudSays(trouble.path, trouble.status, trouble.body);
        };
        useFailingNode(SourceKind::Automatic);
        EXPECT_EQ(resolve(), "");
        expectCloud();
        allWellAgain();
        const std::size_t before = traffic();
        time_ += 59;
        EXPECT_EQ(resolve(), "");
        EXPECT_EQ(traffic(), before);
        ++time_;
        EXPECT_EQ(resolve(), "study-on-node");
        expectNode();

        useFailingNode(SourceKind::LocalNodeRequired);
        for (int i = 0; i < 2; ++i) {
            const ZorbelApiError error = failureOf([&] { resolve(); });
            EXPECT_STREQ(error.what(), unresolved);
            EXPECT_EQ(error.status, 0);
        }
        EXPECT_FALSE(client_->imageDataRoute().isLocalNode);
        allWellAgain();
        EXPECT_EQ(resolve(), "study-on-node");
    }
}

TEST_F(LocalNode, ThatMerelyLacksAStudyIsAskedForTheNext) {
    useNode(SourceKind::Automatic);
    for (const auto& [status, body] :
         {std::pair{404, R"({"error":"Not here"})"}, {200, R"({"orthancId":""})"}, {200, "{}"}}) {
        nodeSays("resolve-study", status, body);
        EXPECT_EQ(resolve(), "");
        expectCloud();
    }
    EXPECT_EQ(client_->resolveStudyOnLocalNode({}), "");
    allWellAgain();
    EXPECT_EQ(client_->resolveStudyOnLocalNode(QStringLiteral("1.2.3&x=#")), "study-on-node");
    EXPECT_TRUE(node_.requests().back().isFor("studyInstanceUID=1.2.3%26x%3D%23"));
    EXPECT_EQ(sessionsAskedFor(), 1U);
    useNode(SourceKind::LocalNodeRequired);
    nodeSays("resolve-study", 404, "{}");
    EXPECT_STREQ(failureOf([&] { resolve(); }).what(), unresolved);
}

TEST_F(LocalNode, AddressMustBeOneToJoinPathsTo) {
    const auto open = [this](const QString& baseUrl) {
        const QJsonObject reply{{"baseUrl", baseUrl}, {"token", "n0de"}};
        cloudSays("local-nodes/session", 200, QJsonDocument(reply).toJson().toStdString());
        useNode(SourceKind::LocalNodeRequired);
        client_->openLocalNodeSession();
    };
    const QString authority = node_.url().mid(7);
    for (const QString& bad :
         {QString(), QStringLiteral("/"), QStringLiteral("http://"), authority, "ftp://" + authority,
          "http://user:word@" + authority, "http://user@" + authority, node_.url(QStringLiteral("/?a=")),
          node_.url(QStringLiteral("/#a")), QStringLiteral("http://a b/"), QStringLiteral("file:///etc")})
        EXPECT_STREQ(failureOf([&] { open(bad); }).what(), "Zorbel local node session is incomplete")
            << bad.toStdString();
    EXPECT_TRUE(node_.requests().empty());
    open(node_.url(QStringLiteral("/clinic//")));
    EXPECT_EQ(node_.requests().back().target, "/clinic/api/local-node/desktop/identity");
    open(node_.url(QStringLiteral("/")));
    EXPECT_EQ(node_.requests().back().target, "/api/local-node/desktop/identity");
}

TEST_F(LocalNode, CannotSendTheTokenElsewhere) {
    useNode(SourceKind::Automatic);
    nodeDoes("identity", [this](Exchange& exchange) {
        exchange.reply(302, "", "Location: " + cloud_.url(QStringLiteral("/stolen")).toStdString() + "\r\n");
        return true;
    });
    EXPECT_EQ(resolve(), "");
    for (const RecordedRequest& request : cloud_.requests())
        EXPECT_FALSE(request.isFor("/stolen"));
}

TEST_F(LocalNode, ThatFailsInTheMiddleOfAStudyIsAbandoned) {
    EXPECT_FALSE(abandon());
    useNode(SourceKind::LocalNodeRequired);
    resolve();
    EXPECT_FALSE(abandon());
    expectNode();

    useNode(SourceKind::Automatic);
    resolve();
    EXPECT_TRUE(abandon());
    expectCloud();
    EXPECT_FALSE(abandon());
    const std::size_t before = traffic();
    time_ += 59;
    EXPECT_EQ(resolve(), "");
    EXPECT_EQ(traffic(), before);
    ++time_;
    EXPECT_EQ(resolve(), "study-on-node");
    // What the user chooses anew is tried at once.
    abandon();
    useNode(SourceKind::Automatic);
    EXPECT_EQ(resolve(), "study-on-node");
    abandon();
    client_->openLocalNodeSession();
    EXPECT_EQ(resolve(), "study-on-node");
}

TEST_F(LocalNode, CancellingIsNoFailureOfTheNode) {
    useNode(SourceKind::Automatic);
    nodeDoes("resolve-study", [](Exchange& exchange) {
        exchange.waitForHangUp();
        return true;
    });
    {
        const CancelLater cancel([this] { pollUntil([this] { return resolutions() > 0; }); });
        EXPECT_STREQ(failureOf([&] { resolve(cancel.flag); }).what(), "Zorbel API request cancelled");
    }
    expectCloud();
    allWellAgain();
    EXPECT_EQ(resolve(), "study-on-node");

    time_ += 570;
    nodeDoes("identity", [](Exchange& exchange) {
        exchange.waitForHangUp();
        return true;
    });
    const CancelLater cancel([this] { pollUntil([this] { return identities() == 2; }); });
    EXPECT_STREQ(
        failureOf([&] {
            client_->DownloadInstances(
                {"i"}, [](auto&&...) {}, cancel.flag, 1);
        }).what(),
        "DICOM download cancelled");
}

TEST_F(LocalNode, ChoiceMadeDuringACallWins) {
    const auto duringIdentity = [this](const std::function<void()>& act) {
        allWellAgain();
        nodeDoes("identity", [act](Exchange&) {
            act();
            return false;
        });
    };
    useNode(SourceKind::Automatic);
    duringIdentity([this] { client_->selectSource(SourceKind::CloudOnly, QStringLiteral("node-1")); });
    EXPECT_EQ(resolve(), "");
    EXPECT_EQ(resolutions(), 0U);
    expectCloud();

    // The same node again, but its session was given up in between.
    useNode(SourceKind::Automatic);
    duringIdentity([this] { useNode(SourceKind::Automatic); });
    EXPECT_EQ(resolve(), "");
    expectCloud();
    allWellAgain();
    EXPECT_EQ(resolve(), "study-on-node");

    // A renewal under way does not bring an abandoned node back.
    const ImageDataRoute route = client_->imageDataRoute();
    time_ += 570;
    duringIdentity([this, route] { EXPECT_TRUE(client_->abandonLocalNode(route)); });
    EXPECT_FALSE(client_->imageDataRoute().isLocalNode);
    expectCloud();
    EXPECT_EQ(resolve(), "");

    allWellAgain();
    useNode(SourceKind::LocalNodeRequired);
    nodeDoes("resolve-study", [this](Exchange&) {
        client_->signOut();
        return false;
    });
    EXPECT_STREQ(failureOf([&] { resolve(); }).what(), unresolved);
    EXPECT_FALSE(client_->imageDataRoute().isLocalNode);
}

TEST_F(LocalNode, SignOutForgetsIt) {
    useNode(SourceKind::Automatic);
    resolve();
    client_->signOut();
    const ImageDataRoute route = client_->imageDataRoute();
    EXPECT_FALSE(route.isLocalNode);
    EXPECT_TRUE(route.token.isEmpty());
    EXPECT_EQ(client_->selectedLocalNode(), "");
    EXPECT_EQ(client_->sourceLabel(), "Zorbel Cloud");
    const auto expectNothingKnown = [this] {
        EXPECT_TRUE(client_->signIn(QStringLiteral("a"), QStringLiteral("b")).success);
        const std::size_t before = traffic();
        EXPECT_EQ(resolve(), "");
        useNode(SourceKind::Automatic);
        EXPECT_EQ(resolve(), "");
        EXPECT_EQ(traffic(), before);
    };
    expectNothingKnown();
    // Nor does a list that comes too late count for the next session.
    cloudDoes("local-nodes", [this](Exchange&) {
        client_->signOut();
        return false;
    });
    client_->listLocalNodes();
    expectNothingKnown();
}

TEST_F(LocalNode, IsNotToBlameForTheEndOfTheSession) {
    useNode(SourceKind::Automatic);
    cloudSays("local-nodes/session", 401, "{}");
    EXPECT_TRUE(failureOf([&] { resolve(); }).isSessionEnd());
    EXPECT_TRUE(client_->hasSessionEnded());
    allWellAgain();
    const auto renewed = signedIn(client_->config());
    EXPECT_TRUE(client_->adoptSession(*renewed));
    EXPECT_EQ(resolve(), "study-on-node") << "it was not left alone";

    // What the node refuses is its own session.
    nodeSays("viewer-proxy", 401, "{}");
    EXPECT_FALSE(failureOf([&] { servedBy(); }).isSessionEnd());
    EXPECT_FALSE(client_->hasSessionEnded());
}

} // namespace
} // namespace zorbel
