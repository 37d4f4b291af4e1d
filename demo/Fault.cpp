#include "demo/Fault.h"

#include <nlohmann/json.hpp>

#include <array>
#include <stdexcept>
#include <utility>

namespace zorbel::demo {

namespace {

constexpr std::array<std::pair<Fault::Kind, const char*>, 19> kindNames{{
    {Fault::Kind::Delay, "delay"},
    {Fault::Kind::NoReply, "no-reply"},
    {Fault::Kind::LostReply, "lost-reply"},
    {Fault::Kind::Reply, "reply"},
    {Fault::Kind::Redirect, "redirect"},
    {Fault::Kind::Oversize, "oversize"},
    {Fault::Kind::DropBody, "drop-body"},
    {Fault::Kind::Hang, "hang"},
    {Fault::Kind::Throttle, "throttle"},
    {Fault::Kind::MissingParts, "missing-parts"},
    {Fault::Kind::ExtraParts, "extra-parts"},
    {Fault::Kind::ShuffledParts, "shuffled-parts"},
    {Fault::Kind::ReplacedPart, "replaced-part"},
    {Fault::Kind::EmptyPart, "empty-part"},
    {Fault::Kind::WrongBoundary, "wrong-boundary"},
    {Fault::Kind::MissingBoundary, "missing-boundary"},
    {Fault::Kind::QuotedBoundary, "quoted-boundary"},
    {Fault::Kind::LineFeedOnly, "line-feed-only"},
    {Fault::Kind::NoClosingDelimiter, "no-closing-delimiter"},
}};

Fault make(Fault::Kind kind, std::string path) {
    Fault fault;
    fault.kind = kind;
    fault.path = std::move(path);
    return fault;
}

} // namespace

Fault Fault::delayed(std::string path, std::chrono::milliseconds delay) {
    Fault fault = make(Kind::Delay, std::move(path));
    fault.delay = delay;
    return fault;
}

Fault Fault::noReply(std::string path) {
    return make(Kind::NoReply, std::move(path));
}

Fault Fault::lostReply(std::string path) {
    return make(Kind::LostReply, std::move(path));
}

Fault Fault::reply(std::string path, int status, std::string body, std::string contentType) {
    Fault fault = make(Kind::Reply, std::move(path));
    fault.status = status;
    fault.body = std::move(body);
    fault.contentType = std::move(contentType);
    return fault;
}

Fault Fault::error(std::string path, int status, const std::string& message, const std::string& code) {
    return reply(std::move(path), status, nlohmann::json{{"error", message}, {"code", code}}.dump());
}

Fault Fault::badJson(std::string path) {
    return reply(std::move(path), 200, "{\"studies\": [{\"id\": \"tr");
}

Fault Fault::redirect(std::string path, std::string location) {
    Fault fault = make(Kind::Redirect, std::move(path));
    fault.location = std::move(location);
    return fault;
}

Fault Fault::oversize(std::string path, std::uint64_t totalBytes, bool announced) {
    Fault fault = make(Kind::Oversize, std::move(path));
    fault.bytes = totalBytes;
    fault.announced = announced;
    return fault;
}

Fault Fault::dropAfter(std::string path, std::uint64_t bytes) {
    Fault fault = make(Kind::DropBody, std::move(path));
    fault.bytes = bytes;
    return fault;
}

Fault Fault::hangAfter(std::string path, std::uint64_t bytes) {
    Fault fault = make(Kind::Hang, std::move(path));
    fault.bytes = bytes;
    return fault;
}

Fault Fault::throttle(std::string path, std::uint64_t bytesPerSecond) {
    Fault fault = make(Kind::Throttle, std::move(path));
    fault.bytes = bytesPerSecond;
    return fault;
}

Fault Fault::stream(Kind kind, int parts) {
    Fault fault = make(kind, seriesStreams);
    fault.parts = parts;
    return fault;
}

Fault Fault::streamingRefused(int status) {
    return error(seriesStreams, status, "The archive offers no DICOMweb retrieval", "STREAMING_UNAVAILABLE");
}

Fault Fault::times(int requests) const {
    Fault fault = *this;
    fault.count = requests;
    return fault;
}

Fault Fault::after(int requests) const {
    Fault fault = *this;
    fault.skip = requests;
    return fault;
}

Fault Fault::on(std::string verb) const {
    Fault fault = *this;
    fault.method = std::move(verb);
    return fault;
}

const char* Fault::kindName(Kind kind) {
    for (const auto& [known, name] : kindNames) {
        if (known == kind) {
            return name;
        }
    }
    return "";
}

Fault::Kind Fault::kindOfName(const std::string& name) {
    for (const auto& [kind, known] : kindNames) {
        if (name == known) {
            return kind;
        }
    }
    throw std::invalid_argument("Unknown kind of fault: " + name);
}

} // namespace zorbel::demo
