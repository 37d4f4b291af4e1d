#include "ApiTestSupport.h"
#include "api/ConnectionAdvice.h"

#include "api/LastRequests.h"

namespace zorbel {
namespace {

using namespace test;

constexpr std::uint64_t limit = 1'000'000;

QByteArray
get(const ZorbelApiClient& client, const QString& url, std::int32_t timeoutMs = 300'000,
    const CancelFlag& cancel = {}) {
    return client.request("GET", QUrl(url), {}, {}, QStringLiteral("s3cret"), timeoutMs, limit, cancel);
}

/// What a GET fails with against a server that runs the script.
ZorbelApiError failureAgainst(const MisbehavingServer::Script& script, std::int32_t timeoutMs = 300'000) {
    const MisbehavingServer server(script);
    const ZorbelApiClient client(configFor(server));
    ZorbelApiError error = failureOf([&] { get(client, server.url("/x"), timeoutMs); });
    EXPECT_EQ(std::string(error.what()).find("s3cret"), std::string::npos) << error.what();
    return error;
}

TEST(ApiClient, TakesHttpsOrLoopback) {
    const auto construct = [](const char* url) {
        ApiClientConfig config;
        config.baseUrl = QString::fromLatin1(url);
        return ZorbelApiClient(config).config().baseUrl.toStdString();
    };
    EXPECT_EQ(construct("https://imaging.example"), "https://imaging.example");
    EXPECT_EQ(construct("http://localhost:8080/"), "http://localhost:8080");
    EXPECT_NO_THROW(construct("http://127.0.0.1"));
    EXPECT_NO_THROW(construct("http://[::1]:9"));
    for (const char* refused :
         {"http://imaging.example", "http://127.0.0.1.example", "ftp://localhost", "https://", "localhost:80",
          ""})
        EXPECT_THROW(construct(refused), std::invalid_argument) << refused;
}

TEST(ApiRequest, SendsWhatWasAskedAndReturnsTheBody) {
    const MisbehavingServer server([](Exchange& exchange) { exchange.reply(201, "done"); });
    const ZorbelApiClient client(configFor(server));
    EXPECT_EQ(
        client.request("PUT", QUrl(server.url("/a?b=c")), "{}", "application/json", "tok", 300'000, limit),
        "done");
    EXPECT_EQ(get(client, server.url("/b")), "done");
    const RecordedRequest put = server.requests().at(0);
    EXPECT_EQ(put.method, "PUT");
    EXPECT_EQ(put.target, "/a?b=c");
    EXPECT_EQ(put.body, "{}");
    EXPECT_TRUE(put.has("Accept: application/json, application/dicom, application/octet-stream\r\n"))
        << put.headers;
    EXPECT_TRUE(put.has("User-Agent: ZorbelWorkstation/1.0\r\n"));
    EXPECT_TRUE(put.has("Authorization: Bearer tok\r\n"));
    EXPECT_TRUE(put.has("Content-Type: application/json\r\n"));
    EXPECT_FALSE(server.requests().at(1).has("Content-Type"));
}

TEST(ApiRequest, TellsItsObserverWhatItCameToAndNoIdentifier) {
    const MisbehavingServer server([](Exchange& exchange) {
        if (!exchange.request.isFor("broken"))
            exchange.reply(exchange.request.isFor("refused") ? 403 : 200, "{}");
    });
    LastRequests last;
    ApiClientConfig config = configFor(server);
    config.observer = [&last](const RequestOutcome& outcome) { last.note(outcome); };
    const ZorbelApiClient client(config);
    EXPECT_FALSE(last.of(false).last.has_value());
    get(client, server.url("/apps/pacs/1.2.3/6b9e-4f/Doe?search=Doe"));
    RequestOutcome outcome = last.of(false).last.value().outcome;
    EXPECT_EQ(outcome.path.toStdString(), "/apps/pacs/…/…/…");
    EXPECT_EQ(outcome.status, 200);
    EXPECT_EQ(outcome.failure.toStdString(), "");
    failureOf([&] { get(client, server.url("/refused")); });
    outcome = last.of(false).last.value().outcome;
    EXPECT_EQ(outcome.status, 403);
    EXPECT_EQ(outcome.failure.toStdString(), "HTTP error");
    failureOf([&] { get(client, server.url("/broken")); });
    EXPECT_EQ(last.of(false).last.value().outcome.failure.toStdString(), "no answer");
    EXPECT_EQ(last.of(false).requests, 3u);
    EXPECT_EQ(last.of(false).failures, 2u);
    EXPECT_LE(last.of(false).lastSuccess.value(), last.of(false).last.value().time);
    const MisbehavingServer node([](Exchange& exchange) { exchange.reply(200, "{}"); });
    get(client, node.url("/x"));
    EXPECT_EQ(last.of(true).requests, 1u);
    EXPECT_EQ(last.of(false).requests, 3u);
}

TEST(ApiRequest, RefusesBeforeAnyTraffic) {
    const MisbehavingServer server([](Exchange& exchange) { exchange.reply(200, ""); });
    const ZorbelApiClient client(configFor(server));
    EXPECT_STREQ(failureOf([&] { get(client, "http:///path"); }).what(), "Invalid Zorbel API request URL");
    for (const char* method : {"get", "DELETE", "PATCH", ""}) {
        const ZorbelApiError error =
            failureOf([&] { client.request(method, QUrl(server.url("/")), {}, {}, {}, 1000, limit); });
        EXPECT_STREQ(error.what(), "Unsupported Zorbel API request method");
        EXPECT_EQ(error.status, 0);
    }
    EXPECT_EQ(
        failureOf([&] { client.authenticatedRequest("GET", "/x", {}, {}, true, 1000, limit); }).status, 401);
    EXPECT_STREQ(
        failureOf([&] { client.proxyGet("x", 1000, limit); }).what(),
        "Zorbel viewer session is not authenticated");
    EXPECT_TRUE(server.requests().empty());
}

TEST(ApiRequest, ReportsTransportFailures) {
    QString closedPort;
    {
        const MisbehavingServer server([](Exchange&) {});
        closedPort = server.url("/x");
    }
    ApiClientConfig config;
    config.baseUrl = QStringLiteral("http://localhost");
    const ZorbelApiClient client(config);
    const ZorbelApiError refused = failureOf([&] { get(client, closedPort); });
    EXPECT_STREQ(refused.what(), "Zorbel API returned HTTP 0");
    EXPECT_EQ(refused.status, 0);
    EXPECT_TRUE(refused.isOutage());
    EXPECT_EQ(
        messageWithAdvice(refused), "Zorbel API returned HTTP 0\nThe server is there, but takes no "
                                    "connection. It may be switched off; try again later.");
    for (const auto error :
         {QNetworkReply::HostNotFoundError, QNetworkReply::SslHandshakeFailedError,
          QNetworkReply::ProxyTimeoutError, QNetworkReply::TemporaryNetworkFailureError})
        EXPECT_FALSE(connectionAdvice(error).isEmpty()) << error;

    const auto hang = [](Exchange& exchange) { exchange.waitForHangUp(); };
    EXPECT_STREQ(failureAgainst(hang, -5).what(), "Zorbel API request timed out");
    const auto stall = [](Exchange& exchange) {
        exchange.send("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf");
        exchange.waitForHangUp();
    };
    const ZorbelApiError slow = failureAgainst(stall, 0);
    EXPECT_STREQ(slow.what(), "Zorbel API request timed out");
    EXPECT_TRUE(slow.isOutage());

    const ZorbelApiError cut = failureAgainst([](Exchange& exchange) {
        exchange.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"studies\":[]}");
    });
    EXPECT_EQ(cut.status, 0);
    EXPECT_STRNE(cut.what(), "");
}

TEST(ApiRequest, StopsAtTheSizeLimit) {
    const auto announced = [](Exchange& exchange) {
        exchange.send("HTTP/1.1 200 OK\r\nContent-Length: 1000001\r\n\r\nx");
        exchange.waitForHangUp();
    };
    const auto endless = [](Exchange& exchange) {
        exchange.send("HTTP/1.1 200 OK\r\n\r\n");
        while (exchange.send(std::string(4096, 'x'))) {
        }
    };
    const auto inflating = [](Exchange& exchange) {
        const QByteArray packed = qCompress(QByteArray(50'000'000, ' ')).mid(4);
        exchange.reply(200, packed.toStdString(), "Content-Encoding: deflate\r\n");
    };
    for (const MisbehavingServer::Script& script :
         {MisbehavingServer::Script(announced), MisbehavingServer::Script(endless),
          MisbehavingServer::Script(inflating)}) {
        const ZorbelApiError error = failureAgainst(script);
        EXPECT_STREQ(error.what(), "Zorbel API response exceeded the workstation safety limit");
        EXPECT_EQ(error.status, 0);
    }
    const MisbehavingServer server([](Exchange& exchange) {
        const QByteArray packed = qCompress(QByteArray(limit, ' ')).mid(4);
        exchange.reply(200, packed.toStdString(), "Content-Encoding: deflate\r\n");
    });
    EXPECT_EQ(get(ZorbelApiClient(configFor(server)), server.url("/x")).size(), qsizetype(limit));
}

TEST(ApiRequest, FollowsRedirectsOfItsOwnOriginOnly) {
    const MisbehavingServer elsewhere([](Exchange& exchange) { exchange.reply(200, "stolen"); });
    const MisbehavingServer server([&](Exchange& exchange) {
        if (exchange.request.isFor("/away"))
            exchange.reply(302, "", "Location: " + elsewhere.url("/x").toStdString() + "\r\n");
        else if (exchange.request.isFor("/moved"))
            exchange.reply(302, "", "Location: /here\r\n");
        else
            exchange.reply(200, "here");
    });
    const ZorbelApiClient client(configFor(server));
    EXPECT_EQ(get(client, server.url("/moved")), "here");
    EXPECT_TRUE(server.requests().back().has("Authorization: Bearer s3cret"));
    const ZorbelApiError error = failureOf([&] { get(client, server.url("/away")); });
    EXPECT_EQ(error.status, 302);
    EXPECT_STREQ(error.what(), "Zorbel API returned HTTP 302");
    EXPECT_TRUE(elsewhere.requests().empty());
}

TEST(ApiRequest, TellsTheServersReason) {
    struct Case {
        int status;
        const char* body;
        const char* message;
        const char* code;
    };
    for (const Case& wanted :
         {Case{404, R"({"error":" Not found ","code":" NOT_FOUND "})", "Not found", "NOT_FOUND"},
          Case{500, "", "Zorbel API returned HTTP 500", ""},
          Case{500, "<html>", "Zorbel API returned HTTP 500", ""},
          Case{403, R"({"error":"","message":"Denied"})", "Denied", ""},
          Case{403, R"({"error":7,"message":"Denied","code":7})", "Denied", ""},
          Case{409, R"(["error"])", "Zorbel API returned HTTP 409", ""}}) {
        const ZorbelApiError error =
            failureAgainst([&](Exchange& exchange) { exchange.reply(wanted.status, wanted.body); });
        EXPECT_EQ(error.status, wanted.status);
        EXPECT_STREQ(error.what(), wanted.message);
        EXPECT_EQ(error.code, wanted.code);
    }
}

TEST(ApiRequest, EndsWhenCancelled) {
    const MisbehavingServer silent([](Exchange& exchange) { exchange.waitForHangUp(); });
    MisbehavingServer stalling([](Exchange& exchange) {
        exchange.send("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf");
        exchange.waitForHangUp();
    });
    const ZorbelApiClient client(configFor(stalling));
    const CancelLater cancel([&] { EXPECT_TRUE(stalling.waitForConcurrency(1)); });
    const ZorbelApiError error = failureOf([&] { get(client, stalling.url("/x"), 300'000, cancel.flag); });
    EXPECT_STREQ(error.what(), "Zorbel API request cancelled");
    EXPECT_EQ(error.status, 0);
    EXPECT_STREQ(
        failureOf([&] { get(client, silent.url("/x"), 300'000, cancel.flag); }).what(),
        "Zorbel API request cancelled");
    EXPECT_TRUE(silent.requests().empty());
}

} // namespace
} // namespace zorbel
