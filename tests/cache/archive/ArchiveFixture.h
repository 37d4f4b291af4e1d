#pragma once

#include "cache/archive/StudyArchiveReader.h"
#include "cache/archive/StudyArchiveTransaction.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <set>
#include <string>

namespace zorbel::tests {

using test::errorOf;

/// Archives of one series in a folder of the running test's own.
class ArchiveFixture : public testing::Test {
protected:
    explicit ArchiveFixture(const std::filesystem::path& base = std::filesystem::temp_directory_path())
        : folder_(base) {}

    using Contents = std::map<std::string, std::string>; ///< by instance id
    using State = StudyArchiveReader::State;

    static Contents oldContents() {
        return {{"a", "first, old"}, {"b", std::string(70'000, 'o')}, {"c", "3"}};
    }
    static Contents newContents() { return {{"b", std::string(70'000, 'n')}, {"d-1_X", "4"}, {"e", "5"}}; }

    StudyArchiveTransaction begin(std::chrono::milliseconds timeout = std::chrono::seconds(20)) const {
        return StudyArchiveTransaction::begin(archive, "1.2", "1.2.3", timeout);
    }
    /// The files lie elsewhere first, as those of a download do.
    void store(const Contents& contents, const std::filesystem::path& incoming) const {
        auto transaction = begin();
        for (const auto& [id, bytes] : contents) {
            test::writeFile(incoming / id, bytes);
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
                contents[instance.id] = test::readFile(instance.file);
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

private:
    const test::TemporaryFolder folder_;

protected:
    const std::filesystem::path root = folder_.path();
    const std::filesystem::path archive = root / "scope" / "1.2" / "series" / "1.2.3";
};

} // namespace zorbel::tests
