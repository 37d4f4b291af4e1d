#include "demo/word/WordCommand.h"

#include "demo/DemoAccounts.h"

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <ostream>
#include <stdexcept>

namespace zorbel::demo {

using nlohmann::json;

namespace {

std::string get(const std::string& serviceUrl, const std::string& path) {
    httplib::Client client(serviceUrl);
    if (client.is_valid()) {
        client.set_basic_auth(administratorAccount.email, administratorAccount.password);
        if (const auto reply = client.Get(path.c_str()); reply && reply->status == 200) {
            return reply->body;
        }
    }
    throw std::runtime_error("There is no demo service at " + serviceUrl + ".");
}

json reportsOf(const std::string& serviceUrl) {
    try {
        return json::parse(get(serviceUrl, "/demo/word/reports")).at("reports");
    } catch (const json::exception&) {
        throw std::runtime_error(serviceUrl + " is not the demo service.");
    }
}

} // namespace

void listReports(const std::string& serviceUrl, std::ostream& out) {
    const json reports = reportsOf(serviceUrl);
    if (reports.empty()) {
        out << "No report has been opened yet.\n";
    }
    for (const json& report : reports) {
        out << report.at("templateName").get<std::string>() << ", study "
            << report.at("studyInstanceUID").get<std::string>() << ", report "
            << report.at("reportId").get<std::string>() << "\n";
        for (const json& one : report.at("versions")) {
            out << "  version " << one.at("number") << "  " << one.at("versionId").get<std::string>() << "  "
                << one.at("savedAt").get<std::string>() << "  " << one.at("bytes") << " bytes  sha256 "
                << one.at("sha256").get<std::string>() << "  " << one.at("savedBy").get<std::string>()
                << "\n";
        }
    }
}

void fetchVersion(
    const std::string& serviceUrl, const std::string& versionId, const std::filesystem::path& file) {
    std::string found;
    for (const json& report : reportsOf(serviceUrl)) {
        for (const json& one : report.at("versions")) {
            const auto id = one.at("versionId").get<std::string>();
            if (id.rfind(versionId, 0) == 0) {
                if (!found.empty()) {
                    throw std::runtime_error("More than one version's id begins with " + versionId + ".");
                }
                found = id;
            }
        }
    }
    if (found.empty()) {
        throw std::runtime_error("There is no version " + versionId + ".");
    }
    const std::string bytes = get(serviceUrl, "/demo/word/versions/" + found);
    std::ofstream stream(file, std::ios::binary);
    if (!(stream << bytes << std::flush)) {
        throw std::runtime_error(file.string() + " cannot be written.");
    }
}

} // namespace zorbel::demo
