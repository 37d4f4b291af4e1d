#include "demo/DemoAccounts.h"
#include "demo/FaultyServer.h"
#include "demo/RestReplies.h"
#include "demo/word/WordDesk.h"
#include "demo/word/WordReplies.h"
#include "demo/word/WordRoutes.h"
#include "demo/word/ZipDirectory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <set>
#include <utility>

namespace zorbel::demo {
namespace {

using nlohmann::json;

struct Answer {
    int status = 0; ///< 0: the connection closed without a word
    std::string body;

    json member(const char* name) const { return json::parse(body).at(name); }
    std::string code() const { return textMember(json::parse(body, nullptr, false), "code"); }
};

/// The desk behind a real connection, for the token "reader" and, of another organization, "other".
class WordDeskTest : public testing::Test {
protected:
    WordDeskTest()
        : routes(desk, [](const std::string&, const std::string& uid) { return uid == "1.2.3"; }),
          server([this](const FaultyServer::Request& request) {
              const bool other = bearerToken(request) == "other";
              return routes.answer(request, other ? otherOrganizationAccount : readerAccount);
          }) {
        server.start(0);
    }

    Answer
    ask(const std::string& method, const std::string& path, const std::string& body = {},
        const std::string& token = "reader") const {
        try {
            LoopbackReply reply(
                server.port(), method, WordRoutes::prefix + path, "Bearer " + token, "*/*", body);
            return {reply.status(), reply.readAll()};
        } catch (const std::runtime_error&) {
            return {};
        }
    }
    json open(const std::string& templateId = {}) const {
        const json wanted{{"studyInstanceUID", " 1.2.3 "}, {"templateId", templateId}};
        const Answer answer = ask("POST", "sessions", wanted.dump());
        EXPECT_EQ(answer.status, 201) << answer.body;
        return answer.member("session");
    }
    static std::string documentOf(const json& session) {
        return "sessions/" + session.at("sessionId").get<std::string>() + "/document";
    }
    std::vector<DeskVersion> versionsOf(const json& session) const {
        return desk.versions(session.at("reportId"));
    }

