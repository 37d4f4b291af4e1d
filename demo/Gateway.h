#pragma once

#include "demo/DemoArchive.h"
#include "demo/FaultBoard.h"
#include "demo/HttpServer.h"
#include "demo/RequestRecord.h"

#include <nlohmann/json_fwd.hpp>

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace zorbel::demo {

struct DemoAccount;

/// The service's REST API: sign-in, study list, audit and the viewer proxy in front of the archive, plus the
/// control endpoint under /demo that only the administrator may use:
///   GET, POST, DELETE /demo/faults and DELETE /demo/faults/ID; GET /demo/requests; GET /demo/audit
class Gateway {
public:
    explicit Gateway(DemoArchive& archive);

    void start(int port) { server_.start(port); }
    void stop() { server_.stop(); }
    int port() const { return server_.port(); }

    FaultBoard& faults() { return faults_; }
    std::string issueToken(const DemoAccount& account);
    void revokeTokens();
    std::vector<RequestRecord> requests(const std::string& pathPattern) const;
    void resetRequests();
    std::vector<AuditRecord> auditRecords() const;

private:
    using Request = HttpServer::Request;

    HttpReply answer(const Request& request);
    HttpReply route(const Request& request);
    HttpReply logIn(const Request& request);
    HttpReply studies(const Request& request, const DemoAccount& account) const;
    HttpReply audit(const Request& request, const DemoAccount& account);
    HttpReply proxy(const Request& request, const DemoAccount& account) const;
    HttpReply relay(const std::string& target, const std::string& accept) const;
    HttpReply control(const Request& request);
    HttpReply withBodyFaults(HttpReply reply, const std::vector<Fault>& faults);
    void record(const Request& request);
    const DemoAccount* accountOf(const Request& request) const;

    DemoArchive& archive_;
    FaultBoard faults_;
    mutable std::mutex mutex_;
    std::map<std::string, const DemoAccount*> tokens_;
    std::vector<RequestRecord> requests_;
    std::vector<AuditRecord> audit_;
    HttpServer server_; ///< last, so that its threads end before what they use
};

} // namespace zorbel::demo
