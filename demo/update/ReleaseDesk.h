#pragma once

#include "demo/HttpServer.h"

#include <nlohmann/json.hpp>

#include <mutex>
#include <string>

namespace zorbel::demo {

/// What the service offers as the desktop's latest release: nothing until something is published. Asked
/// without a token; the administrator publishes over the control endpoint:
///   POST /demo/release {"file": PATH, "version": "1.0.1", "changes": {…}}
///       the file as an installer, with a manifest that fits it but for the changes; a member that is null
///       there is left out
///   DELETE /demo/release
/// Slow, cut, oversized and redirected answers are faults on the two paths. Any thread.
class ReleaseDesk {
public:
    static constexpr const char* manifestPath = "/api/desktop/releases/latest";
    static constexpr const char* installerPath = "/api/desktop/releases/installer";
    static constexpr const char* controlPath = "/demo/release";

    static bool isAsked(const std::string& path) { return path == manifestPath || path == installerPath; }

    void publish(std::string installer, const std::string& version, const nlohmann::json& changes = {});
    void withdraw();

    HttpReply answer(const HttpServer::Request& request) const;
    HttpReply control(const HttpServer::Request& request);

private:
    mutable std::mutex mutex_;
    std::string installer_;
    nlohmann::json manifest_; ///< null: nothing is published
};

} // namespace zorbel::demo
