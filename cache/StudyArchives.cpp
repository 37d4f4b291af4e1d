#include "cache/StudyArchives.h"

#include "app/log/Logger.h"
#include "base/Uid.h"
#include "base/WorkCancelled.h"
#include "cache/archive/StudyArchiveReader.h"
#include "cache/archive/StudyArchiveTransaction.h"
#include "imaging/DicomSeriesReader.h"

#include <QSet>

#include <algorithm>
#include <chrono>
#include <exception>
#include <set>
#include <string>
#include <system_error>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

constexpr char component[] = "StudyArchive";
constexpr auto lockTimeout = std::chrono::seconds(10);

void warn(const std::string& message, const std::string& reason) {
    Logger::instance().warn(component, message, {{"reason", reason}});
}

/// What the series dialog and the choice of the view need to know, from the file of one instance.
std::optional<OrthancSeriesSummary> summaryOf(const ArchivedSeries& archived) {
    const auto analysis = imaging::DicomSeriesReader::analyze({archived.instances.front().file});
    if (analysis.blocks.empty())
        return std::nullopt;
    const auto& metadata = analysis.blocks.front().metadata;
    OrthancSeriesSummary summary;
    summary.seriesInstanceUID = QString::fromStdString(archived.seriesInstanceUID);
    summary.modality = QString::fromStdString(metadata.modality);
    summary.seriesDescription = QString::fromStdString(metadata.seriesDescription);
    for (const auto& instance : archived.instances)
        summary.instanceIds += QString::fromStdString(instance.id);
    return summary;
}

/// Whose archive this is, or was until a writer moved it away; otherwise no UID.
std::string seriesOf(const fs::directory_entry& entry) {
    const std::string name = entry.path().filename().string();
    return name.substr(0, name.find(".replaced-"));
}

bool holdsExactly(const ArchivedSeries& archived, const QStringList& ids) {
    const QSet<QString> listed(ids.begin(), ids.end());
    return static_cast<std::size_t>(listed.size()) == archived.instances.size() &&
           std::all_of(archived.instances.begin(), archived.instances.end(), [&](const auto& instance) {
               return listed.contains(QString::fromStdString(instance.id));
           });
}

} // namespace

bool StudyArchives::mayHold(const std::string& studyInstanceUid, const QString& seriesInstanceUID) const {
    try {
        std::error_code error;
        const std::string wanted = seriesInstanceUID.toStdString();
        const auto folder = fs::directory_iterator(storage_.archivesDirectory(studyInstanceUid), error);
        return std::any_of(fs::begin(folder), fs::end(folder), [&](const fs::directory_entry& entry) {
            std::error_code ignored;
            return (wanted.empty() || seriesOf(entry) == wanted) && entry.is_directory(ignored);
        });
    } catch (const std::exception&) {
        return false; // no UID: nothing was ever kept under it
    }
}

std::vector<OrthancSeriesSummary> StudyArchives::series(const std::string& studyInstanceUid) const {
    std::vector<OrthancSeriesSummary> found;
    try {
        const auto folder = storage_.archivesDirectory(studyInstanceUid);
        std::set<std::string> uids;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(folder, error)) {
            // Beside an archive lie its lock and what a writer is, or was, at work on.
            const std::string uid = seriesOf(entry);
            if (isUid(uid))
                uids.insert(uid);
        }
        for (const std::string& uid : uids) {
            const auto result = StudyArchiveReader::describe(folder / uid, studyInstanceUid, uid);
            if (result.state != StudyArchiveReader::State::Described)
                continue;
            if (auto summary = summaryOf(result.series))
                found.push_back(std::move(*summary));
        }
    } catch (const std::exception& failure) {
        warn("The study's archives could not be listed", failure.what());
    }
    return found;
}

std::optional<std::vector<fs::path>> StudyArchives::open(
    const std::string& studyInstanceUid, const OrthancSeriesSummary& series, const CancelFlag& cancel) const {
    using State = StudyArchiveReader::State;
    try {
        const auto folder =
            storage_.archiveDirectory(studyInstanceUid, series.seriesInstanceUID.toStdString());
        const auto result = StudyArchiveReader::verify(
            folder, studyInstanceUid, series.seriesInstanceUID.toStdString(), cancel.get());
        if (result.state == State::Damaged) {
            warn("Damaged study archive set aside", result.reason);
            if (!StudyArchiveReader::setAside(folder))
                warn("A damaged study archive could not be moved", result.reason);
        }
        if (result.state != State::Verified)
            return std::nullopt;
        if (!holdsExactly(result.series, series.instanceIds)) {
            Logger::instance().info(component, "The series has changed since it was archived");
            return std::nullopt;
        }
        return result.series.files();
    } catch (const std::exception& failure) {
        warn("The study archive could not be opened", failure.what());
        return std::nullopt;
    }
}

void StudyArchives::store(
    const DownloadedSeries& downloaded, const StoragePolicy& policy, const CancelFlag& closing) const {
    const bool verified = std::all_of(
        downloaded.instances.begin(), downloaded.instances.end(),
        [](const ReceivedInstance& instance) { return instance.idVerified; });
    if (!verified) {
        warn("Study not archived", "the image archive's ids do not tell which image is which");
        return;
    }
    try {
        if (isCancelled(closing))
            return;
        auto transaction = StudyArchiveTransaction::begin(
            storage_.archiveDirectory(
                downloaded.studyInstanceUid, downloaded.seriesInstanceUID.toStdString()),
            downloaded.studyInstanceUid, downloaded.seriesInstanceUID.toStdString(), lockTimeout,
            closing.get());
        for (const ReceivedInstance& instance : downloaded.instances) {
            if (isCancelled(closing))
                return;
            transaction.adopt(instance.id.toStdString(), instance.file);
        }
        transaction.commit(closing.get());
    } catch (const WorkCancelled&) {
        Logger::instance().info(component, "Study not archived: the session ends");
        return;
    } catch (const std::exception& failure) {
        warn("Study could not be archived", failure.what());
        return;
    }
    touch(downloaded.studyInstanceUid);
    Logger::instance().info(
        component, "Study archived for future local reopen",
        {{"seriesInstanceUID", downloaded.seriesInstanceUID.toStdString()},
         {"instances", std::to_string(downloaded.instances.size())}});
    if (!isCancelled(closing)) // else the next start does
        enforce(policy);
}

void StudyArchives::enforce(const StoragePolicy& policy) const {
    try {
        const auto result = storage_.applyPolicy(policy, ViewerStorage::Time::clock::now());
        Logger::instance().info(
            component, "Viewer cache quota enforced after study download",
            {{"remainingBytes", std::to_string(result.remainingBytes)},
             {"removedDirectories", std::to_string(result.removedDirectories)}});
    } catch (const std::exception& failure) {
        warn("Viewer cache quota could not be enforced", failure.what());
    }
}

void StudyArchives::touch(const std::string& studyInstanceUid) const {
    try {
        storage_.touch(storage_.studyDirectory(studyInstanceUid));
    } catch (const std::exception& failure) {
        warn("The opened study keeps its age in the cache", failure.what());
    }
}

} // namespace zorbel
