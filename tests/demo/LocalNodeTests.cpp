#include "ServiceFixture.h"

#include "demo/DemoLocalNode.h"
#include "demo/DicomFile.h"
#include "demo/PhantomStudies.h"

#include <algorithm>

namespace zorbel::demo {
namespace {

using nlohmann::json;

/// A service whose archive and whose node hold one study each, and one study both.
class LocalNodeTest : public testing::Test {
protected:
    static constexpr const char* nodes = "/apps/pacs/api/desktop/local-nodes";
    static constexpr const char* routes = "/api/local-node/desktop/";

    static void SetUpTestSuite() {
        folder_ = std::make_unique<TemporaryFolder>();
        for (const int slices : {2, 3, 4}) {
            writeBenchSeries(studyFolder(slices), slices, 16);
        }
        service_ = std::make_unique<DemoService>(DemoService::Options{.localNode = true});
        service_->start();
        service_->uploadFolder(studyFolder(inTheCloud));
        service_->uploadFolder(studyFolder(inBoth));
        node().uploadFolder(studyFolder(onTheNode));
        node().uploadFolder(studyFolder(inBoth));
    }
    static void TearDownTestSuite() {
        service_.reset();
        folder_.reset();
    }
    void TearDown() override {
        node().start();
        node().clearFaults();
        node().setOrganization(demoOrganizationId);
        node().setExpiresInSeconds(600);
        service().clearFaults();
    }

    static constexpr int inTheCloud = 2;
    static constexpr int onTheNode = 3;
    static constexpr int inBoth = 4;

    static std::filesystem::path studyFolder(int slices) { return folder_->path() / std::to_string(slices); }
    static std::string studyUid(int slices) {
        return uidOf("study of bench " + std::to_string(slices) + " 16");
    }
    static std::string seriesUid(int slices) { return uidOf("bench " + std::to_string(slices) + " 16"); }
    static DemoService& service() { return *service_; }
    static DemoLocalNode& node() { return service_->localNode(); }

