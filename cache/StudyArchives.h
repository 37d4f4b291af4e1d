#pragma once

#include "api/StudyRecords.h"
#include "base/CancelFlag.h"
#include "cache/ReceivedSeries.h"
#include "cache/SessionWorkspace.h"
#include "cache/storage/ViewerStorage.h"

#include <QString>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zorbel {

/// A downloaded series as it lies in the session's workspace, on its way into the archive.
struct DownloadedSeries {
    std::string studyInstanceUid;
    QString seriesInstanceUID;
    std::vector<ReceivedInstance> instances;
    std::shared_ptr<SessionWorkspace::LoadFolder> folder; ///< keeps the files
};

/// The archives of downloaded series, as the study load uses them: reopened only when every byte is as it was
/// written, replaced only by a whole new copy. A disk that fails costs the archive, never the study: failures
/// are logged. Any thread; needs no network.
class StudyArchives {
public:
    explicit StudyArchives(ViewerStorage storage) : storage_(std::move(storage)) {}

    /// Whether there may be an archive of the study, or of the one series; a look at one folder.
    bool mayHold(const std::string& studyInstanceUid, const QString& seriesInstanceUID = {}) const;
    /// The study's archived series, described from their files; what is damaged is left out.
    std::vector<OrthancSeriesSummary> series(const std::string& studyInstanceUid) const;
    /// The archived files of a series, checked, when they are the very instances that `series` lists; nothing
    /// otherwise. A damaged archive is set aside.
    std::optional<std::vector<std::filesystem::path>> open(
        const std::string& studyInstanceUid, const OrthancSeriesSummary& series,
        const CancelFlag& cancel) const;
    /// Moves a downloaded series into the archive and enforces the policy. A set flag ends it soon: the
    /// archive is the earlier or the new one.
    void
    store(const DownloadedSeries& downloaded, const StoragePolicy& policy, const CancelFlag& closing) const;
    /// The study was opened from this computer: it is the last that the quota takes.
    void touch(const std::string& studyInstanceUid) const;

private:
    void enforce(const StoragePolicy& policy) const;

    ViewerStorage storage_;
};

} // namespace zorbel
