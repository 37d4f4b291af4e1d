#include "ApiTestSupport.h"

#include <QJsonDocument>

namespace zorbel {
namespace {

using namespace test;

struct SignInFailure {
    const char* path;
    int status;
    const char *body, *message;
};

constexpr SignInFailure signInFailures[] = {
    {"/api/auth/login", 401, R"({"error":"Wrong e-mail or password"})", "Wrong e-mail or password"},
    {"/api/auth/login", 500, "", "Zorbel API returned HTTP 500"},
    {"/api/auth/login", 200, "hello", "Invalid JSON returned by Zorbel login: "},
    {"/api/auth/login", 200, R"({"token":"t"})", "Zorbel login response did not contain a valid session"},
    {"/api/auth/login", 200, R"({"user":{"id":"u","organizationId":"o"}})",
     "Zorbel login response did not contain a valid session"},
    {"/api/auth/login", 200, R"({"token":"t","user":{"id":"u","organizationId":""}})",
     "A clinical organization is required to use Zorbel Viewer"},
    {"/api/auth/me", 403, R"({"message":"Suspended"})", "Suspended"},
    {"/api/auth/me", 200, R"({"user":{"id":"u"}})", "Zorbel session has no clinical organization scope"},
    {"/apps/pacs/api/studies", 503, "", "Zorbel API returned HTTP 503"},
    {"/apps/pacs/api/studies", 200, "[]", "Invalid JSON returned by Zorbel study list: "}};

TEST(Session, AFailingSignInLeavesNoneNotEvenAnEarlierOne) {
    for (const auto& [path, status, body, message] : signInFailures) {
        SCOPED_TRACE(testing::Message() << path << " " << status << " " << body);
        std::atomic<bool> failing = false;
        const MisbehavingServer server([&, at = path, code = status, reply = body](Exchange& exchange) {
            if (failing && exchange.request.isFor(at))
                exchange.reply(code, reply);
            else
                serveSession(exchange);
        });
        const auto client = signedIn(configFor(server));
        failing = true;
        const LoginOutcome outcome = client->signIn("anna@clinic.example", "pass");
        EXPECT_FALSE(outcome.success);
        EXPECT_EQ(outcome.errorMessage.toStdString().rfind(message, 0), 0U)
            << outcome.errorMessage.toStdString();
        EXPECT_FALSE(client->isSignedIn());
        EXPECT_TRUE(client->profile().id.isEmpty());
        EXPECT_TRUE(client->imageDataRoute().token.isEmpty());
    }
}

TEST(Session, SignsInStepByStep) {
    const MisbehavingServer server([](Exchange& exchange) {
        if (exchange.request.isFor("viewer-audit"))
            exchange.reply(500, "");
        else
            serveSession(exchange);
    });
    ZorbelApiClient client(configFor(server));
    const LoginOutcome outcome = client.signIn("  anna@clinic.example ", " pä\"ss ");
    EXPECT_TRUE(outcome.success) << outcome.errorMessage.toStdString();
    EXPECT_EQ(outcome.profile.name, "Anna");
    EXPECT_EQ(client.profile().organizationName, "Clinic");
    EXPECT_EQ(client.sourceLabel(), "Zorbel Cloud");

    const std::vector<RecordedRequest> requests = server.requests();
    ASSERT_EQ(requests.size(), 4U);
    EXPECT_EQ(requests[0].method + " " + requests[0].target, "POST /api/auth/login");
    EXPECT_FALSE(requests[0].has("Authorization"));
    const QJsonObject sent = QJsonDocument::fromJson(QByteArray::fromStdString(requests[0].body)).object();
    EXPECT_EQ(sent, (QJsonObject{{"email", "anna@clinic.example"}, {"password", " pä\"ss "}}));
    EXPECT_EQ(requests[1].method + " " + requests[1].target, "GET /api/auth/me");
    EXPECT_EQ(requests[2].method + " " + requests[2].target, "GET /apps/pacs/api/studies?page=1");
    EXPECT_EQ(requests[3].body, R"({"event":"SESSION_START"})");
    for (std::size_t i = 1; i < requests.size(); ++i)
        EXPECT_TRUE(requests[i].has("Authorization: Bearer t0ken\r\n"));

    EXPECT_FALSE(client.sendViewerAudit("STUDY_OPEN"));
    client.signOut();
    EXPECT_FALSE(client.isSignedIn());
    EXPECT_EQ(failureOf([&] { client.validateSession(); }).status, 401);
    EXPECT_EQ(failureOf([&] { client.listStudies({}, 10); }).status, 401);
    EXPECT_FALSE(client.sendViewerAudit("STUDY_OPEN"));
    EXPECT_EQ(server.requests().size(), 5U);
}

TEST(Session, FallsBackToTheOrganizationOfTheAccount) {
    const MisbehavingServer server([](Exchange& exchange) {
        if (exchange.request.isFor("/api/auth/"))
            exchange.reply(
                200, R"({"token":"t","user":{"id":"u","effectiveOrganizationId":"","organizationId":"o2"}})");
        else
            serveSession(exchange);
    });
    EXPECT_EQ(signedIn(configFor(server))->profile().organizationId, "o2");
}

TEST(Session, CancelledSignInEndsSignedOut) {
    MisbehavingServer server([](Exchange& exchange) {
        if (exchange.request.isFor("/api/auth/me"))
            exchange.waitForHangUp();
        else
            serveSession(exchange);
    });
    ZorbelApiClient client(configFor(server));
    const CancelLater cancel([&] { pollUntil([&] { return server.requests().size() == 2; }); });
    const LoginOutcome outcome = client.signIn("a", "b", cancel.flag);
    EXPECT_EQ(outcome.errorMessage, "Zorbel API request cancelled");
    EXPECT_FALSE(client.isSignedIn());
}

TEST(Session, AuditNamesTargetAndDetailsOnlyWhereGiven) {
    const MisbehavingServer server([](Exchange& exchange) { serveSession(exchange); });
    const auto client = signedIn(configFor(server));
    EXPECT_TRUE(client->sendViewerAudit("STUDY_OPEN", " 1.2.3 ", {{"mode", "mpr"}}));
    EXPECT_EQ(
        server.requests().back().body,
        R"({"details":{"mode":"mpr"},"event":"STUDY_OPEN","targetId":"1.2.3"})");
    EXPECT_TRUE(client->sendViewerAudit("STUDY_CLOSE", "  "));
    EXPECT_EQ(server.requests().back().body, R"({"event":"STUDY_CLOSE"})");
}

TEST(StudyQueries, AskForTheWantedPage) {
    const MisbehavingServer server([](Exchange& exchange) { serveSession(exchange); });
    const auto client = signedIn(configFor(server));
    const auto query = [&](const char* search, int pageSize) {
        EXPECT_TRUE(client->listStudies(QString::fromUtf8(search), pageSize).empty());
        return server.requests().back().target.substr(sizeof "/apps/pacs/api/studies?" - 1);
    };
    EXPECT_EQ(query("  ", 500), "page=1&limit=200");
    EXPECT_EQ(query("", 0), "page=1&limit=1");
    EXPECT_EQ(
        query(" Müller & Söhne+1=50% #?/", 50),
        "page=1&limit=50&search=M%C3%BCller%20%26%20S%C3%B6hne%2B1%3D50%25%20%23%3F%2F");
}

TEST(StudyQueries, ReadStudiesAndSeries) {
    const MisbehavingServer server([](Exchange& exchange) {
        if (exchange.request.isFor("limit="))
            exchange.reply(200, R"({"studies":[
                {"id":"1","orthancId":"o-1","studyInstanceUID":"1.2","patient":{"fullName":"Müller"},
                 "modality":"","modalitiesInStudy":["CT","SR"],"bodyPartExamined":"","bodyPart":"JAW",
                 "studyDescription":"Jaw","studyDate":"20240131","source":"cloud"},
                {"modality":"PX","modalitiesInStudy":["CT"],"bodyPartExamined":"HEAD","bodyPart":"JAW"}, 7]})");
        else if (exchange.request.isFor("viewer-proxy/studies/"))
            exchange.reply(200, R"({"ID":"o-1","Series":["s-1","s-2"]})");
        else if (exchange.request.isFor("viewer-proxy/series/"))
            exchange.reply(200, R"({"MainDicomTags":{"SeriesInstanceUID":"1.2.3","Modality":"CT",
                "SeriesDescription":"CBCT","ProtocolName":"jaw","SeriesNumber":"4"},"Instances":["i-2","i-1"]})");
        else
            serveSession(exchange);
    });
    const auto client = signedIn(configFor(server));
    const std::vector<ViewerStudySummary> studies = client->listStudies({}, 50);
    ASSERT_EQ(studies.size(), 3U);
    EXPECT_EQ(studies[0].patientName, QStringLiteral("Müller"));
    EXPECT_EQ(studies[0].modality + studies[0].bodyPart, "CTJAW");
    EXPECT_EQ(studies[1].modality + studies[1].bodyPart, "PXHEAD");

    const ImageDataRoute route = client->cloudRoute();
    EXPECT_EQ(client->studySeriesIds(route, "o/../1"), (QStringList{"s-1", "s-2"}));
    EXPECT_EQ(server.requests().back().target, "/apps/pacs/api/viewer-proxy/studies/o%2F..%2F1");
    const OrthancSeriesSummary series = client->seriesSummary(route, "s-1");
    EXPECT_EQ(server.requests().back().target, "/apps/pacs/api/viewer-proxy/series/s-1");
    EXPECT_EQ(series.orthancId + series.seriesInstanceUID + series.modality, "s-11.2.3CT");
    EXPECT_EQ(series.seriesDescription + series.protocolName + series.seriesNumber, "CBCTjaw4");
    EXPECT_EQ(series.instanceIds, (QStringList{"i-2", "i-1"}));
    EXPECT_EQ(client->seriesInstanceIds(route, "s-1"), series.instanceIds);
}

} // namespace
} // namespace zorbel
