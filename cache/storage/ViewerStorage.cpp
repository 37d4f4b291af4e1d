#include "cache/storage/ViewerStorage.h"

#include "app/log/Logger.h"
#include "base/Uid.h"
#include "cache/storage/StudyFolder.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

constexpr std::uint32_t longestRetentionDays = 365;
constexpr char invalidStudyDirectory[] = "Invalid viewer cache study directory";

void logReason(const char* message, const std::string& reason) {
    Logger::instance().warn("Storage", message, {{"reason", reason}});
}

void sortOldestFirst(std::vector<StudyFolder>& studies) {
    std::sort(studies.begin(), studies.end(), [](const StudyFolder& a, const StudyFolder& b) {
        return std::tie(a.stamp, a.path) < std::tie(b.stamp, b.path);
    });
}

/// Otherwise they would be the youngest until the clock has caught up, which may take years. They keep their
/// order among themselves.
void bringToThePresent(std::vector<StudyFolder>& oldestFirst, ViewerStorage::Time now) {
    auto stamp = now;
    for (auto study = oldestFirst.rbegin(); study != oldestFirst.rend() && study->stamp > now; ++study) {
        study->stamp = stamp;
        std::error_code ignored; // on a read-only disk the next run tries again
        fs::last_write_time(study->path, stamp, ignored);
        stamp -= std::chrono::microseconds(1);
    }
}

/// One run of the policy over the studies that were found.
class Enforcement {
public:
    Enforcement(std::vector<StudyFolder> oldestFirst, std::uint64_t bytesBeside)
        : studies_(std::move(oldestFirst)) {
        result_.remainingBytes = bytesBeside;
        for (const auto& study : studies_)
            result_.remainingBytes += study.bytes;
    }

    const PolicyResult& result() const { return result_; }

    void removeOlderThan(ViewerStorage::Time limit) {
        const auto firstYounger = std::find_if(
            studies_.begin(), studies_.end(), [limit](const auto& study) { return study.stamp >= limit; });
        for (auto study = studies_.begin(); study != firstYounger; ++study)
            remove(*study, "Unable to remove an expired viewer cache entry");
        studies_.erase(studies_.begin(), firstYounger);
    }

    void removeUntil(std::uint64_t quotaBytes) {
        for (const auto& study : studies_) {
            if (result_.remainingBytes <= quotaBytes)
                return;
            remove(study, "Unable to enforce the viewer cache quota");
        }
    }

private:
    void remove(const StudyFolder& study, const char* failure) {
        Removal removal{};
        try {
            removal = removeStudyFolder(study);
        } catch (const fs::filesystem_error& error) {
            logReason("A study could not be removed from the viewer cache", error.code().message());
            throw std::runtime_error(failure);
        }
        if (removal != Removal::InUse)
            result_.remainingBytes -= study.bytes;
        if (removal == Removal::Removed)
            ++result_.removedDirectories;
    }

    std::vector<StudyFolder> studies_; ///< oldest first
    PolicyResult result_;
};

} // namespace

ViewerStorage::ViewerStorage(fs::path cacheRoot, StorageScope scope)
    : cacheRoot_(std::move(cacheRoot)), scope_(std::move(scope)) {
    if (cacheRoot_.empty())
        throw std::invalid_argument("Viewer cache root is empty");
}

fs::path ViewerStorage::scopeDirectory() const {
    return cacheRoot_ / scope_.identifier();
}

fs::path ViewerStorage::studyDirectory(const std::string& studyInstanceUid) const {
    if (!isUid(studyInstanceUid))
        throw std::invalid_argument(invalidStudyDirectory);
    return scopeDirectory() / studyInstanceUid;
}

fs::path ViewerStorage::archivesDirectory(const std::string& studyInstanceUid) const {
    return studyDirectory(studyInstanceUid) / "series";
}

fs::path ViewerStorage::archiveDirectory(
    const std::string& studyInstanceUid, const std::string& seriesInstanceUid) const {
    if (!isUid(seriesInstanceUid))
        throw std::invalid_argument("Invalid viewer cache series directory");
    return archivesDirectory(studyInstanceUid) / seriesInstanceUid;
}

PolicyResult ViewerStorage::applyPolicy(const StoragePolicy& policy, Time now) const {
    if (policy.retentionDays > longestRetentionDays)
        throw std::invalid_argument("Viewer cache retention is outside the allowed range");
    const auto unremovableBytes = removeLeftovers(scopeDirectory());
    auto studies = listStudyFolders(scopeDirectory());
    sortOldestFirst(studies);
    bringToThePresent(studies, now);
    Enforcement run(std::move(studies), unremovableBytes);
    if (policy.retentionDays > 0)
        run.removeOlderThan(now - std::chrono::hours(24) * policy.retentionDays);
    run.removeUntil(policy.quotaBytes);
    return run.result();
}

void ViewerStorage::touch(const fs::path& studyDirectory) const {
    // Compared part by part as written, so that no ".." leads out.
    if (studyDirectory.parent_path() != scopeDirectory() || !isStudyName(studyDirectory.filename()))
        throw std::invalid_argument(invalidStudyDirectory);
    std::error_code error;
    const auto type = fs::symlink_status(studyDirectory, error).type();
    if (type == fs::file_type::not_found)
        throw std::runtime_error("Viewer cache study directory is unavailable");
    if (type != fs::file_type::directory && type != fs::file_type::none)
        throw std::invalid_argument(invalidStudyDirectory);
    fs::last_write_time(studyDirectory, Time::clock::now(), error);
    if (error) {
        logReason("A study's time in the viewer cache could not be renewed", error.message());
        throw std::runtime_error("Unable to update viewer cache access time");
    }
}

StorageUsage ViewerStorage::usage() const {
    StorageUsage usage;
    for (const auto& study : listStudyFolders(scopeDirectory())) {
        ++usage.studies;
        usage.bytes += study.bytes;
    }
    return usage;
}

std::error_code ViewerStorage::tryClear() const {
    try {
        hideStudyFolders(scopeDirectory());
    } catch (const std::runtime_error&) {
        // A link or a file in the folder's place: it is removed itself, and nothing behind it.
    }
    return removeTree(scopeDirectory());
}

void ViewerStorage::clear() const {
    if (const auto error = tryClear()) {
        logReason("The viewer cache could not be cleared", error.message());
        throw std::runtime_error("Unable to clear the viewer cache");
    }
}

} // namespace zorbel
