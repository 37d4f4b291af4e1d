#include "ServiceFixture.h"

#include "demo/OrthancProcess.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace zorbel::demo {
namespace {

using nlohmann::json;
using namespace std::chrono_literals;

class FaultTest : public ServiceFixture {
protected:
    static std::string list() { return std::string(api) + "studies"; }
};

TEST_F(FaultTest, repliesReplaceTheRealOneForAsManyRequestsAsAsked) {
    service().setFault(Fault::error(list(), 404, " Not found ", "NOT_FOUND").after(1).times(2));
    EXPECT_EQ(get(list())->status, 200);
    EXPECT_EQ(get(list())->status, 404);
    EXPECT_EQ(json::parse(get(list())->body).at("error"), " Not found ");
    EXPECT_EQ(get(list())->status, 200);

    const int id = service().setFault(Fault::reply("*/studies", 500));
    const httplib::Result failed = get(list());
    EXPECT_EQ(failed->status, 500);
    EXPECT_TRUE(failed->body.empty());
    service().removeFault(id);
    EXPECT_EQ(get(list())->status, 200);

    service().setFault(Fault::badJson(list()).times(1));
    EXPECT_TRUE(json::parse(get(list())->body, nullptr, false).is_discarded());
    service().setFault(Fault::redirect(list(), "http://localhost:1/").times(1));
    const httplib::Result moved = get(list());
    EXPECT_EQ(moved->status, 302);
    EXPECT_EQ(moved->get_header_value("Location"), "http://localhost:1/");
    service().setFault(Fault::streamingRefused());
    EXPECT_EQ(stream()->status, 406);
    EXPECT_EQ(service().requestCount(list(), "GET"), 9U);
    EXPECT_EQ(service().requestCount(list(), "POST"), 0U);
}

TEST_F(FaultTest, bodiesGrowBreakOffAndSlowDown) {
    const std::string whole = get(list())->body;
    for (const bool announced : {true, false}) {
        service().setFault(Fault::oversize(list(), 3000000, announced).times(1));
        const httplib::Result big = get(list());
        ASSERT_TRUE(big);
        EXPECT_EQ(big->body.size(), 3000000U);
        EXPECT_EQ(big->body.substr(0, whole.size()), whole);
        EXPECT_EQ(big->has_header("Content-Length"), announced);
    }
    service().setFault(Fault::noReply(list()).times(1));
    EXPECT_FALSE(get(list()));
    EXPECT_TRUE(get(list()));
    // Broken off, with a length (list) as without (stream): the client must see it.
    service().setFault(Fault::dropAfter("*", 10));
    EXPECT_EQ(get(list()).error(), httplib::Error::Read);
    service().clearFaults();
    const std::string path = streamPath();
    service().setFault(Fault::dropAfter(Fault::seriesStreams, 20000));
    std::size_t received = 0;
    httplib::Client client("127.0.0.1", service().port());
    const httplib::Headers headers{
        {"Authorization", "Bearer " + service().tokenFor(readerAccount)}, {"Accept", streamAccept}};
    const httplib::Result cut = client.Get(path, headers, [&received](const char*, std::size_t size) {
        received += size;
        return true;
    });
    EXPECT_FALSE(cut);
    EXPECT_LE(received, 20000U);
    EXPECT_GT(received, 0U);

    service().clearFaults();
    const auto timed = [this](const Fault& fault) {
        service().setFault(fault.times(1));
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(get(list())->status, 200);
        return std::chrono::steady_clock::now() - start;
    };
    EXPECT_GE(timed(Fault::delayed(list(), 200ms)), 200ms);
    EXPECT_GE(timed(Fault::throttle(list(), whole.size() * 5)), 150ms);
}

TEST_F(FaultTest, partsAreLeftOutAddedMovedAndReplaced) {
    const std::vector<std::string> whole = partsOf(*stream());
    ASSERT_EQ(whole.size(), 6U);
    const auto changed = [this](const Fault& fault) {
        service().setFault(fault);
        std::vector<std::string> parts = partsOf(*stream());
        service().clearFaults();
        return parts;
    };
    const auto first = [&whole](std::size_t n) {
        return std::vector<std::string>(whole.begin(), whole.begin() + static_cast<long>(n));
    };
    EXPECT_TRUE(changed(Fault::stream(Fault::Kind::MissingParts, 2)) == first(4));
    std::vector<std::string> expected = whole;
    expected.push_back(whole.back());
    EXPECT_TRUE(changed(Fault::stream(Fault::Kind::ExtraParts)) == expected);
    expected = {whole.rbegin(), whole.rend()};
    EXPECT_TRUE(changed(Fault::stream(Fault::Kind::ShuffledParts)) == expected);
    expected = whole;
    expected[1] = whole[0];
    EXPECT_TRUE(changed(Fault::stream(Fault::Kind::ReplacedPart)) == expected);
    EXPECT_TRUE(changed(Fault::stream(Fault::Kind::EmptyPart))[0].empty());
    EXPECT_TRUE(changed(Fault::stream(Fault::Kind::QuotedBoundary)) == whole);
    EXPECT_TRUE(changed(Fault::stream(Fault::Kind::LineFeedOnly)) == whole);
    EXPECT_TRUE(changed(Fault::stream(Fault::Kind::WrongBoundary)).empty());

    service().setFault(Fault::stream(Fault::Kind::MissingBoundary).times(1));
    EXPECT_EQ(stream()->get_header_value("Content-Type").find("boundary"), std::string::npos);
    service().setFault(Fault::stream(Fault::Kind::LineFeedOnly).times(1));
    EXPECT_EQ(stream()->body.find("\r\n\r\n"), std::string::npos);
    service().setFault(Fault::stream(Fault::Kind::NoClosingDelimiter).times(1));
    const httplib::Result open = stream();
    ASSERT_TRUE(open);
    EXPECT_NE(open->body.substr(open->body.size() - 4, 2), "--");
}

TEST_F(FaultTest, controlEndpointObeysTheAdministratorAlone) {
    httplib::Client client("127.0.0.1", service().port());
    const auto headers = [](const DemoAccount& account) {
        return httplib::Headers{{"Authorization", "Bearer " + service().tokenFor(account)}};
    };
    const std::string fault =
        json{{"kind", "reply"}, {"path", "*/studies"}, {"status", 503}, {"count", 1}}.dump();
    EXPECT_EQ(client.Post("/demo/faults", headers(readerAccount), fault, "application/json")->status, 403);
    EXPECT_EQ(client.Post("/demo/faults", fault, "application/json")->status, 401);
    EXPECT_EQ(get(list())->status, 200);
    EXPECT_EQ(
        client.Post("/demo/faults", headers(administratorAccount), fault, "application/json")->status, 201);
    EXPECT_EQ(get(list())->status, 503);
    EXPECT_EQ(get(list())->status, 200);
    const std::string unknown = R"({"kind":"explode"})";
    EXPECT_EQ(
        client.Post("/demo/faults", headers(administratorAccount), unknown, "application/json")->status, 400);
    EXPECT_EQ(client.Delete("/demo/faults", headers(administratorAccount))->status, 200);
    EXPECT_TRUE(
        json::parse(client.Get("/demo/faults", headers(administratorAccount))->body).at("faults").empty());
}

TEST_F(FaultTest, hangingRepliesDoNotKeepTheServiceFromEnding) {
    DemoService hanging;
    hanging.start();
    hanging.setFault(Fault::hangAfter("*", 5));
    hanging.setFault(Fault::delayed("*/later", 1h));
    const auto ask = [&hanging](const std::string& path) {
        httplib::Client client("127.0.0.1", hanging.port());
        client.set_read_timeout(60);
        return client.Get(path).error();
    };
    std::thread one([&] { EXPECT_NE(ask("/now"), httplib::Error::Success); });
    std::thread two([&] { EXPECT_NE(ask("/later"), httplib::Error::Success); });
    while (hanging.requestCount() < 2) {
        std::this_thread::sleep_for(1ms);
    }
    hanging.stop();
    one.join();
    two.join();
}

// Last, because it leaves the suite's archive damaged.
TEST_F(FaultTest, zSeriesThatTheArchiveBreaksOffEndsBrokenOff) {
    const std::string path = streamPath();
    // Without its fourth file Orthanc ends the reply early, as if all was well.
    const std::string fourth = partsOf(*stream()).at(3);
    std::size_t removed = 0;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(service().orthanc().folder() / "storage")) {
        if (entry.is_regular_file() && contentsOf(entry.path()) == fourth) {
            std::filesystem::remove(entry.path());
            ++removed;
        }
    }
    ASSERT_EQ(removed, 1U);
    httplib::Client client("127.0.0.1", service().port());
    const httplib::Headers headers{
        {"Authorization", "Bearer " + service().tokenFor(readerAccount)}, {"Accept", streamAccept}};
    EXPECT_EQ(client.Get(path, headers).error(), httplib::Error::Read);
    service().orthanc().kill();
    EXPECT_EQ(get(list())->status, 502);
}

} // namespace
} // namespace zorbel::demo