    static httplib::Headers bearer(const std::string& token) {
        return {{"Authorization", "Bearer " + token}};
    }
    static httplib::Result cloud(const DemoAccount& account, const std::string& path, const json& body = {}) {
        httplib::Client client("127.0.0.1", service().port());
        const httplib::Headers headers = bearer(service().tokenFor(account));
        return body.is_null() ? client.Get(path, headers)
                              : client.Post(path, headers, body.dump(), "application/json");
    }
    static httplib::Result
    onNode(const std::string& token, const std::string& path, const std::string& accept = "*/*") {
        httplib::Client client("127.0.0.1", node().port());
        httplib::Headers headers = bearer(token);
        headers.emplace("Accept", accept);
        return client.Get(routes + path, headers);
    }
    static httplib::Result resolve(const std::string& token, int slices) {
        return onNode(token, "resolve-study?studyInstanceUID=" + studyUid(slices));
    }
    static json session() {
        const httplib::Result reply =
            cloud(readerAccount, std::string(nodes) + "/session", {{"clinicId", DemoLocalNode::id}});
        EXPECT_EQ(reply->status, 200);
        return json::parse(reply->body);
    }
    static std::string token() { return session().at("token"); }

private:
    static inline std::unique_ptr<TemporaryFolder> folder_;
    static inline std::unique_ptr<DemoService> service_;
};

TEST_F(LocalNodeTest, isListedAndOpenedForItsOrganizationAlone) {
    const json listed = json::parse(cloud(readerAccount, nodes)->body).at("nodes");
    ASSERT_EQ(listed.size(), 1U);
    EXPECT_EQ(listed[0].at("clinicId"), DemoLocalNode::id);
    EXPECT_EQ(listed[0].at("name"), "Demo clinic node");
    EXPECT_EQ(listed[0].at("baseUrl"), node().baseUrl());
    EXPECT_EQ(listed[0].at("status"), "ONLINE");
    EXPECT_EQ(session().at("baseUrl"), node().baseUrl());
    EXPECT_EQ(session().at("expiresInSeconds"), 600);

    const std::string open = std::string(nodes) + "/session";
    EXPECT_TRUE(json::parse(cloud(otherOrganizationAccount, nodes)->body).at("nodes").empty());
    EXPECT_EQ(cloud(otherOrganizationAccount, open, {{"clinicId", DemoLocalNode::id}})->status, 404);
    EXPECT_EQ(cloud(readerAccount, open, {{"clinicId", "another"}})->status, 404);
    EXPECT_EQ(cloud(accountWithoutOrganization, nodes)->status, 403);
    EXPECT_EQ(httplib::Client("127.0.0.1", service().port()).Get(nodes)->status, 401);
}

TEST_F(LocalNodeTest, servesWhatItHoldsByteForByte) {
    const std::string pass = token();
    EXPECT_EQ(json::parse(onNode(pass, "identity")->body).at("organizationId"), demoOrganizationId);
    EXPECT_EQ(resolve(pass, inTheCloud)->status, 404);
    EXPECT_EQ(onNode(pass, "resolve-study")->status, 400);
    EXPECT_EQ(resolve(pass, onTheNode)->status, 200);
    const std::string study = json::parse(resolve(pass, inBoth)->body).at("orthancId");
    const json series = json::parse(onNode(pass, "viewer-proxy/studies/" + study)->body).at("Series");
    const json summary =
        json::parse(onNode(pass, "viewer-proxy/series/" + series.at(0).get<std::string>())->body);
    std::vector<std::string> single;
    for (const json& id : summary.at("Instances")) {
        single.push_back(onNode(pass, "viewer-proxy/instances/" + id.get<std::string>() + "/file")->body);
    }
    std::sort(single.begin(), single.end());
    EXPECT_TRUE(single == contentsBelow(studyFolder(inBoth)));
    const std::string stream =
        "viewer-proxy/dicom-web/studies/" + studyUid(inBoth) + "/series/" + seriesUid(inBoth);
    const httplib::Result reply =
        onNode(pass, stream, "multipart/related; type=\"application/dicom\"; transfer-syntax=*");
    ASSERT_TRUE(reply);
    std::vector<std::string> parts = partsOf(*reply);
    std::sort(parts.begin(), parts.end());
    EXPECT_TRUE(parts == single);
    EXPECT_EQ(onNode(pass, "viewer-proxy/tools/shutdown")->status, 404);
}

TEST_F(LocalNodeTest, refusesTokensThatAreForeignExpiredOrTheClouds) {
    const std::string pass = token();
    EXPECT_EQ(onNode(service().tokenFor(readerAccount), "identity")->status, 401);
    EXPECT_EQ(onNode("", "identity")->status, 401);
    httplib::Client client("127.0.0.1", service().port());
    EXPECT_EQ(client.Get("/api/auth/me", bearer(pass))->status, 401);

    node().setOrganization(otherOrganizationId);
    EXPECT_EQ(json::parse(onNode(pass, "identity")->body).at("organizationId"), otherOrganizationId);
    EXPECT_EQ(resolve(pass, inBoth)->status, 403);
    EXPECT_EQ(onNode(pass, "viewer-proxy/studies/x")->status, 403);
    node().setOrganization(demoOrganizationId);
    EXPECT_EQ(resolve(pass, inBoth)->status, 200);

    node().setExpiresInSeconds(0);
    EXPECT_EQ(onNode(token(), "identity")->status, 401);
    EXPECT_EQ(resolve(pass, inBoth)->status, 200);
    node().revokeTokens();
    EXPECT_EQ(resolve(pass, inBoth)->status, 401);
}

TEST_F(LocalNodeTest, addressIsTheAdministratorsToChange) {
    const json moved{{"clinicId", DemoLocalNode::id}, {"baseUrl", "http://192.168.1.20"}};
    EXPECT_EQ(cloud(readerAccount, nodes, moved)->status, 403);
    EXPECT_EQ(cloud(administratorAccount, nodes, {{"clinicId", DemoLocalNode::id}})->status, 400);
    EXPECT_EQ(cloud(administratorAccount, nodes, {{"clinicId", "x"}, {"baseUrl", "http://a"}})->status, 404);
    EXPECT_EQ(session().at("baseUrl"), node().baseUrl());
    EXPECT_EQ(cloud(administratorAccount, nodes, moved)->status, 200);
    EXPECT_EQ(session().at("baseUrl"), "http://192.168.1.20");
    EXPECT_EQ(
        json::parse(cloud(readerAccount, nodes)->body).at("nodes")[0].at("baseUrl"), "http://192.168.1.20");
    const json back{{"clinicId", DemoLocalNode::id}, {"baseUrl", node().baseUrl()}};
    EXPECT_EQ(cloud(administratorAccount, nodes, back)->status, 200);
}

TEST_F(LocalNodeTest, misbehavesAndDiesOnItsOwn) {
    const std::string pass = token();
    const int port = node().port();
    node().setFault(Fault::reply("*", 500).times(1));
    EXPECT_EQ(cloud(readerAccount, nodes)->status, 200);
    EXPECT_EQ(onNode(pass, "identity")->status, 500);
    service().setFault(Fault::reply("*", 500).times(1));
    EXPECT_EQ(onNode(pass, "identity")->status, 200);
    service().clearFaults();

    const json fault{{"kind", "reply"}, {"path", "*/identity"}, {"status", 418}};
    EXPECT_EQ(cloud(readerAccount, "/demo/node/faults", fault)->status, 403);
    EXPECT_EQ(onNode(pass, "identity")->status, 200);
    const httplib::Result set = cloud(administratorAccount, "/demo/node/faults", fault);
    ASSERT_EQ(set->status, 201);
    EXPECT_EQ(onNode(pass, "identity")->status, 418);
    httplib::Client client("127.0.0.1", service().port());
    const std::string number = std::to_string(json::parse(set->body).at("id").get<int>());
    client.Delete("/demo/node/faults/" + number, bearer(service().tokenFor(administratorAccount)));
    node().resetRequests();
    EXPECT_EQ(onNode(pass, "identity")->status, 200);
    const json seen = json::parse(cloud(administratorAccount, "/demo/node/requests")->body).at("requests");
    ASSERT_EQ(seen.size(), 1U);
    EXPECT_EQ(seen[0].at("path"), std::string(routes) + "identity");

    node().stop();
    EXPECT_FALSE(onNode(pass, "identity"));
    EXPECT_EQ(json::parse(cloud(readerAccount, nodes)->body).at("nodes")[0].at("status"), "OFFLINE");
    node().start();
    EXPECT_EQ(node().port(), port);
    EXPECT_EQ(onNode(pass, "identity")->status, 200);
    EXPECT_EQ(service().requestCount("/demo/*"), 0U);
}

} // namespace
} // namespace zorbel::demo
