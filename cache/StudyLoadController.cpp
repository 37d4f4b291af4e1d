#include "cache/StudyLoadController.h"

#include "api/ConnectionAdvice.h"
#include "api/LogReason.h"
#include "app/log/CorrelationId.h"
#include "app/log/Logger.h"
#include "base/qt/BackgroundTask.h"
#include "cache/SeriesSuggestion.h"

#include <QPointer>

#include <utility>

namespace zorbel {

namespace {

constexpr char component[] = "MainWindow";

const QString sessionEndedText = QStringLiteral("Your session has ended.");

QString sourceDetail(const QString& sourceLabel) {
    return QStringLiteral("Securely downloading this series from %1").arg(sourceLabel);
}

} // namespace

StudyLoadFailure studyLoadFailure(const QString& message) {
    return {
        QStringLiteral("Load Error"),
        QStringLiteral("Could not load imaging data.\n\n") + message +
            QStringLiteral("\n\nCheck your Zorbel connection and confirm that the study is still available."),
        QStringLiteral("Load failed — ") + message.section(QLatin1Char('\n'), 0, 0)};
}

struct StudyLoadController::ListingResult {
    SeriesListing listing;
    QString failureText; ///< empty on success
    /// The study's copy on this computer, where the service failed without being out of order.
    std::optional<SeriesListing> localCopy{};
    bool sessionEnded = false;
};

StudyLoadController::StudyLoadController(
    std::shared_ptr<ZorbelApiClient> client, StudyLoadOptions options, QObject* parent)
    : QObject(parent), client_(std::move(client)), options_(std::move(options)) {
    // A stale load may still wind down while the next one lists its series and downloads.
    pool_.setMaxThreadCount(3);
    auditPool_.setMaxThreadCount(1);
    archivePool_.setMaxThreadCount(1);
    overdue_.setSingleShot(true);
    connect(&overdue_, &QTimer::timeout, this, &StudyLoadController::onListingOverdue);
}

StudyLoadController::~StudyLoadController() {
    shutDown();
    pool_.waitForDone();
    auditPool_.waitForDone();
    archivePool_.waitForDone();
}

void StudyLoadController::shutDown() {
    // No signal: the window that hears them may be half gone when this comes from the destructor.
    stopTasks();
    guard_.take();
    closing_->store(true);
}

void StudyLoadController::stopTasks() {
    overdue_.stop();
    for (const CancelFlag& flag : {cancelFlag_, listingPatience_})
        if (flag)
            flag->store(true);
}

void StudyLoadController::begin(const StudyIdentity& study) {
    stopTasks(); // what an older request still downloads is of no use to anybody
    cancelFlag_ = std::make_shared<std::atomic<bool>>(false);
    offeredSeries_.clear();
    offeredCopy_.reset();
    notice_.clear();
    record_ = {};
    mayBeArchived_ = localListing_ = pastOwnCopies_ = false;
    study_ = study;
    load_ = {guard_.take(), CorrelationId::generate(), study.studyInstanceUid};
    loading_ = true;
    Q_EMIT loadingChanged(true);
    Q_EMIT statusChanged(QStringLiteral("Preparing study"));
}

void StudyLoadController::openStudy(const StudyIdentity& study) {
    begin(study);
    Q_EMIT stageChanged(
        {QStringLiteral("Checking volume cache…"),
         QStringLiteral("Checking the private local cache before using the network")});
    Q_EMIT statusChanged(QStringLiteral("Checking volume cache…"));
    sendAudit();
    startCacheLoad();
}

void StudyLoadController::sendAudit() {
    runInBackground(
        auditPool_, this,
        [client = client_, uid = QString::fromStdString(study_->studyInstanceUid), closing = closing_] {
            client->sendViewerAudit(
                QStringLiteral("STUDY_OPEN"), uid, {}, closing); // a failure stops no reading
            return 0;
        },
        [](int) {});
}

void StudyLoadController::retry() {
    if (!study_)
        return;
    begin(StudyIdentity(*study_)); // a copy: begin() writes to it
    pastOwnCopies_ = true;
    startOrthancFallbackLoad();
}

void StudyLoadController::cancel() {
    if (!loading_)
        return;
    stopTasks();
    guard_.take();
    end();
    Q_EMIT loadCancelled(QStringLiteral("Study loading cancelled"));
}

void StudyLoadController::setStorage(std::optional<ViewerStorage> storage, const StoragePolicy& policy) {
    options_.storage = std::move(storage);
    options_.policy = policy;
}

void StudyLoadController::startCacheLoad() {
    runInBackground(
        pool_, this,
        [client = client_, options = options_, study = *study_, cancel = cancelFlag_,
         correlation = load_.correlationId] {
            const CorrelationId::Scope scope(correlation);
            return loadCachedStudy(client, options, study, cancel);
        },
        [this, load = load_](const CachedStudy& cached) { onCacheLoaded(load, cached); });
}

void StudyLoadController::onCacheLoaded(const Load& load, const CachedStudy& cached) {
    using Kind = CacheLoadOutcome::Kind;
    const CorrelationId::Scope scope(load.correlationId);
    auto& logger = Logger::instance();
    if (!guard_.isCurrent(load.ticket)) {
        logger.info(
            component, "Discarded stale volume-cache load result",
            {{"studyInstanceUID", load.studyInstanceUID}});
        return;
    }
    mayBeArchived_ = cached.archived;
    record_ = cached.record;
    const auto outcome = mapCacheResult(cached.result);
    const QString message = QString::fromStdString(outcome.userMessage);
    switch (outcome.kind) {
    case Kind::Loaded:
        if (!cached.image) {
            fail(QStringLiteral("MitkImageAdapter returned null"));
            return;
        }
        study_ = cached.study;
        end();
        Q_EMIT imageReady(cachedImageResult(cached));
        return;
    case Kind::FallBackToDicom:
        logger.info(
            component, "Cache load failed — falling back to DICOM", {{"reason", outcome.userMessage}});
        if (!outcome.missing) {
            notice_ = message;
            Q_EMIT statusChanged(message);
        }
        startOrthancFallbackLoad();
        return;
    case Kind::Abort:
        fail(message);
        return;
    }
}

void StudyLoadController::startOrthancFallbackLoad() {
    const QString text = QStringLiteral("Selecting the fastest authorized study source...");
    Q_EMIT stageChanged(
        {text, notice_.isEmpty() ? QStringLiteral("Preparing secure imaging data…") : notice_});
    Q_EMIT statusChanged(text);
    listingPatience_ = std::make_shared<std::atomic<bool>>(false);
    stageBegan_ = std::chrono::steady_clock::now();
    if (mayBeArchived_)
        overdue_.start(options_.archivePatience);
    runInBackground(
        pool_, this,
        [client = client_, archives = ownArchives(), study = *study_, cancel = cancelFlag_,
         patience = listingPatience_, correlation = load_.correlationId] {
            const CorrelationId::Scope scope(correlation);
            return listSeries(client, archives, study, cancel, patience);
        },
        [this, load = load_](const ListingResult& result) { onSeriesListed(load, result); });
}

void StudyLoadController::onListingOverdue() {
    listingPatience_->store(true);
}

/// This computer's archives where this load may use them.
std::optional<StudyArchives> StudyLoadController::ownArchives() const {
    if (!mayBeArchived_ || pastOwnCopies_ || !options_.storage)
        return std::nullopt;
    return StudyArchives(*options_.storage);
}

StudyLoadController::ListingResult StudyLoadController::listSeries(
    const std::shared_ptr<ZorbelApiClient>& client, const std::optional<StudyArchives>& archives,
    const StudyIdentity& study, const CancelFlag& cancel, const CancelFlag& patience) {
    ListingResult result;
    bool outage = false;
    bool refused = false; // the user, whom this computer's copies are then not for
    try {
        result.listing = listLoadableSeries(client, study, patience);
        if (!result.listing.series.empty())
            return result;
        result.failureText = QStringLiteral("Orthanc study contains no loadable series.");
    } catch (const std::exception& error) {
        Logger::instance().error(
            component, "Listing the study's series failed", {{"reason", logReason(error)}});
        result.failureText = messageWithAdvice(error);
        const auto* apiError = dynamic_cast<const ZorbelApiError*>(&error);
        outage = isCancelled(patience) || (apiError && apiError->isOutage());
        result.sessionEnded = isSessionEnd(error);
        refused = apiError && apiError->isRefusal() && !result.sessionEnded;
    } catch (...) {
        result.failureText = QStringLiteral("Unknown exception while loading the Orthanc series list");
    }
    if (!archives || isCancelled(cancel) || refused)
        return result;
    auto archived = listArchivedSeries(*archives, study);
    if (archived.series.empty())
        return result;
    if (outage)
        return {std::move(archived), {}};
    result.localCopy = std::move(archived);
    return result;
}

void StudyLoadController::onSeriesListed(const Load& load, const ListingResult& result) {
    const CorrelationId::Scope scope(load.correlationId);
    if (!guard_.isCurrent(load.ticket)) {
        Logger::instance().info(
            component, "Discarded stale Orthanc series-list result",
            {{"studyInstanceUID", load.studyInstanceUID}});
        return;
    }
    overdue_.stop();
    record_.add("listing of series", stageBegan_);
    if (result.sessionEnded) {
        waitForSession(
            [this] { startOrthancFallbackLoad(); },
            [this, copy = result.localCopy] {
                if (copy)
                    offerCopy(*copy, sessionEndedText);
                else
                    stopWithoutSession();
            });
        return;
    }
    if (result.localCopy) {
        offerCopy(*result.localCopy, result.failureText);
        return;
    }
    if (!result.failureText.isEmpty()) {
        fail(result.failureText);
        return;
    }
    if (result.listing.local)
        notice_ =
            QStringLiteral("The imaging service does not answer. This is the copy kept on this computer.");
    useListing(result.listing);
}

void StudyLoadController::waitForSession(
    const std::function<void()>& again, const std::function<void()>& without) {
    if (!options_.renewSession) {
        without();
        return;
    }
    Q_EMIT stageChanged({sessionEndedText, QStringLiteral("The study loads when you have signed in again.")});
    Q_EMIT statusChanged(sessionEndedText);
    options_.renewSession([controller = QPointer(this), load = load_, again, without](bool renewed) {
        if (!controller || !controller->guard_.isCurrent(load.ticket))
            return;
        const CorrelationId::Scope scope(load.correlationId);
        renewed ? again() : without();
    });
}

void StudyLoadController::stopWithoutSession() {
    guard_.take();
    end();
    Q_EMIT loadCancelled(
        QStringLiteral("Load stopped — %1 Sign in again to load this study.").arg(sessionEndedText));
}

void StudyLoadController::offerCopy(const SeriesListing& copy, const QString& reason) {
    offeredCopy_ = copy;
    offersFailure_ = reason;
    StudyLoadFailure failure = studyLoadFailure(reason);
    failure.text += QStringLiteral("\n\nA copy of this study is kept on this computer. Open the copy?");
    Q_EMIT localCopyOffered(load_.ticket, failure);
}

void StudyLoadController::answerLocalCopyOffer(StudyLoadGuard::Ticket question, bool open) {
    if (!guard_.isCurrent(question) || !offeredCopy_)
        return;
    const SeriesListing copy = *std::exchange(offeredCopy_, std::nullopt);
    if (open) {
        notice_ = QStringLiteral(
            "The imaging service did not serve this study. This is the copy kept on this computer.");
        useListing(copy);
        return;
    }
    guard_.take();
    end();
    Q_EMIT loadCancelled(studyLoadFailure(offersFailure_).status);
}

void StudyLoadController::useListing(const SeriesListing& listing) {
    study_ = listing.study;
    route_ = listing.route;
    localListing_ = listing.local;
    const auto& series = listing.series;
    if (series.size() == 1) {
        startSeriesLoad(series.front());
        return;
    }
    offeredSeries_ = series;
    Q_EMIT seriesChoiceNeeded(load_.ticket, series, suggestedSeries(series));
}

void StudyLoadController::chooseSeries(StudyLoadGuard::Ticket question, std::optional<int> row) {
    if (!guard_.isCurrent(question) || offeredSeries_.empty())
        return;
    const auto offered = std::exchange(offeredSeries_, {});
    if (row && *row >= 0 && static_cast<std::size_t>(*row) < offered.size()) {
        startSeriesLoad(offered[static_cast<std::size_t>(*row)]);
        return;
    }
    guard_.take();
    end();
    Q_EMIT loadCancelled(QStringLiteral("Series selection cancelled. No images were loaded."));
}

void StudyLoadController::startSeriesLoad(const OrthancSeriesSummary& series) {
    const CorrelationId::Scope scope(load_.correlationId);
    const QString text = QStringLiteral("Loading selected DICOM series from %1...")
                             .arg(localListing_ ? archiveSourceLabel() : route_.sourceLabel());
    Q_EMIT stageChanged(
        {text, notice_.isEmpty() ? QStringLiteral("Preparing secure imaging data…") : notice_});
    Q_EMIT statusChanged(text);
    Logger::instance().info(
        component, "Selected Orthanc series for DICOM fallback",
        {{"seriesInstanceUID", series.seriesInstanceUID.toStdString()},
         {"modality", series.modality.toStdString()}});
    const auto report = [this, ticket = load_.ticket](const LoadProgress& progress) {
        QMetaObject::invokeMethod(
            this, [this, ticket, progress] { onProgress(ticket, progress); }, Qt::QueuedConnection);
    };
    SeriesLoadRequest request{*study_, series, route_, std::nullopt, !pastOwnCopies_, localListing_};
    if (options_.storage)
        request.archives = StudyArchives(*options_.storage);
    runInBackground(
        pool_, this,
        [client = client_, request = std::move(request), workspace = &workspace_, cancel = cancelFlag_,
         correlation = load_.correlationId, report] {
            const CorrelationId::Scope taskScope(correlation);
            return LoadStudyFromOrthanc(client, request, *workspace, cancel, report);
        },
        [this, load = load_, series](const OrthancImageLoadResult& result) {
            if (result.outcome == OrthancImageLoadResult::Outcome::SessionEnded &&
                guard_.isCurrent(load.ticket))
                waitForSession([this, series] { startSeriesLoad(series); }, [this] { stopWithoutSession(); });
            else
                onStudyLoaded(load, result);
        });
}

void StudyLoadController::onProgress(StudyLoadGuard::Ticket ticket, const LoadProgress& progress) {
    if (!guard_.isCurrent(ticket))
        return;
    StudyLoadStage stage;
    stage.done = static_cast<int>(progress.done);
    stage.total = static_cast<int>(progress.total);
    const QString count =
        progress.done > 0 ? QStringLiteral("  %1 / %2").arg(progress.done).arg(progress.total) : QString();
    switch (progress.stage) {
    case LoadStage::Archive:
        stage.title = QStringLiteral("Loading study from local DICOM archive");
        stage.detail = QStringLiteral("Checking the private local archive before using the network");
        break;
    case LoadStage::Downloading:
        stage.title = QStringLiteral("Downloading DICOM instances");
        stage.detail = sourceDetail(progress.sourceLabel) + count;
        break;
    case LoadStage::Streaming:
        stage.title = QStringLiteral("Receiving CBCT series — %1 MB").arg(progress.receivedBytes / 1'000'000);
        stage.detail = sourceDetail(progress.sourceLabel) + count +
                       QStringLiteral("\nThis can take longer for large CBCT series");
        break;
    case LoadStage::Decoding:
        stage.title = QStringLiteral("Building diagnostic volume");
        stage.detail = QStringLiteral("Download complete. Preparing the diagnostic viewer…");
        break;
    }
    Q_EMIT statusChanged(stage.title);
    Q_EMIT stageChanged(stage);
}

void StudyLoadController::onStudyLoaded(const Load& load, const OrthancImageLoadResult& result) {
    const CorrelationId::Scope scope(load.correlationId);
    archive(load, result);
    if (!guard_.isCurrent(load.ticket)) {
        Logger::instance().info(
            component, "Discarded stale Orthanc study load result",
            {{"studyInstanceUID", load.studyInstanceUID}});
        return;
    }
    switch (result.outcome) {
    case OrthancImageLoadResult::Outcome::Loaded: {
        if (!result.image) {
            fail(QStringLiteral("MITK DICOM fallback returned null image"));
            return;
        }
        OrthancImageLoadResult shown = result;
        shown.notice = notice_;
        shown.record.prepend(record_);
        shown.downloaded.reset();
        end();
        Q_EMIT imageReady(shown);
        return;
    }
    case OrthancImageLoadResult::Outcome::Incomplete:
        Logger::instance().warn(
            component, "Incomplete DICOM series rejected; retry after PACS import completes.");
        end();
        Q_EMIT loadFailed(
            {QStringLiteral("Incomplete DICOM Series"),
             result.failureText +
                 QStringLiteral(
                     "\n\nThe partial stack was not opened as a 3D volume. Wait for the PACS import to "
                     "finish, click Retry from PACS, and select a complete diagnostic series."),
             QStringLiteral("Load failed — ") + result.failureText});
        return;
    case OrthancImageLoadResult::Outcome::Cancelled:
        end();
        Q_EMIT loadCancelled(result.failureText);
        return;
    case OrthancImageLoadResult::Outcome::SessionEnded: // of a load that is current no more
    case OrthancImageLoadResult::Outcome::Failed:
        fail(result.failureText);
        return;
    }
}

void StudyLoadController::archive(const Load& load, const OrthancImageLoadResult& result) {
    if (!result.downloaded || !options_.storage || isCancelled(closing_))
        return;
    // Beside the reading: the picture does not wait for the disk.
    runInBackground(
        archivePool_, this,
        [archives = StudyArchives(*options_.storage), downloaded = *result.downloaded,
         policy = options_.policy, closing = closing_, correlation = load.correlationId] {
            const CorrelationId::Scope scope(correlation);
            archives.store(downloaded, policy, closing);
            return 0;
        },
        [](int) {});
}

void StudyLoadController::fail(const QString& message) {
    end();
    Q_EMIT loadFailed(studyLoadFailure(message));
}

void StudyLoadController::end() {
    overdue_.stop();
    loading_ = false;
    offeredSeries_.clear();
    offeredCopy_.reset();
    Q_EMIT loadingChanged(false);
}

} // namespace zorbel
