#include "ServiceFixture.h"

#include "demo/OrthancProcess.h"
#include "demo/PhantomStudies.h"

#include <algorithm>
#include <fstream>
#include <thread>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace zorbel::demo {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class DemoServiceTest : public ServiceFixture {
protected:
    static httplib::Result logIn(const std::string& email, const std::string& password) {
        httplib::Client client("127.0.0.1", service().port());
        return client.Post(
            "/api/auth/login", json{{"email", email}, {"password", password}}.dump(), "application/json");
    }
    static std::string codeOf(const httplib::Result& reply) {
        return json::parse(reply->body).value("code", std::string());
    }
};

TEST_F(DemoServiceTest, signInGivesATokenForTheAccountsOwnProfile) {
    const httplib::Result reply = logIn(readerAccount.email, readerAccount.password);
    ASSERT_EQ(reply->status, 200);
    const json session = json::parse(reply->body);
    EXPECT_EQ(session.at("user").at("organizationId"), demoOrganizationId);
    const httplib::Result me = get("/api/auth/me", session.at("token"));
    ASSERT_EQ(me->status, 200);
    EXPECT_EQ(json::parse(me->body).at("user").at("email"), readerAccount.email);

    const httplib::Result wrong = logIn(readerAccount.email, "wrong");
    EXPECT_EQ(wrong->status, 401);
    EXPECT_EQ(codeOf(wrong), "INVALID_CREDENTIALS");

    service().revokeTokens();
    EXPECT_EQ(get("/api/auth/me", session.at("token"))->status, 401);
}

TEST_F(DemoServiceTest, nothingIsReadableWithoutATokenOrFromAnotherOrganization) {
    const std::string stream = streamPath();
    const std::string study = json::parse(get(std::string(api) + "studies")->body)["studies"][0]["orthancId"];
    const std::vector<std::string> paths{
        "/api/auth/me", std::string(api) + "studies", std::string(api) + "viewer-proxy/studies/" + study,
        stream};
    for (const std::string& path : paths) {
        const httplib::Result reply = get(path, "");
        EXPECT_EQ(reply->status, 401) << path;
        EXPECT_EQ(codeOf(reply), "UNAUTHENTICATED") << path;
        EXPECT_EQ(get(path, "guessed")->status, 401) << path;
    }
    const std::string other = service().tokenFor(otherOrganizationAccount);
    EXPECT_EQ(get(paths[2], other)->status, 404);
    EXPECT_EQ(get(stream, other, streamAccept)->status, 404);
    EXPECT_TRUE(json::parse(get(paths[1], other)->body).at("studies").empty());
    const std::string nowhere = service().tokenFor(accountWithoutOrganization);
    EXPECT_EQ(get("/api/auth/me", nowhere)->status, 200);
    EXPECT_EQ(codeOf(get(paths[1], nowhere)), "ORGANIZATION_REQUIRED");
}

TEST_F(DemoServiceTest, studyListPagesSearchesAndRefusesBadNumbers) {
    const std::string list = std::string(api) + "studies";
    const auto found = [&](const std::string& query) { return getJson(list + query).at("studies").size(); };
    EXPECT_EQ(found("?page=1&limit=10"), 1U);
    EXPECT_EQ(found("?page=2&limit=10"), 0U);
    for (const char* hit : {"bench", "PHANTOM%20b", "ct", "20240117", "2024-01"}) {
        EXPECT_EQ(found(std::string("?search=") + hit), 1U) << hit;
    }
    EXPECT_EQ(found("?search=nobody"), 0U);
    EXPECT_EQ(get(list + "?limit=201")->status, 400);
    EXPECT_EQ(get(list + "?page=0")->status, 400);
    const auto last = service().requests("*/studies").back();
    EXPECT_EQ(last.query.find("page")->second, "0");
    EXPECT_TRUE(last.authorized);
}

