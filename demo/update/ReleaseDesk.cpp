#include "demo/update/ReleaseDesk.h"

#include "base/digest/Sha256.h"
#include "demo/RestReplies.h"

#include <fstream>
#include <iterator>
#include <span>
#include <utility>

namespace zorbel::demo {

using nlohmann::json;

void ReleaseDesk::publish(std::string installer, const std::string& version, const json& changes) {
    json manifest{
        {"schemaVersion", 1},
        {"product", "Zorbel Diagnostic Viewer"},
        {"platform", "windows-x64"},
        {"installerType", "exe"},
        {"version", version},
        {"url", nullptr}, // where the request went to
        {"sha256", sha256Hex(std::as_bytes(std::span(installer)))},
        {"signerThumbprint", std::string(40, '0')},
        {"sizeBytes", installer.size()}};
    for (const auto& [name, value] : changes.items()) {
        if (value.is_null()) {
            manifest.erase(name);
        } else {
            manifest[name] = value;
        }
    }
    const std::lock_guard lock(mutex_);
    installer_ = std::move(installer);
    manifest_ = std::move(manifest);
}

void ReleaseDesk::withdraw() {
    const std::lock_guard lock(mutex_);
    installer_.clear();
    manifest_ = nullptr;
}

HttpReply ReleaseDesk::answer(const HttpServer::Request& request) const {
    const std::lock_guard lock(mutex_);
    if (manifest_.is_null() || request.method != "GET") {
        return notFound();
    }
    if (request.path == installerPath) {
        return HttpReply::bytes(200, "application/octet-stream", installer_);
    }
    json manifest = manifest_;
    if (const auto url = manifest.find("url"); url != manifest.end() && url->is_null()) {
        *url = "http://" + request.get_header_value("Host") + installerPath;
    }
    return jsonReply(manifest);
}

HttpReply ReleaseDesk::control(const HttpServer::Request& request) {
    if (request.method == "DELETE") {
        withdraw();
        return jsonReply({{"success", true}});
    }
    const json body = json::parse(request.body, nullptr, false);
    std::ifstream file(textMember(body, "file"), std::ios::binary);
    const json changes = body.is_object() ? body.value("changes", json::object()) : json();
    if (request.method != "POST" || !file || textMember(body, "version").empty() || !changes.is_object()) {
        return failure(400, "It takes a file that can be read, a version, and changes", "VALIDATION_ERROR");
    }
    publish({std::istreambuf_iterator<char>(file), {}}, textMember(body, "version"), changes);
    return jsonReply({{"success", true}}, 201);
}

} // namespace zorbel::demo
