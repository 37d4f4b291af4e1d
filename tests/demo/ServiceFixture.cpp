#include "ServiceFixture.h"

#include "demo/PhantomStudies.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include <unistd.h>

namespace zorbel::demo {

namespace fs = std::filesystem;

DemoService* ServiceFixture::service_ = nullptr;
TemporaryFolder* ServiceFixture::folder_ = nullptr;

TemporaryFolder::TemporaryFolder() {
    std::string name = fs::temp_directory_path() / "zorbel-demo-test-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

void ServiceFixture::SetUpTestSuite() {
    folder_ = new TemporaryFolder;
    writeBenchSeries(folder_->path(), slices, 64);
    service_ = new DemoService;
    service_->start();
    const DemoService::ImportResult result = service_->uploadFolder(folder_->path());
    ASSERT_EQ(result.stored, static_cast<std::size_t>(slices));
    ASSERT_TRUE(result.failures.empty());
}

void ServiceFixture::TearDownTestSuite() {
    delete service_;
    delete folder_;
}

void ServiceFixture::SetUp() {
    service().clearFaults();
    service().resetRequests();
}

httplib::Result
ServiceFixture::get(const std::string& path, const std::string& token, const std::string& accept) {
    httplib::Client client("127.0.0.1", service().port());
    httplib::Headers headers;
    if (!token.empty()) {
        headers.emplace("Authorization", "Bearer " + token);
    }
    if (!accept.empty()) {
        headers.emplace("Accept", accept);
    }
    return client.Get(path, headers);
}

nlohmann::json ServiceFixture::getJson(const std::string& path) {
    const httplib::Result reply = get(path);
    EXPECT_TRUE(reply) << path;
    EXPECT_EQ(reply->status, 200) << path;
    return nlohmann::json::parse(reply->body, nullptr, false);
}

std::string ServiceFixture::streamPath() {
    const nlohmann::json row = getJson(std::string(api) + "studies").at("studies").at(0);
    const std::string proxy = std::string(api) + "viewer-proxy/";
    const nlohmann::json study = getJson(proxy + "studies/" + row.at("orthancId").get<std::string>());
    const nlohmann::json series = getJson(proxy + "series/" + study.at("Series").at(0).get<std::string>());
    return proxy + "dicom-web/studies/" + row.at("studyInstanceUID").get<std::string>() + "/series/" +
           series.at("MainDicomTags").at("SeriesInstanceUID").get<std::string>();
}

std::string contentsOf(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

std::vector<std::string> contentsBelow(const fs::path& folder) {
    std::vector<std::string> all;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            all.push_back(contentsOf(entry.path()));
        }
    }
    std::sort(all.begin(), all.end());
    return all;
}

std::vector<std::string> partsOf(const httplib::Response& reply) {
    const std::string type = reply.get_header_value("Content-Type");
    std::string boundary = type.substr(type.find("boundary=") + 9);
    boundary.erase(std::remove(boundary.begin(), boundary.end(), '"'), boundary.end());
    const std::string delimiter = "--" + boundary;
    std::vector<std::string> parts;
    std::size_t at = reply.body.find(delimiter);
    while (at != std::string::npos) {
        const std::size_t next = reply.body.find(delimiter, at + delimiter.size());
        if (next == std::string::npos) {
            break;
        }
        const std::string part = reply.body.substr(at, next - at);
        const bool wide = part.find("\r\n\r\n") != std::string::npos;
        const std::size_t body = part.find(wide ? "\r\n\r\n" : "\n\n") + (wide ? 4 : 2);
        parts.push_back(part.substr(body, part.size() - body - (wide ? 2 : 1)));
        at = next;
    }
    return parts;
}

} // namespace zorbel::demo
