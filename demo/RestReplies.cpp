#include "demo/RestReplies.h"

#include <nlohmann/json.hpp>

namespace zorbel::demo {

using nlohmann::json;

namespace {

// With the parameter cpp-httplib leaves the body uncompressed, so that sizes are what they seem.
constexpr const char* jsonType = "application/json; charset=utf-8";

} // namespace

HttpReply jsonReply(const json& object, int status) {
    return HttpReply::bytes(status, jsonType, object.dump(-1, ' ', false, json::error_handler_t::replace));
}

HttpReply failure(int status, const std::string& message, const std::string& code) {
    return jsonReply({{"error", message}, {"code", code}}, status);
}

HttpReply notFound() {
    return failure(404, "Not found", "NOT_FOUND");
}

std::string bearerToken(const HttpServer::Request& request) {
    const std::string scheme = "Bearer ";
    const std::string header = request.get_header_value("Authorization");
    return startsWith(header, scheme) ? header.substr(scheme.size()) : std::string();
}

bool startsWith(const std::string& text, const std::string& start) {
    return text.rfind(start, 0) == 0;
}

std::string textMember(const json& body, const char* name) {
    if (!body.is_object()) {
        return {};
    }
    const auto member = body.find(name);
    return member != body.end() && member->is_string() ? member->get<std::string>() : std::string();
}

} // namespace zorbel::demo
