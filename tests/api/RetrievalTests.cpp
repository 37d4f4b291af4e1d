#include "ApiTestSupport.h"

#include "tests/support/ErrorOf.h"

#include <map>

namespace zorbel {
namespace {

using namespace test;

std::string idOf(const RecordedRequest& request) {
    const std::size_t at = request.target.find("/instances/") + 11;
    return request.target.substr(at, request.target.find("/file") - at);
}

QStringList numbered(int count) {
    QStringList ids;
    for (int i = 0; i < count; ++i)
        ids.append(QStringLiteral("i%1").arg(i));
    return ids;
}

/// A client in session with a server whose image routes run the script.
struct Fixture {
    explicit Fixture(MisbehavingServer::Script script, std::uint64_t maximumDicomBytes = 5'000'000)
        : server([script = std::move(script)](Exchange& exchange) {
              if (!serveSession(exchange))
                  script(exchange);
          }) {
        ApiClientConfig config = configFor(server);
        config.maximumDicomBytes = maximumDicomBytes;
        config.transferTimeoutMs = 0;
        client = signedIn(config);
    }

    /// What each instance came to.
    std::map<std::string, std::string>
    download(const QStringList& ids, unsigned parallelism, const CancelFlag& cancel = {}) {
        std::map<std::string, std::string> received;
        client->DownloadInstances(
            ids,
            [&](const QString& id, std::vector<std::byte> bytes, std::size_t completed, std::size_t total) {
                received[id.toStdString()] = {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
                EXPECT_EQ(completed, received.size());
                EXPECT_EQ(total, std::size_t(ids.size()));
            },
            cancel, parallelism);
        return received;
    }

    void stream(int expected, const CancelFlag& cancel = {}) {
        parts.clear();
        client->StreamSeries(
            "1.2", "1.3", numbered(expected), {}, cancel,
            [&](const QString& id, const std::byte* data, std::size_t length, std::size_t ordinal,
                std::size_t total) {
                EXPECT_EQ(id, QStringLiteral("i%1").arg(ordinal - 1));
                EXPECT_EQ(total, std::size_t(expected));
                parts.push_back({reinterpret_cast<const char*>(data), length});
            });
    }

    MisbehavingServer server;
    std::unique_ptr<ZorbelApiClient> client;
    std::vector<std::string> parts;
};

const std::string streamHead =
    "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Type: multipart/related; type=\"application/dicom\"; ";

std::string part(const std::string& body, const std::string& lineEnd = "\r\n") {
    return "--b;0" + lineEnd + "Content-Type: application/dicom" + lineEnd + lineEnd + body + lineEnd;
}

MisbehavingServer::Script
streaming(const std::string& body, const std::string& boundary = "boundary=\"b;0\"") {
    return [=](Exchange& exchange) { exchange.send(streamHead + boundary + "\r\n\r\n" + body); };
}

// ---- One file each
// -------------------------------------------------------------------------------------------------

TEST(DownloadInstances, DeliversEveryInstanceUnderItsOwnId) {
    Fixture fixture([](Exchange& exchange) { exchange.reply(200, "bytes of " + idOf(exchange.request)); });
    const auto received = fixture.download(numbered(50), 5);
    ASSERT_EQ(received.size(), 50U);
    for (const auto& [id, bytes] : received)
        EXPECT_EQ(bytes, "bytes of " + id);
    const RecordedRequest request = fixture.server.requests().back();
    EXPECT_TRUE(request.has("Accept: application/dicom, application/octet-stream\r\n"));
    EXPECT_TRUE(request.has("Authorization: Bearer t0ken\r\n"));
    EXPECT_TRUE(request.has("User-Agent: ZorbelWorkstation/1.0\r\n"));
    EXPECT_EQ(request.target.rfind("/apps/pacs/api/viewer-proxy/instances/i", 0), 0U);
    EXPECT_TRUE(fixture.download({}, 4).empty());
    EXPECT_THROW(fixture.client->DownloadInstances({"i"}, {}, {}, 1), std::invalid_argument);
    fixture.client->signOut();
    EXPECT_EQ(failureOf([&] { fixture.download({"i"}, 1); }).status, 401);
}

TEST(DownloadInstances, KeepsToTheNumberInFlight) {
    for (const auto& [asked, allowed] : {std::pair(0U, 1), std::pair(3U, 3), std::pair(64U, 16)}) {
        // The first replies wait for as many requests as are allowed, then a little for one that is too many.
        std::atomic<int> inFlight = 0;
        std::atomic<int> peak = 0;
        Fixture fixture([&, wanted = allowed](Exchange& exchange) {
            const int now = ++inFlight;
            for (int seen = peak; seen < now && !peak.compare_exchange_weak(seen, now);) {
            }
            pollUntil([&] { return peak >= wanted; });
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            --inFlight;
            exchange.reply(200, "x");
        });
        EXPECT_EQ(fixture.download(numbered(40), asked).size(), 40U);
        EXPECT_EQ(peak, allowed);
    }
}

TEST(DownloadInstances, FirstFailureEndsAll) {
    const auto failureWith = [](const MisbehavingServer::Script& script) {
        Fixture fixture([&](Exchange& exchange) {
            if (idOf(exchange.request) == "i1")
                script(exchange);
            else if (idOf(exchange.request) == "i0")
                exchange.reply(200, "x");
            else
                exchange.waitForHangUp();
        });
        const ZorbelApiError error = failureOf([&] { fixture.download(numbered(30), 4); });
        EXPECT_TRUE(fixture.client->isSignedIn());
        EXPECT_EQ(std::string(error.what()).find("t0ken"), std::string::npos);
        return error;
    };
    const ZorbelApiError missing =
        failureWith([](Exchange& exchange) { exchange.reply(404, R"({"error":"Gone","code":"E1"})"); });
    EXPECT_STREQ(missing.what(), "Gone");
    EXPECT_EQ(missing.status, 404);
    EXPECT_EQ(missing.code, "E1");
    EXPECT_STREQ(
        failureWith([](Exchange& exchange) { exchange.reply(502, ""); }).what(),
        "Zorbel API returned HTTP 502");
    EXPECT_STREQ(failureWith([](Exchange&) {}).what(), "Zorbel API returned HTTP 0");
    const ZorbelApiError cut = failureWith(
        [](Exchange& exchange) { exchange.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf"); });
    EXPECT_EQ(cut.status, 0);
    EXPECT_TRUE(cut.isOutage());
    EXPECT_FALSE(missing.isOutage());
    EXPECT_STREQ(
        failureWith([](Exchange& exchange) {
            exchange.reply(200, "x", "Content-Encoding: gzip\r\n");
        }).what(),
        "The image archive sent compressed data that was not asked for");
    const std::string tooLarge = "A DICOM instance exceeded the workstation safety limit";
    EXPECT_EQ(
        failureWith([](Exchange& exchange) {
            exchange.send("HTTP/1.1 200 OK\r\nContent-Length: 5000001\r\n\r\n");
            exchange.waitForHangUp();
        }).what(),
        tooLarge);
    EXPECT_EQ(
        failureWith([](Exchange& exchange) {
            exchange.send("HTTP/1.1 200 OK\r\n\r\n");
            while (exchange.send(std::string(65'536, 'x'))) {
            }
        }).what(),
        tooLarge);
}

TEST(DownloadInstances, CancelAndSinkFailureEndIt) {
    Fixture fixture([](Exchange& exchange) {
        exchange.send("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf");
        exchange.waitForHangUp();
    });
    const CancelLater cancel([&] { EXPECT_TRUE(fixture.server.waitForConcurrency(8)); });
    EXPECT_STREQ(
        failureOf([&] { fixture.download(numbered(30), 8, cancel.flag); }).what(),
        "DICOM download cancelled");
    const std::size_t before = fixture.server.requests().size();
    EXPECT_STREQ(
        failureOf([&] { fixture.download(numbered(3), 8, cancel.flag); }).what(), "DICOM download cancelled");
    EXPECT_EQ(fixture.server.requests().size(), before);

    Fixture working([](Exchange& exchange) { exchange.reply(200, "x"); });
    int calls = 0;
    const auto full = [&](const QString&, std::vector<std::byte>, std::size_t, std::size_t) {
        ++calls;
        throw std::length_error("disk full");
    };
    EXPECT_THROW(working.client->DownloadInstances(numbered(30), full, {}, 8), std::length_error);
    EXPECT_EQ(calls, 1);
}

// ---- A whole series
// ------------------------------------------------------------------------------------------------

TEST(StreamSeries, DeliversThePartsInOrder) {
    for (const char* lineEnd : {"\r\n", "\n"}) {
        Fixture fixture(streaming(part("one", lineEnd) + part("two", lineEnd) + "--b;0--"));
        fixture.stream(2);
        EXPECT_EQ(fixture.parts, (std::vector<std::string>{"one", "two"}));
        const RecordedRequest request = fixture.server.requests().back();
        EXPECT_EQ(request.target, "/apps/pacs/api/viewer-proxy/dicom-web/studies/1.2/series/1.3");
        EXPECT_TRUE(
            request.has("Accept: multipart/related; type=\"application/dicom\"; transfer-syntax=*\r\n"));
        EXPECT_TRUE(request.has("Authorization: Bearer t0ken\r\n"));
        EXPECT_TRUE(request.has("Accept-Encoding: identity\r\n"));
    }
}

TEST(StreamSeries, DeliversEachPartBeforeTheNextHasArrived) {
    std::atomic<bool> delivered = false;
    Fixture fixture([&](Exchange& exchange) {
        exchange.send(streamHead + "boundary=\"b;0\"\r\n\r\n" + part("one") + part(""));
        pollUntil([&] { return delivered.load(); });
    });
    std::int64_t progress = 0;
    EXPECT_THROW(
        fixture.client->StreamSeries(
            "1", "2", numbered(2), [&](std::int64_t received, std::int64_t) { progress = received; }, {},
            [&](auto&&...) { delivered = true; }),
        ZorbelApiError);
    EXPECT_TRUE(delivered);
    EXPECT_GT(progress, 0);
}

TEST(StreamSeries, RefusesWhatIsNotTheWholeSeries) {
    const std::string two = part("one") + part("two");
    const auto failure = [](const MisbehavingServer::Script& script, int expected, std::size_t delivered) {
        Fixture fixture(script);
        const ZorbelApiError error = failureOf([&] { fixture.stream(expected); });
        EXPECT_EQ(fixture.parts.size(), delivered);
        EXPECT_TRUE(fixture.client->isSignedIn());
        return std::string(error.what()) + " " + std::to_string(error.status);
    };
    EXPECT_EQ(
        failure(streaming(two + "--b;0--"), 1, 1), "DICOMweb series returned an unexpected instance count 0");
    EXPECT_EQ(
        failure(streaming(two + "--b;0--"), 3, 2), "DICOMweb series returned 2 instances; expected 3 0");
    EXPECT_EQ(failure(streaming(two), 2, 1), "Incomplete streaming DICOMweb part 0");
    EXPECT_EQ(
        failure(streaming(two, "charset=x"), 2, 0),
        "DICOMweb response did not include a multipart boundary 0");
    EXPECT_EQ(
        failure([](Exchange& exchange) { exchange.reply(406, R"({"error":"no"})"); }, 2, 0),
        "Zorbel streaming DICOMweb request failed 406");
    EXPECT_EQ(failure([](Exchange&) {}, 2, 0), "Zorbel streaming DICOMweb request failed 0");
    // Announced, and then a body cut in the middle: the transport's own text.
    const std::string cut = failure(
        [&](Exchange& exchange) {
            exchange.send(streamHead + "boundary=\"b;0\"\r\nContent-Length: 9999\r\n\r\n" + two);
        },
        2, 1);
    EXPECT_EQ(cut.find("DICOMweb"), std::string::npos) << cut;
    const std::string tooLarge = "DICOM series exceeded the workstation safety limit 0";
    EXPECT_EQ(failure(streaming(part(std::string(5'000'000, 'x')) + "--b;0--"), 1, 0), tooLarge);
    EXPECT_EQ(
        failure(
            [](Exchange& exchange) {
                exchange.send(streamHead + "boundary=\"b;0\"\r\nContent-Length: 5000001\r\n\r\n");
                exchange.waitForHangUp();
            },
            1, 0),
        tooLarge);
    Fixture fixture(streaming(""));
    const auto refusal = [&fixture](const QString& study, const QStringList& ids) {
        return errorOf([&] { fixture.client->StreamSeries(study, "1", ids, {}, {}, [](auto&&...) {}); });
    };
    EXPECT_EQ(refusal("", {"i"}), "Streaming DICOMweb retrieval requires study and series UIDs");
    EXPECT_EQ(refusal("1", {}), "Streaming DICOMweb retrieval requires expected instances and a sink");
    fixture.client->signOut();
    EXPECT_EQ(failureOf([&] { fixture.stream(1); }).status, 401);
}

TEST(StreamSeries, CancelAndSinkFailureEndIt) {
    Fixture stalling([](Exchange& exchange) {
        exchange.send(streamHead + "boundary=\"b;0\"\r\n\r\n" + part("one") + part("two"));
        exchange.waitForHangUp();
    });
    const CancelLater cancel([&] { EXPECT_TRUE(stalling.server.waitForConcurrency(1)); });
    EXPECT_STREQ(failureOf([&] { stalling.stream(9, cancel.flag); }).what(), "DICOM download cancelled");

    // A sink that sets the flag itself sees no further part, though more have arrived.
    Fixture fixture(streaming(part("one") + part("two") + part("three") + "--b;0--"));
    const CancelFlag flag = std::make_shared<std::atomic<bool>>(false);
    int calls = 0;
    const auto cancelling = [&](auto&&...) {
        ++calls;
        flag->store(true);
    };
    EXPECT_STREQ(
        failureOf([&] { fixture.client->StreamSeries("1", "2", numbered(3), {}, flag, cancelling); }).what(),
        "DICOM download cancelled");
    EXPECT_EQ(calls, 1);
    const auto full = [&](auto&&...) { throw std::length_error("disk full"); };
    EXPECT_THROW(fixture.client->StreamSeries("1", "2", numbered(3), {}, {}, full), std::length_error);
}

TEST(StreamSeries, TakesALongSeriesThroughASlowSink) {
    // Far more than the buffers between socket and sink hold; every byte arrives once and in order.
    const std::string body(1'000'000, 'x');
    constexpr int count = 40;
    Fixture fixture(
        [&](Exchange& exchange) {
            exchange.send(streamHead + "boundary=\"b;0\"\r\n\r\n");
            for (int i = 0; i < count; ++i)
                exchange.send(part(std::to_string(i) + body));
            exchange.send("--b;0--\r\n");
        },
        100'000'000);
    int next = 0;
    fixture.client->StreamSeries(
        "1", "2", numbered(count), {}, {},
        [&](const QString&, const std::byte* data, std::size_t length, std::size_t, std::size_t) {
            const std::string_view received(reinterpret_cast<const char*>(data), length);
            EXPECT_TRUE(received == std::to_string(next) + body) << "part " << next;
            ++next;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        });
    EXPECT_EQ(next, count);
}

} // namespace
} // namespace zorbel
