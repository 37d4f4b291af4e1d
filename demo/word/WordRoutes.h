#pragma once

#include "demo/HttpServer.h"

#include <functional>
#include <string>

namespace zorbel::demo {

class WordDesk;
struct DemoAccount;

/// The Word desk over HTTP: what lies below /apps/ris/api/desktop-word/.
class WordRoutes {
public:
    static constexpr const char* prefix = "/apps/ris/api/desktop-word/";

    using StudyExists =
        std::function<bool(const std::string& organizationId, const std::string& studyInstanceUid)>;

    WordRoutes(WordDesk& desk, StudyExists studyExists);

    /// The account has an organization.
    HttpReply answer(const HttpServer::Request& request, const DemoAccount& account) const;

private:
    HttpReply templates() const;
    HttpReply openSession(const std::string& body, const DemoAccount& account) const;
    HttpReply download(const std::string& sessionId, const DemoAccount& account) const;
    HttpReply
    save(const std::string& sessionId, const HttpServer::Request& request, const DemoAccount& account) const;

    WordDesk& desk_;
    StudyExists studyExists_;
};

} // namespace zorbel::demo
