#pragma once

#include "cache/archive/StudyArchiveReader.h"
#include "cache/archive/StudyArchiveTransaction.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>

namespace zorbel::tests {

/// Archives of one series in a folder of the running test's own.
class ArchiveFixture : public testing::Test {
protected:
    explicit ArchiveFixture(const std::filesystem::path& base = std::filesystem::temp_directory_path())
        : root(
              base / (std::string("zorbel-archive-") +
                      testing::UnitTest::GetInstance()->current_test_info()->name())) {}

    using Contents = std::map<std::string, std::string>; ///< by instance id
    using State = StudyArchiveReader::State;

    void SetUp() override {
        std::filesystem::remove_all(root);
        std::filesystem::create_directories(root);
    }
    void TearDown() override { std::filesystem::remove_all(root); }

    static Contents oldContents() {
        return {{"a", "first, old"}, {"b", std::string(70'000, 'o')}, {"c", "3"}};
    }
    static Contents newContents() { return {{"b", std::string(70'000, 'n')}, {"d-1_X", "4"}, {"e", "5"}}; }

    static void write(const std::filesystem::path& file, const std::string& bytes) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << bytes;
    }
    static std::string read(const std::filesystem::path& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    StudyArchiveTransaction begin(std::chrono::milliseconds timeout = std::chrono::seconds(20)) const {
        return StudyArchiveTransaction::begin(archive, "1.2", "1.2.3", timeout);
    }
    /// The files lie elsewhere first, as those of a download do.
    void store(const Contents& contents, const std::filesystem::path& incoming) const {
        auto transaction = begin();
        for (const auto& [id, bytes] : contents) {
            write(incoming / id, bytes);
            transaction.adopt(id, incoming / id);
        }
        transaction.commit();
    }
    void store(const Contents& contents) const { store(contents, root / "incoming"); }

    StudyArchiveReader::Result verify() const { return StudyArchiveReader::verify(archive, "1.2", "1.2.3"); }
    /// Empty unless every file is as its manifest says.
    Contents verified() const {
        Contents contents;
        const auto result = verify();
        if (result.state == State::Verified)
            for (const auto& instance : result.series.instances)
                contents[instance.id] = read(instance.file);
        return contents;
    }
    /// What lies beside the archive and its lock.
    std::set<std::string> leftovers() const {
        std::set<std::string> names;
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(archive.parent_path(), error))
            names.insert(entry.path().filename().string());
        names.erase(archive.filename().string());
        names.erase(archive.filename().string() + ".lock");
        return names;
    }

    const std::filesystem::path root;
    const std::filesystem::path archive = root / "scope" / "1.2" / "series" / "1.2.3";
};

/// What the action threw; empty: nothing.
template <class Action>
std::string errorOf(Action action) {
    try {
        action();
    } catch (const std::exception& failure) {
        return failure.what();
    }
    return {};
}

} // namespace zorbel::tests
