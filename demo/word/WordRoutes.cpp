#include "demo/word/WordRoutes.h"

#include "demo/DemoAccounts.h"
#include "demo/RestReplies.h"
#include "demo/word/WordDesk.h"
#include "demo/word/WordReplies.h"

#include <nlohmann/json.hpp>

#include <regex>

namespace zorbel::demo {

using nlohmann::json;

namespace {

using Refusal = WordDesk::Refusal;

constexpr std::size_t mostOfDocument = 26214400;

HttpReply refused(Refusal refusal) {
    switch (refusal) {
    case Refusal::UnknownTemplate:
        return failure(404, "There is no such template", "TEMPLATE_NOT_FOUND");
    case Refusal::ExpiredSession:
        return failure(410, "The desktop Word session has expired", "SESSION_EXPIRED");
    case Refusal::NoPackage:
        return failure(422, "The document is not a Word document", "INVALID_DOCUMENT");
    case Refusal::Conflict:
        return failure(409, "Another version of the report was saved meanwhile", "VERSION_CONFLICT");
    case Refusal::UnknownSession:
    case Refusal::None:
        break;
    }
    return failure(404, "There is no such desktop Word session", "SESSION_NOT_FOUND");
}

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    return first == std::string::npos ? std::string()
                                      : text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

} // namespace

WordRoutes::WordRoutes(WordDesk& desk, StudyExists studyExists)
    : desk_(desk), studyExists_(std::move(studyExists)) {}

HttpReply WordRoutes::answer(const HttpServer::Request& request, const DemoAccount& account) const {
    const std::string what =
        request.method + " " + request.path.substr(std::char_traits<char>::length(prefix));
    if (what == "GET templates") {
        return templates();
    }
    if (what == "POST sessions") {
        return openSession(request.body, account);
    }
    static const std::regex document("(GET|PUT) sessions/([^/]+)/document");
    std::smatch found;
    if (!std::regex_match(what, found, document)) {
        return notFound();
    }
    return found[1] == "GET" ? download(found[2], account) : save(found[2], request, account);
}

HttpReply WordRoutes::templates() const {
    json list = json::array();
    for (const DeskTemplate& one : desk_.templates()) {
        list.push_back(
            {{"id", one.id},
             {"name", one.name},
             {"description", one.description},
             {"language", one.language},
             {"direction", one.direction}});
    }
    return jsonReply({{"templates", list}});
}

HttpReply WordRoutes::openSession(const std::string& body, const DemoAccount& account) const {
    const json wanted = json::parse(body, nullptr, false);
    const std::string study = trimmed(textMember(wanted, "studyInstanceUID"));
    if (study.empty()) {
        return failure(400, "The study is missing", "VALIDATION_ERROR");
    }
    if (!studyExists_(account.organizationId, study)) {
        return failure(404, "There is no such study", "STUDY_NOT_FOUND");
    }
    const WordDesk::Opened opened =
        desk_.open(account.organizationId, study, trimmed(textMember(wanted, "templateId")));
    if (opened.refusal != Refusal::None) {
        return refused(opened.refusal);
    }
    const json session{
        {"sessionId", opened.session.id},         {"reportId", opened.report.id},
        {"documentId", opened.report.documentId}, {"versionId", opened.report.versions.back().id},
        {"fileName", opened.report.fileName},     {"expiresAt", utcText(opened.session.expires)}};
    return jsonReply({{"session", session}}, 201);
}

HttpReply WordRoutes::download(const std::string& sessionId, const DemoAccount& account) const {
    const WordDesk::Saved found = desk_.newest(account.organizationId, sessionId);
    return found.refusal == Refusal::None ? documentReply(found.newest) : refused(found.refusal);
}

HttpReply WordRoutes::save(
    const std::string& sessionId, const HttpServer::Request& request, const DemoAccount& account) const {
    if (request.body.size() > mostOfDocument) {
        return failure(413, "The document is larger than 25 MiB", "PAYLOAD_TOO_LARGE");
    }
    const WordDesk::Saved saved = desk_.save(account.organizationId, account.id, sessionId, request.body);
    if (saved.refusal != Refusal::None) {
        return refused(saved.refusal);
    }
    const json result{
        {"approved", true},
        {"saved", true},
        {"createdVersion", saved.created},
        {"versionId", saved.newest.id},
        {"canonicalVersionId", saved.newest.id},
        {"savedAt", utcText(saved.newest.savedAt)}};
    return jsonReply({{"result", result}});
}

} // namespace zorbel::demo
