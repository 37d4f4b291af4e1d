#pragma once

#include "demo/HttpServer.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace zorbel::demo {

HttpReply jsonReply(const nlohmann::json& object, int status = 200);
/// {"error": message, "code": code}
HttpReply failure(int status, const std::string& message, const std::string& code);
HttpReply notFound();

/// The request's bearer token, empty when it has none.
std::string bearerToken(const HttpServer::Request& request);
bool startsWith(const std::string& text, const std::string& start);
/// A member's text, empty when the body is no object, lacks it or holds something else there.
std::string textMember(const nlohmann::json& body, const char* name);

} // namespace zorbel::demo
