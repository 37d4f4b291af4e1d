#pragma once

#include "tests/imaging/DicomFixture.h"
#include "tools/CommandLine.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace zorbel::tools::test {

/// Runs the tool's commands in this process, on a folder of the test's own.
class ToolTest : public testing::Test {
protected:
    imaging::test::TemporaryFolder folder_;
    std::ostringstream out_;
    std::ostringstream error_;

    int run(const std::vector<std::string>& arguments) {
        out_.str({});
        error_.str({});
        return runCommandLine(arguments, {out_, error_});
    }
    nlohmann::ordered_json printed() const { return nlohmann::ordered_json::parse(out_.str()); }
    std::string folder() const { return folder_.path().string(); }
    std::string cache() const { return (folder_.path() / "cache").string(); }
    /// Names of the files in the cache folder, sorted.
    std::vector<std::string> cacheFiles() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(cache()))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
};

/// Geometry and values, all that a volume and its cache must have in common.
inline nlohmann::ordered_json comparable(const nlohmann::ordered_json& volume) {
    nlohmann::ordered_json picked;
    for (const char* name :
         {"frames", "dimensions", "spacing", "origin", "direction", "sliceStep", "components", "minimum",
          "maximum", "mean", "sha256"})
        picked[name] = volume.at(name);
    return picked;
}

inline std::vector<std::string> namesOf(const nlohmann::ordered_json& object) {
    std::vector<std::string> names;
    for (const auto& [name, value] : object.items())
        names.push_back(name);
    return names;
}

} // namespace zorbel::tools::test
