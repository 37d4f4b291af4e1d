#include "cache/StudyLoadController.h"

#include "api/BackgroundTask.h"
#include "api/LogReason.h"
#include "app/log/CorrelationId.h"
#include "app/log/Logger.h"
#include "cache/SeriesSuggestion.h"

#include <utility>

namespace zorbel {

namespace {

constexpr char component[] = "MainWindow";

QString sourceDetail(const QString& sourceLabel) {
    return QStringLiteral("Securely downloading this series from %1").arg(sourceLabel);
}

} // namespace

StudyLoadFailure studyLoadFailure(const QString& message) {
    return {
        QStringLiteral("Load Error"),
        QStringLiteral("Could not load imaging data.\n\n") + message +
            QStringLiteral("\n\nCheck your Zorbel connection and confirm that the study is still available."),
        QStringLiteral("Load failed — ") + message};
}

struct StudyLoadController::ListingResult {
    SeriesListing listing;
    QString failureText; ///< empty on success
};

StudyLoadController::StudyLoadController(std::shared_ptr<ZorbelApiClient> client, QObject* parent)
    : QObject(parent), client_(std::move(client)) {
    // A stale load may still wind down while the next one lists its series and downloads.
    pool_.setMaxThreadCount(3);
    auditPool_.setMaxThreadCount(1);
}

StudyLoadController::~StudyLoadController() {
    shutDown();
}

void StudyLoadController::shutDown() {
    // No signal: the window that hears them may be half gone when this comes from the destructor.
    if (cancelFlag_)
        cancelFlag_->store(true);
    guard_.take();
    closing_->store(true);
    pool_.waitForDone();
    auditPool_.waitForDone();
}

void StudyLoadController::begin(const StudyRequest& study) {
    if (cancelFlag_)
        cancelFlag_->store(true); // what an older request still downloads is of no use to anybody
    cancelFlag_ = std::make_shared<std::atomic<bool>>(false);
    offeredSeries_.clear();
    study_ = study;
    load_ = {guard_.take(), CorrelationId::generate(), study.studyInstanceUID.toStdString()};
    loading_ = true;
    Q_EMIT loadingChanged(true);
    Q_EMIT statusChanged(QStringLiteral("Preparing study"));
}

void StudyLoadController::openStudy(const StudyRequest& study) {
    begin(study);
    Q_EMIT stageChanged(
        {QStringLiteral("Checking volume cache…"),
         QStringLiteral("Checking the private local cache before using the network")});
    Q_EMIT statusChanged(QStringLiteral("Checking volume cache…"));
    runInBackground(
        auditPool_, this,
        [client = client_, uid = study.studyInstanceUID, closing = closing_] {
            client->sendViewerAudit(
                QStringLiteral("STUDY_OPEN"), uid, {}, closing); // a failure stops no reading
            return 0;
        },
        [](int) {});
    startOrthancFallbackLoad();
}

void StudyLoadController::retry() {
    if (!study_)
        return;
    begin(StudyRequest(*study_)); // a copy: begin() writes to it
    startOrthancFallbackLoad();
}

void StudyLoadController::cancel() {
    if (!loading_)
        return;
    cancelFlag_->store(true);
    guard_.take();
    end();
    Q_EMIT loadCancelled(QStringLiteral("Study loading cancelled"));
}

void StudyLoadController::startOrthancFallbackLoad() {
    const QString text = QStringLiteral("Selecting the fastest authorized study source...");
    Q_EMIT stageChanged({text, QStringLiteral("Preparing secure imaging data…")});
    Q_EMIT statusChanged(text);
    runInBackground(
        pool_, this,
        [client = client_, study = *study_, cancel = cancelFlag_, correlation = load_.correlationId] {
            const CorrelationId::Scope scope(correlation);
            ListingResult result;
            try {
                result.listing = listLoadableSeries(client, study, cancel);
                if (result.listing.series.empty())
                    result.failureText = QStringLiteral("Orthanc study contains no loadable series.");
            } catch (const std::exception& error) {
                Logger::instance().error(
                    component, "Listing the study's series failed", {{"reason", logReason(error)}});
                result.failureText = QString::fromUtf8(error.what());
            } catch (...) {
                result.failureText =
                    QStringLiteral("Unknown exception while loading the Orthanc series list");
            }
            return result;
        },
        [this, load = load_](const ListingResult& result) { onSeriesListed(load, result); });
}

void StudyLoadController::onSeriesListed(const Load& load, const ListingResult& result) {
    const CorrelationId::Scope scope(load.correlationId);
    if (!guard_.isCurrent(load.ticket)) {
        Logger::instance().info(
            component, "Discarded stale Orthanc series-list result",
            {{"studyInstanceUID", load.studyInstanceUID}});
        return;
    }
    if (!result.failureText.isEmpty()) {
        fail(result.failureText);
        return;
    }
    study_ = result.listing.study;
    const auto& series = result.listing.series;
    if (series.size() == 1) {
        startSeriesLoad(series.front());
        return;
    }
    offeredSeries_ = series;
    Q_EMIT seriesChoiceNeeded(load.ticket, series, suggestedSeries(series));
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
    const QString text =
        QStringLiteral("Loading selected DICOM series from %1...").arg(client_->sourceLabel());
    Q_EMIT stageChanged({text, QStringLiteral("Preparing secure imaging data…")});
    Q_EMIT statusChanged(text);
    Logger::instance().info(
        component, "Selected Orthanc series for DICOM fallback",
        {{"seriesInstanceUID", series.seriesInstanceUID.toStdString()},
         {"modality", series.modality.toStdString()}});
    const auto report = [this, ticket = load_.ticket](const LoadProgress& progress) {
        QMetaObject::invokeMethod(
            this, [this, ticket, progress] { onProgress(ticket, progress); }, Qt::QueuedConnection);
    };
    runInBackground(
        pool_, this,
        [client = client_, study = *study_, series, workspace = &workspace_, cancel = cancelFlag_,
         correlation = load_.correlationId, report] {
            const CorrelationId::Scope taskScope(correlation);
            return LoadStudyFromOrthanc(client, study, series, *workspace, cancel, report);
        },
        [this, load = load_](const OrthancImageLoadResult& result) { onStudyLoaded(load, result); });
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
    case LoadStage::Downloading:
        stage.title = QStringLiteral("Downloading DICOM instances");
        stage.detail = sourceDetail(client_->sourceLabel()) + count;
        break;
    case LoadStage::Streaming:
        stage.title = QStringLiteral("Receiving CBCT series — %1 MB").arg(progress.receivedBytes / 1'000'000);
        stage.detail = sourceDetail(client_->sourceLabel()) + count +
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
    if (!guard_.isCurrent(load.ticket)) {
        Logger::instance().info(
            component, "Discarded stale Orthanc study load result",
            {{"studyInstanceUID", load.studyInstanceUID}});
        return;
    }
    switch (result.outcome) {
    case OrthancImageLoadResult::Outcome::Loaded:
        if (!result.image) {
            fail(QStringLiteral("MITK DICOM fallback returned null image"));
            return;
        }
        end();
        Q_EMIT imageReady(result);
        return;
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
    case OrthancImageLoadResult::Outcome::Failed:
        fail(result.failureText);
        return;
    }
}

void StudyLoadController::fail(const QString& message) {
    end();
    Q_EMIT loadFailed(studyLoadFailure(message));
}

void StudyLoadController::end() {
    loading_ = false;
    offeredSeries_.clear();
    Q_EMIT loadingChanged(false);
}

} // namespace zorbel
