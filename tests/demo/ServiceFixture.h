#pragma once

#include "demo/DemoService.h"

#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace zorbel::demo {

/// A folder that goes away with the object.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

/// One service for a whole test suite, holding one series of six small images.
class ServiceFixture : public ::testing::Test {
protected:
    static constexpr const char* api = "/apps/pacs/api/";
    static constexpr int slices = 6;

    static void SetUpTestSuite();
    static void TearDownTestSuite();
    void SetUp() override;

    httplib::Result get(const std::string& path, const std::string& token, const std::string& accept = {});
    httplib::Result get(const std::string& path) { return get(path, service().tokenFor(readerAccount)); }
    nlohmann::json getJson(const std::string& path);
    httplib::Result stream() { return get(streamPath(), service().tokenFor(readerAccount), streamAccept); }
    /// Path of the series' DICOMweb retrieve.
    std::string streamPath();

    static DemoService& service() { return *service_; }
    static const std::filesystem::path& files() { return folder_->path(); }

    static constexpr const char* streamAccept =
        "multipart/related; type=\"application/dicom\"; transfer-syntax=*";

private:
    static DemoService* service_;
    static TemporaryFolder* folder_;
};

std::string contentsOf(const std::filesystem::path& file);
/// The bodies of a multipart reply, split at its own boundary with either line end.
std::vector<std::string> partsOf(const httplib::Response& reply);
std::vector<std::string> contentsBelow(const std::filesystem::path& folder);

} // namespace zorbel::demo
