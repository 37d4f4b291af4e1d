#pragma once

#include "demo/ArchiveProxy.h"
#include "demo/DemoArchive.h"
#include "demo/FaultyServer.h"
#include "demo/RequestRecord.h"
#include "demo/update/ReleaseDesk.h"
#include "demo/word/WordControl.h"
#include "demo/word/WordDesk.h"
#include "demo/word/WordRoutes.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace zorbel::demo {

class DemoLocalNode;
struct DemoAccount;

/// The service's REST API: sign-in, study list, audit, the viewer proxy in front of the archive, the Word
/// desk and the organization's Local Nodes, plus the control endpoint under /demo that only the administrator
/// may use:
///   GET, POST, DELETE /demo/faults and DELETE /demo/faults/ID; GET /demo/requests; GET /demo/audit;
///   DELETE /demo/tokens signs everybody out, the administrator too, and DELETE /demo/tokens/USER-ID one
///   user; the same of the Local Node below /demo/node/faults and /demo/node/requests; what ReleaseDesk
///   answers, and what WordControl answers, there also for a browser that brings the account in place of a
///   token
class Gateway {
public:
    /// Without a node the organization has none.
    explicit Gateway(
        DemoArchive& archive, DemoLocalNode* node = nullptr, std::vector<DeskTemplate> templates = {});

    void start(int port) { server_.start(port); }
    void stop() { server_.stop(); }
    int port() const { return server_.port(); }

    FaultBoard& faults() { return server_.faults(); }
    std::string issueToken(const DemoAccount& account);
    /// userId: of one account; empty for all.
    void revokeTokens(const std::string& userId = {});
    std::vector<RequestRecord> requests(const std::string& pathPattern) const {
        return server_.requests(pathPattern);
    }
    void resetRequests() { server_.resetRequests(); }
    std::vector<AuditRecord> auditRecords() const;
    WordDesk& wordDesk() { return wordDesk_; }
    ReleaseDesk& releaseDesk() { return releaseDesk_; }

private:
    using Request = FaultyServer::Request;

    HttpReply route(const Request& request);
    HttpReply logIn(const Request& request);
    HttpReply studies(const Request& request, const DemoAccount& account) const;
    HttpReply audit(const Request& request, const DemoAccount& account);
    HttpReply localNodes(const Request& request, const DemoAccount& account);
    HttpReply listNodes(const DemoAccount& account) const;
    HttpReply saveNode(const Request& request, const DemoAccount& account);
    bool ownsNode(const DemoAccount& account) const;
    std::string nodeAddress() const;
    HttpReply control(const Request& request);
    HttpReply notAdministrator(const Request& request) const;
    bool isAdministrator(const Request& request) const;
    const DemoAccount* accountOf(const Request& request) const;

    DemoArchive& archive_;
    ArchiveProxy proxy_;
    DemoLocalNode* node_;
    WordDesk wordDesk_;
    WordRoutes wordRoutes_;
    WordControl wordControl_{wordDesk_};
    ReleaseDesk releaseDesk_;
    mutable std::mutex mutex_;
    std::map<std::string, const DemoAccount*> tokens_;
    std::vector<AuditRecord> audit_;
    std::string nodeAddress_; ///< as an administrator saved it; empty: where the node is
    FaultyServer server_;     ///< last, so that its threads end before what they use
};

} // namespace zorbel::demo
