#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/// A folder named after the running test, so that a death test's second process finds the same one.
class TestFolder : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    static std::string contents(const std::filesystem::path& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static std::vector<std::filesystem::path> entries(const std::filesystem::path& path) {
        return {std::filesystem::directory_iterator(path), {}};
    }

    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() /
        (std::string("zorbel-") + testing::UnitTest::GetInstance()->current_test_info()->name());
};
