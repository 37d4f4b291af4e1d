#include "demo/DemoLocalNode.h"

#include "demo/ArchiveProxy.h"
#include "demo/DemoArchive.h"
#include "demo/DicomImport.h"
#include "demo/FaultyServer.h"
#include "demo/Loopback.h"
#include "demo/OrthancProcess.h"
#include "demo/RestReplies.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <map>
#include <mutex>
#include <optional>

namespace zorbel::demo {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* routes = "/api/local-node/desktop/";
// The owner of whatever the node's archive holds, whosever the node is said to be.
constexpr const char* keeper = "node";

} // namespace

struct DemoLocalNode::Parts {
    struct Pass {
        std::string organizationId;
        Clock::time_point end;
    };

    OrthancProcess orthanc;
    DemoArchive archive{orthanc};
    ArchiveProxy proxy{archive};
    std::mutex mutex;
    std::map<std::string, Pass> passes;
    std::string organizationId = demoOrganizationId;
    int expiresInSeconds = 600;
    FaultyServer server{[this](const HttpServer::Request& request) { return route(request); }};

    HttpReply route(const HttpServer::Request& request);
    HttpReply resolve(const HttpServer::Request& request) const;
    /// Whose token the request brings, if it is good.
    std::optional<std::string> memberOf(const HttpServer::Request& request);
};

std::optional<std::string> DemoLocalNode::Parts::memberOf(const HttpServer::Request& request) {
    const std::lock_guard lock(mutex);
    const auto pass = passes.find(bearerToken(request));
    if (pass == passes.end() || pass->second.end <= Clock::now()) {
        return std::nullopt;
    }
    return pass->second.organizationId;
}

HttpReply DemoLocalNode::Parts::route(const HttpServer::Request& request) {
    const std::optional<std::string> member = memberOf(request);
    if (!member) {
        return failure(401, "Authentication required", "UNAUTHENTICATED");
    }
    std::string owner;
    {
        const std::lock_guard lock(mutex);
        owner = organizationId;
    }
    if (request.method != "GET" || !startsWith(request.path, routes)) {
        return notFound();
    }
    const std::string path = request.path.substr(std::string(routes).size());
    if (path == "identity") {
        return jsonReply(
            {{"clinicId", id}, {"name", name}, {"organizationId", owner}, {"appVersion", appVersion}});
    }
    if (owner != *member) {
        return failure(403, "The token is for another organization", "FOREIGN_ORGANIZATION");
    }
    if (path == "resolve-study") {
        return resolve(request);
    }
    const std::string prefix = "viewer-proxy/";
    return startsWith(path, prefix)
               ? proxy.get(path.substr(prefix.size()), request.get_header_value("Accept"), keeper)
               : notFound();
}

HttpReply DemoLocalNode::Parts::resolve(const HttpServer::Request& request) const {
    const std::string uid = request.get_param_value("studyInstanceUID");
    if (uid.empty()) {
        return failure(400, "The studyInstanceUID is missing", "VALIDATION_ERROR");
    }
    const std::string study = archive.studyWithUid(keeper, uid);
    return study.empty() ? failure(404, "The study is not on this node", "STUDY_NOT_FOUND")
                         : jsonReply({{"orthancId", study}, {"studyInstanceUID", uid}});
}

DemoLocalNode::DemoLocalNode() : parts_(std::make_unique<Parts>()) {}

DemoLocalNode::~DemoLocalNode() = default;

void DemoLocalNode::start() {
    parts_->server.start(parts_->server.port());
}

void DemoLocalNode::stop() {
    parts_->server.stop();
}

bool DemoLocalNode::isRunning() const {
    return parts_->server.isRunning();
}

std::string DemoLocalNode::baseUrl() const {
    return "http://127.0.0.1:" + std::to_string(port());
}

int DemoLocalNode::port() const {
    return parts_->server.port();
}

ImportResult DemoLocalNode::uploadFolder(const std::filesystem::path& folder) {
    return importDicom(folder, [this](std::string_view file) { return parts_->archive.store(file, keeper); });
}

DemoLocalNode::Session DemoLocalNode::openSession(const std::string& organizationId) {
    const std::string token = randomToken();
    const std::lock_guard lock(parts_->mutex);
    const int seconds = parts_->expiresInSeconds;
    parts_->passes[token] = {organizationId, Clock::now() + std::chrono::seconds(seconds)};
    return {token, seconds};
}

void DemoLocalNode::setExpiresInSeconds(int seconds) {
    const std::lock_guard lock(parts_->mutex);
    parts_->expiresInSeconds = seconds;
}

void DemoLocalNode::revokeTokens() {
    const std::lock_guard lock(parts_->mutex);
    parts_->passes.clear();
}

void DemoLocalNode::setOrganization(const std::string& organizationId) {
    const std::lock_guard lock(parts_->mutex);
    parts_->organizationId = organizationId;
}

int DemoLocalNode::setFault(const Fault& fault) {
    return faults().add(fault);
}

void DemoLocalNode::removeFault(int number) {
    faults().remove(number);
}

void DemoLocalNode::clearFaults() {
    faults().clear();
}

FaultBoard& DemoLocalNode::faults() {
    return parts_->server.faults();
}

std::vector<RequestRecord> DemoLocalNode::requests(const std::string& pathPattern) const {
    return parts_->server.requests(pathPattern);
}

std::size_t DemoLocalNode::requestCount(const std::string& pathPattern) const {
    return requests(pathPattern).size();
}

void DemoLocalNode::resetRequests() {
    parts_->server.resetRequests();
}

OrthancProcess& DemoLocalNode::orthanc() {
    return parts_->orthanc;
}

} // namespace zorbel::demo