TEST_F(DemoServiceTest, streamAndSingleFilesAreTheStoredBytes) {
    const std::vector<std::string> stored = contentsBelow(files());
    const httplib::Result reply = stream();
    ASSERT_TRUE(reply);
    ASSERT_EQ(reply->status, 200);
    std::vector<std::string> parts = partsOf(*reply);
    std::sort(parts.begin(), parts.end());
    EXPECT_TRUE(parts == stored);

    const std::string proxy = std::string(api) + "viewer-proxy/";
    const json row = getJson(std::string(api) + "studies").at("studies").at(0);
    const json study = getJson(proxy + "studies/" + row.at("orthancId").get<std::string>());
    const json series = getJson(proxy + "series/" + study.at("Series").at(0).get<std::string>());
    std::vector<std::string> single;
    for (const json& id : series.at("Instances")) {
        const httplib::Result file = get(proxy + "instances/" + id.get<std::string>() + "/file");
        ASSERT_EQ(file->status, 200);
        single.push_back(file->body);
    }
    std::sort(single.begin(), single.end());
    EXPECT_TRUE(single == stored);
    EXPECT_EQ(get(proxy + "instances/../tools/shutdown")->status, 404);
    EXPECT_EQ(get(streamPath() + ".9", service().tokenFor(readerAccount), streamAccept)->status, 404);
}

TEST_F(DemoServiceTest, auditEventsAreKept) {
    httplib::Client client("127.0.0.1", service().port());
    const httplib::Headers headers{{"Authorization", "Bearer " + service().tokenFor(readerAccount)}};
    const std::string path = std::string(api) + "viewer-audit";
    const std::string event = R"({"event":"STUDY_OPEN","targetId":"1.2","details":{"a":1}})";
    EXPECT_EQ(client.Post(path, headers, event, "application/json")->status, 201);
    EXPECT_EQ(client.Post(path, headers, "{}", "application/json")->status, 400);
    ASSERT_FALSE(service().auditRecords().empty());
    const AuditRecord last = service().auditRecords().back();
    EXPECT_EQ(last.event + last.targetId + last.details + last.userId, "STUDY_OPEN1.2{\"a\":1}user-reader");
}

TEST_F(DemoServiceTest, importNamesBadFilesAndGoesOn) {
    const TemporaryFolder folder;
    writeBenchSeries(folder.path() / "deep" / "good", 1, 16);
    const std::string good = contentsOf(folder.path() / "deep" / "good" / "00001.dcm");
    std::ofstream(folder.path() / "broken.dcm", std::ios::binary) << good.substr(0, 140);
    std::ofstream(folder.path() / "notes.txt") << "not an image";
    std::ofstream(folder.path() / "empty").flush();
    const DemoService::ImportResult result = service().uploadFolder(folder.path(), otherOrganizationId);
    EXPECT_EQ(result.stored, 1U);
    EXPECT_EQ(result.skipped, 2U);
    ASSERT_EQ(result.failures.size(), 1U);
    EXPECT_NE(result.failures[0].find("broken.dcm"), std::string::npos);
    EXPECT_EQ(service().uploadFolder(folder.path(), otherOrganizationId).alreadyStored, 1U);
    EXPECT_THROW(service().uploadFolder(folder.path() / "absent"), std::runtime_error);
}

bool exists(int pid) {
    return kill(pid, 0) == 0;
}

TEST(OrthancLifetime, processAndFolderEndWithTheService) {
    fs::path folder;
    int pid = 0;
    {
        DemoService service;
        // The thread that starts the service may end before it.
        std::thread([&service] { service.start(); }).join();
        folder = service.orthanc().folder();
        pid = service.orthanc().processId();
        EXPECT_TRUE(exists(pid));
        EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);

        DemoService second({.port = service.port()});
        EXPECT_THROW(second.start(), std::runtime_error);
    }
    EXPECT_FALSE(exists(pid));
    EXPECT_FALSE(fs::exists(folder));
}

TEST(OrthancLifetime, orthancDiesWithAKilledProgramAndTheNextOneTidiesUp) {
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    const pid_t child = fork();
    if (child == 0) {
        const OrthancProcess orthanc;
        const std::string text = std::to_string(orthanc.processId()) + " " + orthanc.folder().string() + "\n";
        [[maybe_unused]] const ssize_t told = write(pipeEnds[1], text.data(), text.size());
        pause();
        _exit(0);
    }
    std::string text(4096, '\0');
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(read(pipeEnds[0], text.data(), text.size()), 0)));
    close(pipeEnds[0]);
    close(pipeEnds[1]);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const int pid = std::stoi(text);
    const fs::path folder = text.substr(text.find(' ') + 1, text.size() - text.find(' ') - 2);
    for (int i = 0; i < 500 && exists(pid); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_FALSE(exists(pid));
    EXPECT_TRUE(fs::exists(folder));
    const OrthancProcess next;
    EXPECT_FALSE(fs::exists(folder));
}

} // namespace
} // namespace zorbel::demo
