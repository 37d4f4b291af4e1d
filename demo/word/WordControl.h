#pragma once

#include "demo/HttpServer.h"

namespace zorbel::demo {

class WordDesk;

/// The Word desk's control endpoint, for the administrator:
///   GET /demo/word: a page with the reports and their versions, to be looked at in a browser
///   GET /demo/word/reports; GET /demo/word/versions/ID: the version's document
///   POST /demo/word/reports/ID/conflict: somebody else makes a version
///   POST /demo/word/sessions/expire and …/sessions/forget
///   POST /demo/word/sessions/lifetime {"seconds": N}
class WordControl {
public:
    static constexpr const char* path = "/demo/word";

    explicit WordControl(WordDesk& desk) : desk_(desk) {}

    HttpReply answer(const HttpServer::Request& request) const;

private:
    HttpReply carryOut(const HttpServer::Request& request) const;
    HttpReply page() const;
    HttpReply reports() const;
    HttpReply version(const std::string& versionId) const;
    HttpReply changeSessions(const std::string& how, const std::string& body) const;

    WordDesk& desk_;
};

} // namespace zorbel::demo
