#pragma once

#include <map>
#include <string>

namespace zorbel::demo {

/// What the demo service remembers of one request. Tokens and passwords are not kept.
struct RequestRecord {
    std::string method;
    std::string path;                              ///< without the query
    std::multimap<std::string, std::string> query; ///< decoded
    std::string accept;
    std::string userAgent;
    bool authorized = false; ///< carried a bearer token
};

/// One viewer-audit event as it was received.
struct AuditRecord {
    std::string userId;
    std::string event;
    std::string targetId;
    std::string details; ///< compact JSON, empty when there was none
};

} // namespace zorbel::demo
