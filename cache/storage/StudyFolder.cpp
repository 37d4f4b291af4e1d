#include "cache/storage/StudyFolder.h"

#include "app/log/Logger.h"
#include "base/PathText.h"
#include "base/Uid.h"
#include "platform/FileInUse.h"
#include "platform/FileLock.h"
#include "platform/RandomName.h"

#include <stdexcept>
#include <string>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

/// A folder under such a name is one whose removal has begun.
constexpr char removingPrefix[] = ".removing-";

fs::path hiddenName(const fs::path& studyFolder) {
    return studyFolder.parent_path() / (removingPrefix + randomName());
}

bool isRealFolder(const fs::directory_entry& entry) {
    std::error_code ignored;
    return !entry.is_symlink(ignored) && entry.is_directory(ignored);
}

bool isBeingRemoved(const fs::path& name) {
    return name.u8string().starts_with(std::u8string_view(reinterpret_cast<const char8_t*>(removingPrefix)));
}

[[noreturn]] void failToRead(const std::string& reason) {
    throw std::runtime_error("Unable to read the viewer cache: " + reason);
}

std::vector<fs::path> foldersIn(const fs::path& scopeDirectory, bool (*wanted)(const fs::path& name)) {
    std::error_code error;
    const auto type = fs::symlink_status(scopeDirectory, error).type();
    if (type == fs::file_type::not_found)
        return {};
    if (type != fs::file_type::directory)
        failToRead(error ? error.message() : "its folder is none, or a link");
    std::vector<fs::path> folders;
    fs::directory_iterator entry(scopeDirectory, error);
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error))
        if (wanted(entry->path().filename()) && isRealFolder(*entry))
            folders.push_back(entry->path());
    if (error && error != std::errc::no_such_file_or_directory)
        failToRead(error.message());
    return folders;
}

std::uint64_t bytesIn(const fs::path& folder) {
    std::uint64_t bytes = 0;
    // Files may come and go meanwhile, and what cannot be read cannot be counted.
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, error);
    for (const fs::recursive_directory_iterator end; !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        if (entry->is_symlink(ignored) || !entry->is_regular_file(ignored))
            continue;
        const auto size = entry->file_size(ignored);
        if (!ignored)
            bytes += size;
    }
    return bytes;
}

} // namespace

bool isStudyName(const fs::path& name) {
    return isUid(pathText(name));
}

std::vector<StudyFolder> listStudyFolders(const fs::path& scopeDirectory) {
    std::vector<StudyFolder> studies;
    for (auto& path : foldersIn(scopeDirectory, isStudyName)) {
        std::error_code error;
        const auto stamp = fs::last_write_time(path, error);
        if (error)
            continue; // removed by somebody else
        const auto bytes = bytesIn(path);
        studies.push_back({std::move(path), bytes, stamp});
    }
    return studies;
}

bool isWriterAtWork(const fs::path& studyFolder) {
    std::error_code error;
    std::vector<fs::path> lockFiles;
    fs::directory_iterator entry(studyFolder / "series", error);
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        if (entry->path().extension() == ".lock" && !entry->is_symlink(ignored) &&
            entry->is_regular_file(ignored))
            lockFiles.push_back(entry->path());
    }
    for (const auto& file : lockFiles) {
        try {
            auto lock = FileLock::tryAcquire(file);
            if (!lock)
                return true;
            // Also takes back the file that the attempt creates when its writer has just ended.
            lock->removeFile();
        } catch (const std::system_error&) {
            // Gone with its folder, or not ours to open; the removal will tell.
        }
    }
    return false;
}

Removal removeStudyFolder(const StudyFolder& study) {
    std::error_code error;
    const auto stamp = fs::last_write_time(study.path, error);
    if (error == std::errc::no_such_file_or_directory)
        return Removal::Gone;
    if ((!error && stamp > study.stamp) || isWriterAtWork(study.path))
        return Removal::InUse;
    const fs::path hidden = hiddenName(study.path);
    fs::rename(study.path, hidden, error);
    if (error == std::errc::no_such_file_or_directory)
        return Removal::Gone;
    if (error) {
        if (isFileInUse(error) && isWriterAtWork(study.path))
            return Removal::InUse;
        throw fs::filesystem_error("Cannot remove a study", study.path, error);
    }
    if (isWriterAtWork(hidden)) {
        // It began between the two steps: it gets its folder back before it is missed.
        fs::rename(hidden, study.path, error);
        return Removal::InUse;
    }
    if ((error = removeTree(hidden)))
        throw fs::filesystem_error("Cannot remove a study", hidden, error);
    return Removal::Removed;
}

std::uint64_t removeLeftovers(const fs::path& scopeDirectory) {
    std::uint64_t bytes = 0;
    for (const auto& folder : foldersIn(scopeDirectory, isBeingRemoved)) {
        if (!isWriterAtWork(folder)) {
            const auto error = removeTree(folder);
            if (!error)
                continue;
            Logger::instance().warn(
                "Storage", "An unfinished removal from the viewer cache could not be finished",
                {{"reason", error.message()}});
        }
        bytes += bytesIn(folder);
    }
    return bytes;
}

std::error_code removeTree(const fs::path& path) {
    std::error_code error;
    // "Not found" tells that somebody else removes it too; what both leave out is found the next time round.
    for (int attempt = 0; attempt < 100; ++attempt) {
        fs::remove_all(path, error);
        if (error != std::errc::no_such_file_or_directory)
            break;
    }
    return error;
}

void hideStudyFolders(const fs::path& scopeDirectory) {
    for (const auto& path : foldersIn(scopeDirectory, isStudyName)) {
        std::error_code ignored; // one that cannot be moved may still be removed where it is
        fs::rename(path, hiddenName(path), ignored);
    }
}

} // namespace zorbel
