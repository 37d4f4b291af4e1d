#include "report/WordServiceClient.h"
#include "tests/support/MisbehavingServer.h"

#include "api/ZorbelApiClient.h"

#include <gtest/gtest.h>

namespace zorbel::test {

class WordServiceClientTest : public testing::Test {
protected:
    static std::shared_ptr<ZorbelApiClient> clientOf(const MisbehavingServer& server) {
        ApiClientConfig config;
        config.baseUrl = server.url();
        return std::make_shared<ZorbelApiClient>(config);
    }
    WordServiceClientTest() {
        client->signIn(QStringLiteral("reader@example.org"), QStringLiteral("secret"));
    }
    /// The message of what the call throws; empty where it throws nothing.
    template <class Call>
    static std::string failureOf(Call call) {
        try {
            call();
        } catch (const ZorbelApiError& error) {
            return error.what();
        }
        return {};
    }

    std::string body; ///< of the next reply
    MisbehavingServer server{[this](Exchange& exchange) {
        if (!serveSession(exchange))
            exchange.reply(200, body);
    }};
    std::shared_ptr<ZorbelApiClient> client = clientOf(server);
    const WordServiceClient word{client};
};

TEST_F(WordServiceClientTest, sendsWhatTheServiceExpects) {
    body = R"({"templates": [{"id": "t", "name": "N", "direction": "rtl"}, "no template"]})";
    const auto templates = word.templates({});
    ASSERT_EQ(templates.size(), 1u);
    EXPECT_EQ(templates[0].direction, QStringLiteral("rtl"));

    body = R"({"session": {"sessionId": "a/b", "versionId": "v", "fileName": "report.DOCX"}})";
    EXPECT_EQ(
        word.createSession(QStringLiteral(" 1.2 "), QStringLiteral(" "), {}).fileName,
        QStringLiteral("report.DOCX"));
    EXPECT_EQ(server.requests().back().body, R"({"studyInstanceUID":"1.2"})");
    body = R"({"session": {"sessionId": "a/b", "versionId": "v", "fileName": "report.doc"}})";
    EXPECT_EQ(
        word.createSession(QStringLiteral("1.2"), QStringLiteral(" t "), {}).fileName,
        QStringLiteral("Zorbel-Report.docx"));
    EXPECT_EQ(server.requests().back().body, R"({"studyInstanceUID":"1.2","templateId":"t"})");

    body = "PK";
    EXPECT_EQ(word.document(QStringLiteral("a/b"), {}), QByteArray("PK"));
    EXPECT_EQ(server.requests().back().target, "/apps/ris/api/desktop-word/sessions/a%2Fb/document");
    body = R"({"result": {"approved": true, "versionId": "v2"}})";
    EXPECT_EQ(word.save(QStringLiteral("s"), QByteArray("bytes"), {}).versionId, QStringLiteral("v2"));
    EXPECT_EQ(server.requests().back().method, "PUT");
    EXPECT_EQ(server.requests().back().body, "bytes");
    EXPECT_TRUE(server.requests().back().has(
        "application/vnd.openxmlformats-officedocument.wordprocessingml.document"));
}

TEST_F(WordServiceClientTest, takesNothingThatIsNotConfirmed) {
    const auto save = [&] { word.save(QStringLiteral("s"), QByteArray("bytes"), {}); };
    for (const char* unconfirmed :
         {R"({"result": {"approved": true}})", R"({"result": {"versionId": "v2"}})", R"({})",
          R"({"result": {"approved": true, "saved": false, "versionId": "v2"}})"}) {
        body = unconfirmed;
        EXPECT_EQ(failureOf(save), "Zorbel did not confirm the Word report version") << body;
    }
    body = "[]";
    EXPECT_EQ(failureOf(save).find("Invalid JSON returned by Zorbel desktop Word save"), 0u);
    body = R"({"session": {"sessionId": "s"}})";
    EXPECT_EQ(
        failureOf([&] { word.createSession(QStringLiteral("1.2"), {}, {}); }),
        "Zorbel returned an incomplete desktop Word session");
    const std::size_t requests = server.requests().size();
    EXPECT_EQ(
        failureOf([&] { word.createSession(QStringLiteral(" "), {}, {}); }),
        "Open a study before starting a Word report");
    EXPECT_EQ(failureOf([&] { word.document({}, {}); }), "Desktop Word session is missing");
    EXPECT_EQ(
        failureOf([&] { word.save(QStringLiteral("s"), {}, {}); }),
        "Desktop Word session or document is missing");
    client->signOut();
    EXPECT_EQ(failureOf([&] { word.templates({}); }), "Zorbel viewer session is not authenticated");
    EXPECT_EQ(server.requests().size(), requests);
}

} // namespace zorbel::test