    WordDesk desk{readDeskTemplates(deskTemplateFolder())};
    WordRoutes routes;
    FaultyServer server;
    const std::string first = *desk.templates()[0].document;
    const std::string edited = withZipComment(first, "edited");
    const std::string again = withZipComment(first, "edited again");
};

TEST_F(WordDeskTest, templatesAreWholeAndAsManifoldAsAReaderMeetsThem) {
    const json list = ask("GET", "templates").member("templates");
    ASSERT_GE(list.size(), 7U);
    std::set<std::string> ids;
    std::multiset<std::string> texts;
    std::set<std::pair<std::string, std::string>> kinds;
    for (std::size_t i = 0; i < list.size(); ++i) {
        ids.insert(list[i].at("id").get<std::string>().substr(0, 8));
        texts.insert(list[i].at("name").get<std::string>() + list[i].at("description").get<std::string>());
        kinds.emplace(list[i].at("language"), list[i].at("direction"));
        EXPECT_TRUE(hasZipDirectory(*desk.templates()[i].document)) << list[i];
        const json session = open(list[i].at("id"));
        EXPECT_EQ(ask("GET", documentOf(session)).body, *desk.templates()[i].document);
    }
    EXPECT_EQ(ids.size(), list.size()) << "told apart by eight characters of the id";
    EXPECT_EQ(texts.count("CBCT of one toothSmall field of view, endodontic question"), 2U);
    const std::set<std::pair<std::string, std::string>> expected{{"en", "ltr"}, {"de", "ltr"}, {"he", "rtl"}};
    EXPECT_EQ(kinds, expected);
    EXPECT_EQ(desk.reports().size(), list.size());
}

TEST_F(WordDeskTest, everySaveOfOtherBytesIsAVersionAndOldOnesStay) {
    const json session = open();
    for (const char* name : {"sessionId", "reportId", "documentId", "versionId", "fileName"}) {
        EXPECT_FALSE(session.at(name).get<std::string>().empty()) << name;
    }
    const std::string path = documentOf(session);
    json result = ask("PUT", path, edited).member("result");
    EXPECT_TRUE(result.at("approved") && result.at("saved") && result.at("createdVersion"));
    const std::string second = result.at("versionId");
    EXPECT_EQ(result.at("canonicalVersionId"), second);

    result = ask("PUT", path, edited).member("result");
    EXPECT_TRUE(result.at("saved"));
    EXPECT_FALSE(result.at("createdVersion"));
    EXPECT_EQ(result.at("versionId"), second);
    // Back to the first state: another version with the same content.
    EXPECT_TRUE(ask("PUT", path, first).member("result").at("createdVersion"));

    const auto versions = versionsOf(session);
    ASSERT_EQ(versions.size(), 3U);
    EXPECT_EQ(versions[0].id, session.at("versionId"));
    EXPECT_EQ(*versions[0].bytes, first);
    EXPECT_EQ(*versions[1].bytes, edited);
    EXPECT_EQ(versions[0].sha256, versions[2].sha256);
    EXPECT_NE(versions[0].id, versions[2].id);
    EXPECT_EQ(desk.version(second)->savedBy, readerAccount.id);
    EXPECT_EQ(ask("GET", path).body, first);

    const std::string torn = edited.substr(0, edited.size() - 40);
    for (const std::string& bad : {torn, std::string("PK\3\4"), std::string("no zip")}) {
        EXPECT_EQ(ask("PUT", path, bad).code(), "INVALID_DOCUMENT");
    }
    EXPECT_EQ(ask("PUT", path, std::string(26214401, 'x')).status, 413);
    EXPECT_EQ(versionsOf(session).size(), 3U);
}

TEST_F(WordDeskTest, refusesWhatIsNotTheReadersOrOver) {
    const json session = open();
    const std::string path = documentOf(session);
    EXPECT_EQ(ask("POST", "sessions", "{").status, 400);
    EXPECT_EQ(ask("POST", "sessions", R"({"studyInstanceUID":"1.2.4"})").code(), "STUDY_NOT_FOUND");
    EXPECT_EQ(
        ask("POST", "sessions", R"({"studyInstanceUID":"1.2.3","templateId":"x"})").code(),
        "TEMPLATE_NOT_FOUND");
    EXPECT_EQ(ask("GET", path, {}, "other").code(), "SESSION_NOT_FOUND");
    EXPECT_EQ(ask("PUT", path, edited, "other").status, 404);

    desk.setSessionLifetime(std::chrono::seconds(0));
    const json over = open();
    EXPECT_EQ(ask("GET", documentOf(over)).code(), "SESSION_EXPIRED");
    EXPECT_LE(over.at("expiresAt"), utcText(std::chrono::system_clock::now()));
    EXPECT_EQ(ask("PUT", path, edited).status, 200);
    desk.expireSessions();
    EXPECT_EQ(ask("PUT", path, again).status, 410);
    desk.forgetSessions();
    EXPECT_EQ(ask("PUT", path, again).status, 404);
    EXPECT_EQ(versionsOf(session).size(), 2U);
}

TEST_F(WordDeskTest, tellsOnceOfAnotherVersionAndThenSavesOnTop) {
    const json session = open();
    const std::string path = documentOf(session);
    const std::string foreign = desk.makeConflict(session.at("reportId"));
    EXPECT_EQ(ask("PUT", path, edited).code(), "VERSION_CONFLICT");
    EXPECT_EQ(versionsOf(session).back().id, foreign);
    EXPECT_TRUE(ask("PUT", path, edited).member("result").at("createdVersion"));

    // Whoever downloads it knows it.
    desk.makeConflict(session.at("reportId"));
    EXPECT_TRUE(hasZipDirectory(ask("GET", path).body));
    EXPECT_EQ(ask("PUT", path, again).status, 200);

    // Two sessions on one report.
    desk.continueReports(true);
    const json other = open();
    EXPECT_EQ(other.at("reportId"), session.at("reportId"));
    EXPECT_EQ(ask("PUT", documentOf(other), edited).status, 200);
    EXPECT_EQ(ask("PUT", path, again).status, 409);
    EXPECT_EQ(versionsOf(session).size(), 6U);
    EXPECT_EQ(desk.makeConflict("unknown"), "");
}

TEST_F(WordDeskTest, aLostReplyLeavesAVersionThatARetryFindsAndFaultsKnowTheMethod) {
    const json session = open();
    const std::string path = documentOf(session);
    server.faults().add(Fault::lostReply("*/document").on("PUT").times(1));
    server.faults().add(Fault::error("*/document", 503, "Unavailable", "DOWN").on("PUT").after(2).times(1));
    EXPECT_EQ(ask("GET", path).status, 200);
    EXPECT_EQ(ask("PUT", path, edited).status, 0);
    EXPECT_EQ(versionsOf(session).size(), 2U);
    EXPECT_FALSE(ask("PUT", path, edited).member("result").at("createdVersion"));
    EXPECT_EQ(ask("PUT", path, again).code(), "DOWN");
    EXPECT_EQ(ask("PUT", path, again).status, 200);
    EXPECT_EQ(versionsOf(session).size(), 3U);
}

} // namespace
} // namespace zorbel::demo
