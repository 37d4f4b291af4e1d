#include "demo/Gateway.h"

#include "demo/DemoAccounts.h"
#include "demo/MultipartFault.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <regex>
#include <stdexcept>

#include <fnmatch.h>

namespace zorbel::demo {

using nlohmann::json;

namespace {

constexpr const char* apps = "/apps/pacs/api/";
constexpr const char* proxyPrefix = "/apps/pacs/api/viewer-proxy/";
// With the parameter cpp-httplib leaves the body uncompressed, so that sizes are what they seem.
constexpr const char* jsonType = "application/json; charset=utf-8";

HttpReply jsonReply(const json& object, int status = 200) {
    return HttpReply::bytes(status, jsonType, object.dump(-1, ' ', false, json::error_handler_t::replace));
}

HttpReply failure(int status, const std::string& message, const std::string& code) {
    return jsonReply({{"error", message}, {"code", code}}, status);
}

HttpReply notFound() {
    return failure(404, "Not found", "NOT_FOUND");
}

bool startsWith(const std::string& text, const std::string& start) {
    return text.rfind(start, 0) == 0;
}

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

Gateway::Gateway(DemoArchive& archive)
    : archive_(archive), server_([this](const Request& request) { return answer(request); }) {}

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

void Gateway::revokeTokens() {
    const std::lock_guard lock(mutex_);
    tokens_.clear();
}

std::vector<RequestRecord> Gateway::requests(const std::string& pathPattern) const {
    const std::lock_guard lock(mutex_);
    std::vector<RequestRecord> found;
    for (const RequestRecord& one : requests_) {
        if (fnmatch(pathPattern.c_str(), one.path.c_str(), 0) == 0) {
            found.push_back(one);
        }
    }
    return found;
}

void Gateway::resetRequests() {
    const std::lock_guard lock(mutex_);
    requests_.clear();
}

std::vector<AuditRecord> Gateway::auditRecords() const {
    const std::lock_guard lock(mutex_);
    return audit_;
}

void Gateway::record(const Request& request) {
    RequestRecord one{
        request.method,
        request.path,
        {request.params.begin(), request.params.end()},
        request.get_header_value("Accept"),
        request.get_header_value("User-Agent"),
        startsWith(request.get_header_value("Authorization"), "Bearer ")};
    const std::lock_guard lock(mutex_);
    requests_.push_back(std::move(one));
}

const DemoAccount* Gateway::accountOf(const Request& request) const {
    const std::string header = request.get_header_value("Authorization");
    if (!startsWith(header, "Bearer ")) {
        return nullptr;
    }
    const std::lock_guard lock(mutex_);
    const auto found = tokens_.find(header.substr(7));
    return found == tokens_.end() ? nullptr : found->second;
}

HttpReply Gateway::answer(const Request& request) {
    try {
        if (startsWith(request.path, "/demo/")) {
            return control(request);
        }
        record(request);
        const std::vector<Fault> faults = faults_.take(request.path);
        std::optional<HttpReply> early;
        for (const Fault& fault : faults) {
            if (fault.kind == Fault::Kind::Delay) {
                server_.pause(fault.delay);
            } else if (fault.kind == Fault::Kind::NoReply && !early) {
                early.emplace();
                early->silent = true;
            } else if (fault.kind == Fault::Kind::Reply && !early) {
                early = HttpReply::bytes(fault.status, fault.contentType, fault.body);
            } else if (fault.kind == Fault::Kind::Redirect && !early) {
                early = HttpReply::bytes(302, "text/plain", "");
                early->headers.emplace("Location", fault.location);
            }
        }
        return withBodyFaults(early ? std::move(*early) : route(request), faults);
    } catch (const std::exception&) {
        // What went wrong may name a patient; the client gets the fact alone.
        return failure(502, "The image archive does not answer", "ARCHIVE_UNAVAILABLE");
    }
}

HttpReply Gateway::withBodyFaults(HttpReply reply, const std::vector<Fault>& faults) {
    if (reply.silent) {
        return reply;
    }
    for (const Fault& fault : faults) {
        if (changesParts(fault.kind) && reply.status == 200 && startsWith(reply.contentType, "multipart/")) {
            MultipartReply changed = withFault({reply.contentType, readAll(*reply.body)}, fault);
            reply.contentType = std::move(changed.contentType);
            reply.body = std::make_unique<MemorySource>(std::move(changed.body));
            reply.length.reset();
        }
    }
    const Pause pause = [this](std::chrono::milliseconds time) { return server_.pause(time); };
    for (const Fault& fault : faults) {
        if (fault.kind == Fault::Kind::Oversize) {
            reply.body = std::make_unique<PaddedSource>(std::move(reply.body), fault.bytes);
            reply.length = fault.announced ? std::optional(fault.bytes) : std::nullopt;
        }
    }
    for (const Fault& fault : faults) {
        if (fault.kind == Fault::Kind::Throttle) {
            reply.body = std::make_unique<ThrottledSource>(std::move(reply.body), fault.bytes, pause);
        } else if (fault.kind == Fault::Kind::DropBody || fault.kind == Fault::Kind::Hang) {
            const bool hangs = fault.kind == Fault::Kind::Hang;
            reply.body =
                std::make_unique<CutSource>(std::move(reply.body), fault.bytes, hangs ? pause : Pause());
        }
    }
    return reply;
}

HttpReply Gateway::route(const Request& request) {
    const bool get = request.method == "GET";
    const bool post = request.method == "POST";
    if (request.path == "/api/auth/login" && post) {
        return logIn(request);
    }
    const DemoAccount* account = accountOf(request);
    if (account == nullptr) {
        return failure(401, "Authentication required", "UNAUTHENTICATED");
    }
    if (request.path == "/api/auth/me" && get) {
        return jsonReply({{"user", userOf(*account)}});
    }
    if (!startsWith(request.path, apps)) {
        return notFound();
    }
    if (*account->organizationId == '\0') {
        return failure(403, "A clinical organization is required", "ORGANIZATION_REQUIRED");
    }
    if (request.path == "/apps/pacs/api/studies" && get) {
        return studies(request, *account);
    }
    if (request.path == "/apps/pacs/api/viewer-audit" && post) {
        return audit(request, *account);
    }
    if (startsWith(request.path, proxyPrefix) && get) {
        return proxy(request, *account);
    }
    return notFound();
}

HttpReply Gateway::logIn(const Request& request) {
    const json body = json::parse(request.body, nullptr, false);
    if (!body.is_object()) {
        return failure(400, "The request body is not a JSON object", "VALIDATION_ERROR");
    }
    const auto text = [&body](const char* name) {
        const auto member = body.find(name);
        return member != body.end() && member->is_string() ? member->get<std::string>() : std::string();
    };
    for (const DemoAccount& account : demoAccounts) {
        if (lower(text("email")) == account.email && text("password") == account.password) {
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
    if (!body.is_object() || !body.contains("event") || !body["event"].is_string()) {
        return failure(400, "The event is missing", "VALIDATION_ERROR");
    }
    const auto target = body.find("targetId");
    const auto details = body.find("details");
    AuditRecord one{
        account.id, body["event"].get<std::string>(),
        target != body.end() && target->is_string() ? target->get<std::string>() : std::string(),
        details != body.end() ? details->dump() : std::string()};
    const std::lock_guard lock(mutex_);
    audit_.push_back(std::move(one));
    return jsonReply({{"success", true}}, 201);
}

HttpReply Gateway::proxy(const Request& request, const DemoAccount& account) const {
    static const std::regex resource("(studies|series|instances)/([0-9a-f-]{44})(/instances|/file)?");
    static const std::regex dicomWeb("dicom-web/studies/([0-9.]{1,64})/series/([0-9.]{1,64})");
    const std::string path = request.path.substr(std::string(proxyPrefix).size());
    const std::string accept = request.get_header_value("Accept");
    const std::string organization = account.organizationId;
    std::smatch found;
    if (std::regex_match(path, found, dicomWeb)) {
        return archive_.ownsStudyUid(organization, found[1]) ? relay("/" + path, accept) : notFound();
    }
    if (!std::regex_match(path, found, resource)) {
        return notFound();
    }
    const std::string kind = found[1];
    const std::string rest = found[3];
    if ((rest == "/instances" && kind == "instances") || (rest == "/file" && kind != "instances")) {
        return notFound();
    }
    const bool allowed = kind == "studies"  ? archive_.ownsStudy(organization, found[2])
                         : kind == "series" ? archive_.ownsSeries(organization, found[2])
                                            : archive_.ownsInstance(organization, found[2]);
    return allowed ? relay("/" + path, accept) : notFound();
}

HttpReply Gateway::relay(const std::string& target, const std::string& accept) const {
    std::unique_ptr<LoopbackReply> upstream = archive_.open(target, accept);
    if (upstream->status() == 404) {
        return notFound();
    }
    if (upstream->status() == 400 || upstream->status() == 406) {
        return failure(upstream->status(), "The archive cannot give this form of the data", "NOT_ACCEPTABLE");
    }
    if (upstream->status() < 200 || upstream->status() > 299) {
        return failure(502, "The image archive failed", "ARCHIVE_ERROR");
    }
    HttpReply reply;
    reply.status = upstream->status();
    reply.contentType = upstream->contentType();
    reply.length = upstream->contentLength();
    reply.body = std::make_unique<ArchiveSource>(std::move(upstream));
    return reply;
}

HttpReply Gateway::control(const Request& request) {
    const DemoAccount* account = accountOf(request);
    if (account == nullptr || account->id != std::string(administratorAccount.id)) {
        return failure(account == nullptr ? 401 : 403, "Only the administrator may do this", "FORBIDDEN");
    }
    const std::string what = request.method + " " + request.path;
    if (what == "GET /demo/faults") {
        return jsonReply({{"faults", faults_.toJson()}});
    }
    if (what == "POST /demo/faults") {
        try {
            return jsonReply({{"id", faults_.add(FaultBoard::fromJson(json::parse(request.body)))}}, 201);
        } catch (const std::exception& error) {
            return failure(400, error.what(), "VALIDATION_ERROR");
        }
    }
    if (what == "DELETE /demo/faults") {
        faults_.clear();
        return jsonReply({{"success", true}});
    }
    if (startsWith(what, "DELETE /demo/faults/")) {
        faults_.remove(std::atoi(what.c_str() + std::string("DELETE /demo/faults/").size()));
        return jsonReply({{"success", true}});
    }
    if (what == "GET /demo/requests") {
        json list = json::array();
        for (const RequestRecord& one : requests("*")) {
            list.push_back({{"method", one.method}, {"path", one.path}});
        }
        return jsonReply({{"requests", list}});
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
