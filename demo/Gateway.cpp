#include "demo/Gateway.h"

#include "demo/DemoAccounts.h"
#include "demo/DemoLocalNode.h"
#include "demo/Loopback.h"
#include "demo/RestReplies.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace zorbel::demo {

using nlohmann::json;

namespace {

constexpr const char* apps = "/apps/pacs/api/";
constexpr const char* proxyPrefix = "/apps/pacs/api/viewer-proxy/";

json userOf(const DemoAccount& account) {
    // Services fill one or the other member: the administrator's has both, the others' only the second.
    const bool both = &account == &administratorAccount || account.id == std::string(administratorAccount.id);
    return {
        {"id", account.id},
        {"email", account.email},
        {"name", account.name},
        {"role", account.role},
        {"effectiveOrganizationId", both ? account.organizationId : ""},
        {"organizationId", account.organizationId},
        {"organizationName", account.organizationName}};
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

bool matches(const json& row, const std::string& search) {
    const std::string date = row.at("studyDate").get<std::string>();
    std::string digits = date.substr(0, 10);
    digits.erase(std::remove(digits.begin(), digits.end(), '-'), digits.end());
    std::string text = row.at("patient").at("fullName").get<std::string>() + "\n" + date + "\n" + digits +
                       "\n" + row.at("studyDescription").get<std::string>() + "\n" +
                       row.at("studyInstanceUID").get<std::string>();
    for (const json& modality : row.at("modalitiesInStudy")) {
        text += "\n" + modality.get<std::string>();
    }
    return lower(text).find(lower(search)) != std::string::npos;
}

/// A number from the query within limits, or the fallback when the item is absent. Throws
/// std::invalid_argument.
std::size_t
numberItem(const HttpServer::Request& request, const char* name, std::size_t fallback, std::size_t most) {
    if (!request.has_param(name)) {
        return fallback;
    }
    const std::string text = request.get_param_value(name);
    if (text.empty() || text.size() > 6 || text.find_first_not_of("0123456789") != std::string::npos) {
        throw std::invalid_argument(std::string("Invalid ") + name);
    }
    const std::size_t value = std::stoul(text);
    if (value < 1 || value > most) {
        throw std::invalid_argument(std::string("Invalid ") + name);
    }
    return value;
}

} // namespace

Gateway::Gateway(DemoArchive& archive, DemoLocalNode* node, std::vector<DeskTemplate> templates)
    : archive_(archive), proxy_(archive), node_(node), wordDesk_(std::move(templates)),
      wordRoutes_(
          wordDesk_,
          [this](const std::string& organizationId, const std::string& studyInstanceUid) {
              return !archive_.studyWithUid(organizationId, studyInstanceUid).empty();
          }),
      server_(
          [this](const Request& request) { return route(request); },
          [this](const Request& request) { return control(request); }) {}

std::string Gateway::issueToken(const DemoAccount& account) {
    for (const DemoAccount& known : demoAccounts) {
        if (std::string(known.id) == account.id) {
            const std::string token = randomToken();
            const std::lock_guard lock(mutex_);
            tokens_[token] = &known;
            return token;
        }
    }
    throw std::invalid_argument("Not an account of the demo service.");
}

void Gateway::revokeTokens(const std::string& userId) {
    const std::lock_guard lock(mutex_);
    std::erase_if(tokens_, [&](const auto& one) { return userId.empty() || one.second->id == userId; });
}

std::vector<AuditRecord> Gateway::auditRecords() const {
    const std::lock_guard lock(mutex_);
    return audit_;
}

const DemoAccount* Gateway::accountOf(const Request& request) const {
    const std::lock_guard lock(mutex_);
    const auto found = tokens_.find(bearerToken(request));
    return found == tokens_.end() ? nullptr : found->second;
}

HttpReply Gateway::route(const Request& request) {
    const bool get = request.method == "GET";
    const bool post = request.method == "POST";
    if (request.path == "/api/auth/login" && post) {
        return logIn(request);
    }
    if (ReleaseDesk::isAsked(request.path)) {
        return releaseDesk_.answer(request);
    }
    const DemoAccount* account = accountOf(request);
    if (account == nullptr) {
        return failure(401, "Authentication required", "UNAUTHENTICATED");
    }
    if (request.path == "/api/auth/me" && get) {
        return jsonReply({{"user", userOf(*account)}});
    }
    const bool word = startsWith(request.path, WordRoutes::prefix);
    if (!word && !startsWith(request.path, apps)) {
        return notFound();
    }
    if (*account->organizationId == '\0') {
        return failure(403, "A clinical organization is required", "ORGANIZATION_REQUIRED");
    }
    if (word) {
        return wordRoutes_.answer(request, *account);
    }
    if (request.path == "/apps/pacs/api/studies" && get) {
        return studies(request, *account);
    }
    if (request.path == "/apps/pacs/api/viewer-audit" && post) {
        return audit(request, *account);
    }
    if (startsWith(request.path, proxyPrefix) && get) {
        return proxy_.get(
            request.path.substr(std::string(proxyPrefix).size()), request.get_header_value("Accept"),
            account->organizationId);
    }
    return localNodes(request, *account);
}

HttpReply Gateway::logIn(const Request& request) {
    const json body = json::parse(request.body, nullptr, false);
    if (!body.is_object()) {
        return failure(400, "The request body is not a JSON object", "VALIDATION_ERROR");
    }
    for (const DemoAccount& account : demoAccounts) {
        if (lower(textMember(body, "email")) == account.email &&
            textMember(body, "password") == account.password) {
            return jsonReply({{"token", issueToken(account)}, {"user", userOf(account)}});
        }
    }
    return failure(401, "Invalid email or password", "INVALID_CREDENTIALS");
}

HttpReply Gateway::studies(const Request& request, const DemoAccount& account) const {
    std::size_t page = 1;
    std::size_t limit = 50;
    try {
        page = numberItem(request, "page", 1, 999999);
        limit = numberItem(request, "limit", 50, 200);
    } catch (const std::invalid_argument& error) {
        return failure(400, error.what(), "VALIDATION_ERROR");
    }
    std::vector<json> rows = archive_.studyRows(account.organizationId);
    if (request.has_param("search")) {
        const std::string search = request.get_param_value("search");
        rows.erase(
            std::remove_if(rows.begin(), rows.end(), [&](const json& row) { return !matches(row, search); }),
            rows.end());
    }
    json list = json::array();
    for (std::size_t i = (page - 1) * limit; i < std::min(rows.size(), page * limit); ++i) {
        list.push_back(rows[i]);
    }
    return jsonReply({{"studies", list}, {"page", page}, {"limit", limit}, {"total", rows.size()}});
}

HttpReply Gateway::audit(const Request& request, const DemoAccount& account) {
    const json body = json::parse(request.body, nullptr, false);
    const std::string event = textMember(body, "event");
    if (event.empty()) {
        return failure(400, "The event is missing", "VALIDATION_ERROR");
    }
    const auto details = body.find("details");
    AuditRecord one{
        account.id, event, textMember(body, "targetId"),
        details != body.end() ? details->dump() : std::string()};
    const std::lock_guard lock(mutex_);
    audit_.push_back(std::move(one));
    return jsonReply({{"success", true}}, 201);
}

// ---- Local Nodes
// ---------------------------------------------------------------------------------------------------

HttpReply Gateway::localNodes(const Request& request, const DemoAccount& account) {
    const std::string what = request.method + " " + request.path;
    if (what == "GET /apps/pacs/api/desktop/local-nodes") {
        return listNodes(account);
    }
    if (what == "POST /apps/pacs/api/desktop/local-nodes") {
        return saveNode(request, account);
    }
    if (what == "POST /apps/pacs/api/desktop/local-nodes/session") {
        const json body = json::parse(request.body, nullptr, false);
        if (!ownsNode(account) || textMember(body, "clinicId") != DemoLocalNode::id) {
            return failure(404, "No such Local Node", "NODE_NOT_FOUND");
        }
        const DemoLocalNode::Session session = node_->openSession(account.organizationId);
        return jsonReply(
            {{"baseUrl", nodeAddress()},
             {"token", session.token},
             {"expiresInSeconds", session.expiresInSeconds}});
    }
    return notFound();
}

bool Gateway::ownsNode(const DemoAccount& account) const {
    return node_ != nullptr && account.organizationId == std::string(demoOrganizationId);
}

std::string Gateway::nodeAddress() const {
    const std::lock_guard lock(mutex_);
    return nodeAddress_.empty() ? node_->baseUrl() : nodeAddress_;
}

HttpReply Gateway::listNodes(const DemoAccount& account) const {
    json list = json::array();
    if (ownsNode(account)) {
        list.push_back(
            {{"clinicId", DemoLocalNode::id},
             {"name", DemoLocalNode::name},
             {"baseUrl", nodeAddress()},
             {"status", node_->isRunning() ? "ONLINE" : "OFFLINE"},
             {"appVersion", DemoLocalNode::appVersion}});
    }
    return jsonReply({{"nodes", list}});
}

HttpReply Gateway::saveNode(const Request& request, const DemoAccount& account) {
    if (account.role != std::string(administratorAccount.role)) {
        return failure(403, "Only an organization administrator may do this", "FORBIDDEN");
    }
    const json body = json::parse(request.body, nullptr, false);
    const std::string address = textMember(body, "baseUrl");
    if (!startsWith(address, "http://") && !startsWith(address, "https://")) {
        return failure(
            400, "The address of a Local Node begins with http:// or https://", "VALIDATION_ERROR");
    }
    if (!ownsNode(account) || textMember(body, "clinicId") != DemoLocalNode::id) {
        return failure(404, "No such Local Node", "NODE_NOT_FOUND");
    }
    const std::lock_guard lock(mutex_);
    nodeAddress_ = address;
    return jsonReply({{"success", true}});
}

// ---- Control
// -------------------------------------------------------------------------------------------------------

namespace {

json listOf(const std::vector<RequestRecord>& requests) {
    json list = json::array();
    for (const RequestRecord& one : requests) {
        list.push_back({{"method", one.method}, {"path", one.path}});
    }
    return {{"requests", list}};
}

/// `what` is the method and the path below the board's own, such as "DELETE /3".
HttpReply controlFaults(FaultBoard& board, const std::string& what, const std::string& body) {
    if (what == "GET ") {
        return jsonReply({{"faults", board.toJson()}});
    }
    if (what == "POST ") {
        try {
            return jsonReply({{"id", board.add(FaultBoard::fromJson(json::parse(body)))}}, 201);
        } catch (const std::exception& error) {
            return failure(400, error.what(), "VALIDATION_ERROR");
        }
    }
    const std::string removal = "DELETE /";
    if (what == "DELETE ") {
        board.clear();
    } else if (startsWith(what, removal)) {
        board.remove(std::atoi(what.c_str() + removal.size()));
    } else {
        return notFound();
    }
    return jsonReply({{"success", true}});
}

} // namespace

bool Gateway::isAdministrator(const Request& request) const {
    const DemoAccount* account = accountOf(request);
    if (account != nullptr || !startsWith(request.path, WordControl::path)) {
        return account != nullptr && account->id == std::string(administratorAccount.id);
    }
    // A browser also sends what other pages told it to.
    const std::string origin = request.get_header_value("Origin");
    return request.get_header_value("Authorization") ==
               basicAuthorization(administratorAccount.email, administratorAccount.password) &&
           (origin.empty() || origin == "http://" + request.get_header_value("Host"));
}

HttpReply Gateway::notAdministrator(const Request& request) const {
    const bool known = accountOf(request) != nullptr;
    HttpReply reply = failure(known ? 403 : 401, "Only the administrator may do this", "FORBIDDEN");
    if (!known && startsWith(request.path, WordControl::path)) {
        reply.headers.emplace("WWW-Authenticate", "Basic realm=\"Administrator of the demo service\"");
    }
    return reply;
}

HttpReply Gateway::control(const Request& request) {
    if (!isAdministrator(request)) {
        return notAdministrator(request);
    }
    if (startsWith(request.path, WordControl::path)) {
        return wordControl_.answer(request);
    }
    if (request.path == ReleaseDesk::controlPath) {
        return releaseDesk_.control(request);
    }
    const std::string faults = "/demo/faults";
    const std::string nodeFaults = "/demo/node/faults";
    if (startsWith(request.path, faults)) {
        return controlFaults(
            server_.faults(), request.method + " " + request.path.substr(faults.size()), request.body);
    }
    if (node_ != nullptr && startsWith(request.path, nodeFaults)) {
        return controlFaults(
            node_->faults(), request.method + " " + request.path.substr(nodeFaults.size()), request.body);
    }
    const std::string what = request.method + " " + request.path;
    if (what == "GET /demo/requests") {
        return jsonReply(listOf(requests("*")));
    }
    if (node_ != nullptr && what == "GET /demo/node/requests") {
        return jsonReply(listOf(node_->requests()));
    }
    const std::string tokens = "DELETE /demo/tokens";
    if (what == tokens || startsWith(what, tokens + "/")) {
        revokeTokens(what == tokens ? std::string() : what.substr(tokens.size() + 1));
        return jsonReply({{"success", true}});
    }
    if (what == "GET /demo/audit") {
        json list = json::array();
        for (const AuditRecord& one : auditRecords()) {
            list.push_back({{"userId", one.userId}, {"event", one.event}, {"targetId", one.targetId}});
        }
        return jsonReply({{"events", list}});
    }
    return notFound();
}

} // namespace zorbel::demo
