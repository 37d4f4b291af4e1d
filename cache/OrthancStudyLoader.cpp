#include "cache/OrthancStudyLoader.h"

#include "api/ConnectionAdvice.h"
#include "api/LogReason.h"
#include "app/log/Logger.h"
#include "base/WorkCancelled.h"
#include "cache/ReceivedSeries.h"
#include "cache/SeriesSuggestion.h"
#include "cache/SessionWorkspace.h"
#include "cache/StudyClassification.h"
#include "cache/rules/IncompleteDicomSeries.h"
#include "imaging/DicomSeriesReader.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <span>
#include <string>

namespace zorbel {

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned parallelDownloads = 6;
constexpr char component[] = "StudyLoader";

std::string milliseconds(Clock::time_point start) {
    return std::to_string(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

/// Passes on the first report of a stage and then at most ten a second; the last one of a stage always.
class ThrottledProgress {
public:
    explicit ThrottledProgress(const LoadProgressCallback& callback) : callback_(callback) {}

    void report(const LoadProgress& progress) {
        const auto now = Clock::now();
        const bool newStage = !started_ || progress.stage != stage_;
        const bool last = progress.total > 0 && progress.done == progress.total && !reportedLast_;
        if (!callback_ || (!newStage && !last && now - lastReport_ < std::chrono::milliseconds(100)))
            return;
        started_ = true;
        stage_ = progress.stage;
        reportedLast_ = last;
        lastReport_ = now;
        callback_(progress);
    }

private:
    const LoadProgressCallback& callback_;
    bool started_ = false;
    bool reportedLast_ = false;
    LoadStage stage_ = LoadStage::Downloading;
    Clock::time_point lastReport_;
};

/// The Local Node failed in the middle of a series that the cloud may serve as well.
class LocalNodeFailed {};

/// One series' way from its source to a decoded image.
class SeriesLoad {
public:
    SeriesLoad(
        const std::shared_ptr<ZorbelApiClient>& client, const SeriesLoadRequest& request,
        SessionWorkspace& workspace, const CancelFlag& cancel, const LoadProgressCallback& progress)
        : client_(client), request_(request), study_(request.study), series_(request.series),
          route_(request.route), workspace_(workspace), cancel_(cancel), progress_(progress) {}

    /// Fills in the image and what goes with it.
    void run(OrthancImageLoadResult& result) {
        if (request_.archives && request_.reuseArchive && openArchive(result))
            return;
        if (request_.local)
            throw std::runtime_error(
                "The copy of this series on this computer is damaged, and the imaging service did not serve "
                "it.");
        std::shared_ptr<SessionWorkspace::LoadFolder> folder = workspace_.newLoadFolder();
        std::vector<ReceivedInstance> instances;
        try {
            instances = download(folder->path());
        } catch (const LocalNodeFailed&) {
            folder = workspace_.newLoadFolder();
            findSeriesInCloud();
            instances = download(folder->path());
        }
        result.series = series_;
        result.sourceLabel = route_.sourceLabel();
        std::vector<std::filesystem::path> files;
        for (const ReceivedInstance& instance : instances)
            files.push_back(instance.file);
        result.image = build(files);
        if (request_.archives)
            result.downloaded = {
                study_.studyInstanceUid, series_.seriesInstanceUID, std::move(instances), std::move(folder)};
    }

    const LoadRecord& record() const { return record_; }

private:
    bool openArchive(OrthancImageLoadResult& result) {
        if (!request_.archives->mayHold(study_.studyInstanceUid, series_.seriesInstanceUID))
            return false;
        report({LoadStage::Archive, 0, 0, 0});
        const auto start = Clock::now();
        const auto files = request_.archives->open(study_.studyInstanceUid, series_, cancel_);
        stopIfCancelled();
        record_.add("archive check", start);
        if (!files)
            return false;
        Logger::instance().info(
            component, "Opening cached DICOM series",
            {{"seriesInstanceUID", series_.seriesInstanceUID.toStdString()},
             {"instances", std::to_string(files->size())}});
        try {
            result.image = build(*files);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& error) {
            stopIfCancelled();
            // The bytes are those that were once decoded, so this is worth a look at; the service may still
            // help.
            Logger::instance().warn(
                component, "The archived series could not be decoded", {{"reason", logReason(error)}});
            return false;
        }
        result.source = ImageSource::Archive;
        result.sourceLabel = archiveSourceLabel();
        request_.archives->touch(study_.studyInstanceUid);
        Logger::instance().info(component, "Local DICOM archive load completed");
        return true;
    }

    /// The cloud has its own ids for what the node named otherwise.
    void findSeriesInCloud() {
        route_ = client_->cloudRoute();
        for (const QString& id :
             client_->studySeriesIds(route_, QString::fromStdString(study_.orthancId), cancel_)) {
            auto candidate = client_->seriesSummary(route_, id, cancel_);
            if (candidate.seriesInstanceUID == series_.seriesInstanceUID) {
                series_ = std::move(candidate);
                return;
            }
        }
        throw std::runtime_error(
            "The Local Node failed during the transfer, and Zorbel Cloud does not hold this series.");
    }

    std::vector<ReceivedInstance> download(const std::filesystem::path& folder) {
        if (series_.instanceIds.isEmpty())
            throw std::runtime_error("Orthanc study contains no downloadable instances.");
        ReceivedSeries received(folder, series_.instanceIds, series_.seriesInstanceUID);
        try {
            download(received);
        } catch (const ZorbelApiError& error) {
            stopIfCancelled();
            giveUpLocalNode(error);
            throw;
        }
        return received.instances();
    }

    void download(ReceivedSeries& received) {
        Logger::instance().info(
            component, "Starting Orthanc DICOM download",
            {{"seriesInstanceUID", series_.seriesInstanceUID.toStdString()},
             {"instances", std::to_string(series_.instanceIds.size())}});
        report({LoadStage::Downloading, 0, 0, total()});
        if (!stream(received))
            downloadRest(received);
        stopIfCancelled();
    }

    /// False when the series has to be fetched instance by instance.
    bool stream(ReceivedSeries& received) {
        if (study_.studyInstanceUid.empty() || series_.seriesInstanceUID.isEmpty())
            return streamingUnavailable(std::runtime_error("the archive names no study or series UID"));
        if (isTooLargeForAStream())
            return streamingUnavailable(std::runtime_error("the series exceeds the limit of a stream"));
        const auto start = Clock::now();
        std::int64_t bytes = 0;
        try {
            client_->StreamSeries(
                route_, QString::fromStdString(study_.studyInstanceUid), series_.seriesInstanceUID,
                series_.instanceIds,
                [&](std::int64_t receivedBytes, std::int64_t) {
                    bytes = receivedBytes;
                    report({LoadStage::Streaming, bytes, received.instances().size(), total()});
                },
                cancel_,
                [&](const QString& id, const std::byte* data, std::size_t length, std::size_t, std::size_t) {
                    received.addStreamed(id, std::span(data, length));
                });
        } catch (const ZorbelApiError& error) {
            stopIfCancelled();
            if (error.status == 401)
                throw;
            if (error.status == 0)
                giveUpLocalNode(error);
            // What came before the limit came as it should, and stays.
            if (error.cause != ZorbelApiError::Cause::SafetyLimit)
                received.dropUnverified();
            return streamingUnavailable(error);
        } catch (const UnexpectedInstanceError& error) {
            received.dropUnverified();
            return streamingUnavailable(error);
        }
        Logger::instance().info(
            component, "Streaming DICOMweb transfer completed",
            {{"instances", std::to_string(received.instances().size())},
             {"megabytes", std::to_string(bytes / 1'000'000)},
             {"duration", milliseconds(start)}});
        record_.add("download as a stream", start);
        return true;
    }

    static bool streamingUnavailable(const std::exception& reason) {
        Logger::instance().warn(component, "Streaming DICOMweb unavailable", {{"reason", logReason(reason)}});
        return false;
    }

    bool isTooLargeForAStream() const {
        const std::uint64_t limit = client_->config().maximumDicomBytes;
        return total() > 1 && client_->seriesBytes(route_, series_.orthancId, cancel_).value_or(0) > limit;
    }

    void downloadRest(ReceivedSeries& received) {
        try {
            downloadMissing(received);
        } catch (const UnexpectedInstanceError&) {
            // Parts known by their position alone may have come in another order than the list's.
            if (!received.dropUnverified())
                throw;
            downloadMissing(received);
        }
    }

    void downloadMissing(ReceivedSeries& received) {
        const QStringList missing = received.missingIds();
        if (missing.isEmpty())
            return;
        const std::size_t alreadyThere = received.instances().size();
        const auto start = Clock::now();
        report({LoadStage::Downloading, 0, alreadyThere, total()});
        client_->DownloadInstances(
            route_, missing,
            [&](const QString& id, std::vector<std::byte> bytes, std::size_t completed, std::size_t) {
                received.addDownloaded(id, bytes);
                report({LoadStage::Downloading, 0, alreadyThere + completed, total()});
            },
            cancel_, parallelDownloads);
        Logger::instance().info(
            component, "Per-instance DICOM download completed",
            {{"instances", std::to_string(missing.size())}, {"duration", milliseconds(start)}});
        record_.add("download by instances", start);
    }

    std::shared_ptr<const imaging::Image> build(const std::vector<std::filesystem::path>& files) {
        report({LoadStage::Decoding, 0, 0, files.size()});
        const auto start = Clock::now();
        const auto analysis = imaging::DicomSeriesReader::analyze(files, cancel_.get());
        Logger::instance().info(
            component, "MITK DICOM analyze completed",
            {{"outputs", std::to_string(analysis.blocks.size())}, {"duration", milliseconds(start)}});
        record_.add("headers and grouping", start);
        record_.files = files.size();
        record_.blocks = analysis.blocks.size();
        record_.rejectedFiles = analysis.rejected.size();
        if (analysis.blocks.empty())
            throw std::runtime_error("MITK could not group the downloaded DICOM instances.");
        if (const auto incomplete = findIncompleteSeries(analysis.blocks, files.size())) {
            if (areUnlikeImages(analysis.blocks) && analysis.rejected.empty())
                throw std::runtime_error(
                    "This series holds grey and colour images, which cannot be shown together.");
            Logger::instance().warn(
                component, "Rejected incomplete DICOM image block",
                {{"seriesOrthancId", series_.orthancId.toStdString()},
                 {"availableFrames", std::to_string(incomplete->availableFrames)},
                 {"estimatedMissingFrames", std::to_string(incomplete->estimatedMissingFrames)}});
            throw IncompleteDicomSeriesError(*incomplete);
        }
        return decode(*largestBlock(analysis.blocks));
    }

    std::shared_ptr<const imaging::Image> decode(const imaging::ImageBlock& block) {
        const auto start = Clock::now();
        std::shared_ptr<const imaging::Image> image;
        try {
            image = imaging::DicomSeriesReader::load(
                block, cancel_.get(), [&](std::size_t done, std::size_t frames) {
                    report({LoadStage::Decoding, 0, done, frames});
                });
        } catch (const imaging::DicomReadError& error) {
            Logger::instance().warn(component, "DICOM decoding failed", {{"reason", error.what()}});
            throw std::runtime_error("MITK failed to load the downloaded DICOM series.");
        }
        if (!image)
            throw std::runtime_error("Downloaded study did not produce a MITK image.");
        Logger::instance().info(
            component, "Orthanc fallback volume ready",
            {{"frames", std::to_string(block.frameCount())}, {"duration", milliseconds(start)}});
        record_.add("decoding", start);
        for (const imaging::SplitReason& reason : block.splitReasons)
            record_.splitReasons.push_back(
                std::string(splitReasonName(reason.type)) +
                (reason.details.empty() ? "" : " (" + reason.details + ")"));
        return image;
    }

    /// In the automatic mode a node that does not answer is not asked again, instance by instance. What is
    /// too much for this computer is so wherever it comes from.
    void giveUpLocalNode(const ZorbelApiError& error) const {
        if (error.cause == ZorbelApiError::Cause::SafetyLimit || error.isSessionEnd() ||
            !client_->abandonLocalNode(route_))
            return;
        Logger::instance().warn(
            component, "Local Node failed during the transfer; loading from the cloud",
            {{"reason", logReason(error)}});
        throw LocalNodeFailed();
    }

    void stopIfCancelled() const { throwIfCancelled(cancel_.get()); }

    void report(LoadProgress progress) {
        progress.sourceLabel = route_.sourceLabel();
        progress_.report(progress);
    }

    std::size_t total() const { return static_cast<std::size_t>(series_.instanceIds.size()); }

    const std::shared_ptr<ZorbelApiClient>& client_;
    const SeriesLoadRequest& request_;
    const StudyIdentity& study_;
    OrthancSeriesSummary series_; ///< the cloud's where the node's failed
    ImageDataRoute route_;        ///< likewise
    SessionWorkspace& workspace_;
    const CancelFlag& cancel_;
    ThrottledProgress progress_;
    LoadRecord record_;
};

StudyRoute resolveSource(ZorbelApiClient& client, const StudyIdentity& study, const CancelFlag& cancel) {
    if (client.sourceKind() != SourceKind::CloudOnly && !client.selectedLocalNode().isEmpty()) {
        try {
            client.listLocalNodes(cancel); // addresses change
        } catch (const ZorbelApiError& error) {
            Logger::instance().warn(
                component, "The organization's Local Nodes could not be listed",
                {{"reason", logReason(error)}});
        }
    }
    return client.routeForStudy(QString::fromStdString(study.studyInstanceUid), cancel);
}

std::vector<OrthancSeriesSummary> loadableSeries(
    const ZorbelApiClient& client, const ImageDataRoute& route, const QString& studyId,
    const CancelFlag& cancel) {
    std::vector<OrthancSeriesSummary> found;
    for (const QString& id : client.studySeriesIds(route, studyId, cancel)) {
        auto series = client.seriesSummary(route, id, cancel);
        if (isLoadableSeries(series))
            found.push_back(std::move(series));
    }
    std::stable_sort(found.begin(), found.end(), [](const auto& left, const auto& right) {
        return left.seriesNumber.toInt() < right.seriesNumber.toInt();
    });
    return found;
}

/// A study that was found on this computer by its UID alone is named by its own images.
void completeIdentity(StudyIdentity& study, const imaging::ImageMetadata& metadata) {
    if (study.patientName.empty())
        study.patientName = metadata.patientName;
    if (study.studyDate.empty())
        study.studyDate = metadata.studyDate;
}

} // namespace

StudyIdentity
lookUpStudy(const ZorbelApiClient& client, const StudyIdentity& study, const CancelFlag& cancel) {
    constexpr int largestPage = 200;
    const QString uid = QString::fromStdString(study.studyInstanceUid);
    for (const QString& search : {uid, QString()}) {
        for (const auto& row : client.listStudies(search, largestPage, cancel))
            if (row.studyInstanceUID == uid)
                return identityOf(row);
    }
    throw ZorbelApiError("The requested study is not in your organization's study list.", 404);
}

SeriesListing listLoadableSeries(
    const std::shared_ptr<ZorbelApiClient>& client, StudyIdentity study, const CancelFlag& cancel) {
    SeriesListing listing{std::move(study), {}};
    if (listing.study.orthancId.empty())
        listing.study = lookUpStudy(*client, listing.study, cancel);
    const StudyRoute found = resolveSource(*client, listing.study, cancel);
    const QString cloudId = QString::fromStdString(listing.study.orthancId);
    listing.route = found.route;
    try {
        listing.series =
            loadableSeries(*client, found.route, found.route.isLocalNode ? found.studyId : cloudId, cancel);
    } catch (const ZorbelApiError& error) {
        if (isCancelled(cancel) || error.cause == ZorbelApiError::Cause::SafetyLimit ||
            error.isSessionEnd() || !client->abandonLocalNode(found.route))
            throw;
        Logger::instance().warn(
            component, "Local Node failed; loading from the cloud", {{"reason", logReason(error)}});
        listing.route = client->cloudRoute();
        listing.series = loadableSeries(*client, listing.route, cloudId, cancel);
    }
    return listing;
}

SeriesListing listArchivedSeries(const StudyArchives& archives, const StudyIdentity& study) {
    return {study, archives.series(study.studyInstanceUid), {}, true};
}

OrthancImageLoadResult LoadStudyFromOrthanc(
    const std::shared_ptr<ZorbelApiClient>& client, const SeriesLoadRequest& request,
    SessionWorkspace& workspace, const CancelFlag& cancel, const LoadProgressCallback& progress) {
    using Outcome = OrthancImageLoadResult::Outcome;
    OrthancImageLoadResult result;
    result.study = request.study;
    result.series = request.series;
    result.modality = request.series.modality.isEmpty() ? QString::fromStdString(request.study.modality)
                                                        : request.series.modality;
    result.sourceLabel = request.route.sourceLabel();
    const auto fail = [&result](Outcome outcome, const QString& text, const std::string& reason) {
        result.outcome = outcome;
        result.failureText = text;
        if (outcome == Outcome::Cancelled)
            Logger::instance().info(component, "DICOM load cancelled");
        else if (outcome == Outcome::Failed)
            Logger::instance().error(component, "Study load failed", {{"reason", reason}});
    };
    try {
        SeriesLoad load(client, request, workspace, cancel, progress);
        load.run(result);
        result.record = load.record();
        completeIdentity(result.study, result.image->metadata());
        const auto kind = StudyClassification::classify(result.modality, result.series.seriesDescription);
        result.volumetric = kind.isVolumetric() && result.image->isVolumetric();
        result.outcome = Outcome::Loaded;
    } catch (const WorkCancelled&) {
        fail(Outcome::Cancelled, QStringLiteral("DICOM load cancelled"), {});
    } catch (const IncompleteDicomSeriesError& error) {
        fail(Outcome::Incomplete, QString::fromUtf8(error.what()), {});
    } catch (const std::bad_alloc&) {
        fail(Outcome::Failed, QStringLiteral("Not enough memory to load this series."), "out of memory");
    } catch (const std::exception& error) {
        if (isCancelled(cancel))
            fail(Outcome::Cancelled, QStringLiteral("DICOM load cancelled"), {});
        else if (isSessionEnd(error))
            fail(Outcome::SessionEnded, QString::fromUtf8(error.what()), {});
        else
            fail(Outcome::Failed, messageWithAdvice(error), logReason(error));
    } catch (...) {
        fail(
            Outcome::Failed, QStringLiteral("Unknown exception while loading from Orthanc"),
            "unknown exception");
    }
    return result;
}

} // namespace zorbel
