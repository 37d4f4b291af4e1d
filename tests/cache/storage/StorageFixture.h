#pragma once

#include "cache/storage/ViewerStorage.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace zorbel::test {

/// One user's storage in a folder of the test's own.
class StorageFixture : public testing::Test {
protected:
    using Time = ViewerStorage::Time;

    StorageFixture() {
        std::filesystem::permissions(folder, std::filesystem::perms(0755)); // a user's ordinary folder
    }

    static void write(const std::filesystem::path& file, std::size_t bytes) {
        writeFile(file, std::string(bytes, 'x'));
    }

    /// A study as a volume cache with one archived series, of `bytes` in all, opened `age` ago.
    std::filesystem::path
    addStudy(const std::string& uid, std::size_t bytes, std::chrono::seconds age) const {
        const auto study = storage().scopeDirectory() / uid;
        write(study / "manifest.json", bytes / 2);
        write(study / "series" / "1.9" / "a.dcm", bytes - bytes / 2);
        std::filesystem::last_write_time(study, now - age);
        return study;
    }

    ViewerStorage storage(const std::string& user = "user-1") const {
        return {folder / "cache", StorageScope::of("org-1", user)};
    }

    static std::vector<std::string> namesIn(const std::filesystem::path& path) {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    std::vector<std::string> kept() const { return namesIn(storage().scopeDirectory()); }

    /// The exception's text.
    template <typename Failure, typename Call>
    static std::string failureOf(Call call) {
        try {
            call();
            return "no failure";
        } catch (const Failure& error) {
            return error.what();
        }
    }

private:
    const TemporaryFolder temporary_;

protected:
    const std::filesystem::path folder = temporary_.path();
    const Time now = Time::clock::now();
};

using Names = std::vector<std::string>;

} // namespace zorbel::test
