#include "demo/word/WordControl.h"

#include "demo/RestReplies.h"
#include "demo/word/WordDesk.h"
#include "demo/word/WordReplies.h"

#include <nlohmann/json.hpp>

#include <regex>

namespace zorbel::demo {

using nlohmann::json;

namespace {

constexpr const char* pageStart = R"html(<!DOCTYPE html>
<html lang="en"><meta charset="utf-8"><title>Word reports - demo service</title>
<style>
body { font: 15px/1.5 Poppins, Inter, sans-serif; margin: 2rem auto; max-width: 64rem; padding: 0 1rem; color: #1c2430 }
h1 { font-size: 1.5rem } h2 { font-size: 1.1rem; margin: 2rem 0 0 }
p { color: #5b6675; margin: .2rem 0 .6rem }
table { border-collapse: collapse; width: 100% } th, td { text-align: left; padding: .3rem .8rem .3rem 0 }
td { border-top: 1px solid #dde3ea } td.digest { font: 13px monospace; overflow-wrap: anywhere }
form { display: inline } button { font: inherit; padding: .2rem .8rem }
</style>
<h1>Word reports</h1>
<p>Every save in the word processor is a version of its own here. The demo service keeps them as long as it runs.</p>
<form method="post" action="/demo/word/sessions/expire"><button>All sessions expire now</button></form>
)html";

std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string author(const DeskVersion& version) {
    if (!version.savedBy.empty()) {
        return version.savedBy;
    }
    return version.number == 1 ? "template" : "somebody else";
}

std::string rowOf(const DeskVersion& version) {
    return "<tr><td><a href=\"/demo/word/versions/" + version.id + "\">" + std::to_string(version.number) +
           "</a><td>" + utcText(version.savedAt) + "<td>" + author(version) + "<td>" +
           std::to_string(version.bytes->size()) + "<td class=\"digest\">" + version.sha256;
}

std::string sectionOf(const DeskReport& report) {
    std::string html = "<h2>" + escaped(report.templateName) + "</h2><p>Report " + report.id + ", study " +
                       escaped(report.studyInstanceUid) +
                       "</p><table><tr><th>Version<th>Saved<th>By<th>Bytes"
                       "<th>SHA-256";
    for (const DeskVersion& version : report.versions) {
        html += rowOf(version);
    }
    return html + "</table><form method=\"post\" action=\"/demo/word/reports/" + report.id +
           "/conflict\"><button>Somebody else saves a version</button></form>";
}

} // namespace

HttpReply WordControl::answer(const HttpServer::Request& request) const {
    HttpReply reply = carryOut(request);
    // A button of the page: back to it.
    if (request.method == "POST" && reply.status < 300 &&
        request.get_header_value("Accept").find("text/html") != std::string::npos) {
        reply = HttpReply::bytes(303, "text/plain", "");
        reply.headers.emplace("Location", path);
    }
    return reply;
}

HttpReply WordControl::carryOut(const HttpServer::Request& request) const {
    const std::string what = request.method + " " + request.path;
    if (what == "GET /demo/word") {
        return page();
    }
    if (what == "GET /demo/word/reports") {
        return reports();
    }
    static const std::regex one("GET /demo/word/versions/([0-9a-f-]+)");
    static const std::regex conflict("POST /demo/word/reports/([0-9a-f-]+)/conflict");
    static const std::regex sessions("POST /demo/word/sessions/([a-z]+)");
    std::smatch found;
    if (std::regex_match(what, found, one)) {
        return version(found[1]);
    }
    if (std::regex_match(what, found, conflict)) {
        const std::string made = desk_.makeConflict(found[1]);
        return made.empty() ? notFound() : jsonReply({{"versionId", made}}, 201);
    }
    return std::regex_match(what, found, sessions) ? changeSessions(found[1], request.body) : notFound();
}

HttpReply WordControl::page() const {
    std::string html = pageStart;
    for (const DeskReport& report : desk_.reports()) {
        html += sectionOf(report);
    }
    return HttpReply::bytes(200, "text/html; charset=utf-8", html);
}

HttpReply WordControl::reports() const {
    json list = json::array();
    for (const DeskReport& report : desk_.reports()) {
        json versions = json::array();
        for (const DeskVersion& one : report.versions) {
            versions.push_back(
                {{"versionId", one.id},
                 {"number", one.number},
                 {"savedAt", utcText(one.savedAt)},
                 {"savedBy", author(one)},
                 {"bytes", one.bytes->size()},
                 {"sha256", one.sha256}});
        }
        list.push_back(
            {{"reportId", report.id},
             {"studyInstanceUID", report.studyInstanceUid},
             {"templateName", report.templateName},
             {"versions", versions}});
    }
    return jsonReply({{"reports", list}});
}

HttpReply WordControl::version(const std::string& versionId) const {
    const auto found = desk_.version(versionId);
    if (!found) {
        return notFound();
    }
    HttpReply reply = documentReply(*found);
    reply.headers.emplace(
        "Content-Disposition",
        "attachment; filename=\"Report-version-" + std::to_string(found->number) + ".docx\"");
    return reply;
}

HttpReply WordControl::changeSessions(const std::string& how, const std::string& body) const {
    if (how == "expire") {
        desk_.expireSessions();
    } else if (how == "forget") {
        desk_.forgetSessions();
    } else if (how == "lifetime") {
        const json wanted = json::parse(body, nullptr, false);
        if (!wanted.is_object() || !wanted.value("seconds", json()).is_number_unsigned()) {
            return failure(400, "The seconds are missing", "VALIDATION_ERROR");
        }
        desk_.setSessionLifetime(std::chrono::seconds(wanted["seconds"].get<std::uint32_t>()));
    } else {
        return notFound();
    }
    return jsonReply({{"success", true}});
}

} // namespace zorbel::demo
