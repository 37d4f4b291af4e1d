#pragma once

#include <filesystem>
#include <string>

namespace zorbel::demo {

/// Where the demonstration keeps what outlives a run.
std::filesystem::path demoHome();

/// Made where it is missing, for the owner alone. Throws std::filesystem::filesystem_error.
std::filesystem::path privateFolder(const std::filesystem::path& folder);

/// A folder of this run's own, removed at its end. Those of runs that ended without their clean-up go now.
class FolderOfThisRun {
public:
    FolderOfThisRun(const std::filesystem::path& parent, const std::string& prefix);
    ~FolderOfThisRun();
    FolderOfThisRun(const FolderOfThisRun&) = delete;
    FolderOfThisRun& operator=(const FolderOfThisRun&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

/// Notes for other commands of the user where the demo service is that was started last, until it ends.
class ServiceNote {
public:
    explicit ServiceNote(const std::string& url);
    ~ServiceNote();
    ServiceNote(const ServiceNote&) = delete;
    ServiceNote& operator=(const ServiceNote&) = delete;

    /// Empty when none is noted.
    static std::string url();

private:
    std::string url_;
};

} // namespace zorbel::demo
