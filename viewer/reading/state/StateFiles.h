#pragma once

#include "platform/FileLock.h"

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zorbel {

/// The files of the reading state under one root folder: private to the user, each replaced in one step, none
/// larger than a limit. Without a root they live in memory and end with this object, which is what a session
/// that keeps nothing needs. File names are relative to the root, with "/" between their parts.
///
/// Other programs may work under the same root. What reads, decides and writes does so under lock(); what
/// lies there half written while the lock is held belongs to a program that was killed. One thread.
class StateFiles {
public:
    static constexpr std::size_t largestText = std::size_t{8} << 20;
    static constexpr std::size_t largestPicture = std::size_t{256} << 20;

    /// Nothing is created before the first write. What killed programs left is removed, unless somebody is
    /// writing just now; a failure of that is no matter.
    explicit StateFiles(std::filesystem::path root);

    bool isKept() const { return !root_.empty(); }
    /// Waits a short while for others. Nothing when it was not to be had, or there is no root folder yet:
    /// each file is still replaced whole, but two programs may then miss each other's changes.
    std::optional<FileLock> lock() const;
    /// Takes a lock of its own name, without waiting. False when somebody else has it; where there are no
    /// locks, or there is no root folder yet, nobody has, and `lock` stays empty.
    bool tryClaim(const std::string& name, std::optional<FileLock>& lock) const;

    /// Nothing when the file is missing, or cannot be read, which is logged; one that is too large is set
    /// aside. Never throws but for want of memory.
    std::optional<std::string> read(const std::string& name, std::size_t largest = largestText);
    /// Creates missing folders. Throws std::system_error; the file is then as it was. One that could not be
    /// read is set aside before it would be lost.
    void write(const std::string& name, std::string_view bytes, std::size_t largest = largestText);
    /// Throws std::system_error.
    void createFolder(const std::string& name);
    bool exists(const std::string& name) const;
    /// Whether it is gone.
    bool remove(const std::string& name);
    /// Copies what is kept of studies, and the recent ones, to other files. What lies there of the same study
    /// and differs is set aside. Throws std::system_error; what was copied so far stays there.
    void copyTo(StateFiles& other);
    /// Of the files directly in a folder; none where it cannot be read.
    std::vector<std::string> namesIn(const std::string& folder) const;
    /// Moves a damaged file to "<name>.damaged-<time>", in place of an earlier one, and logs it.
    void setAside(const std::string& name);
    /// Whether an earlier one was set aside and still lies there.
    bool hasDamaged(const std::string& name) const;

private:
    std::filesystem::path pathOf(const std::string& name) const;
    std::vector<std::string> foldersIn(const std::string& folder) const;
    void copyFile(const std::string& name, StateFiles& other);
    void copyKeyImages(const std::string& folder, StateFiles& other);
    std::vector<std::filesystem::path> damagedVersions(const std::string& name) const;
    void removeLeftovers() const;

    std::filesystem::path root_;
    std::map<std::string, std::string> memory_; ///< by name; used without a root
    std::set<std::string> unread_;              ///< there, but not to be read
};

/// The UID without the blanks around it; nothing unless it is digits in groups separated by dots, at most 64
/// characters, and so a safe file name.
std::optional<std::string> studyFileName(std::string_view studyInstanceUid);

} // namespace zorbel
