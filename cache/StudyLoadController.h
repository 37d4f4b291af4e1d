#pragma once

#include "cache/CachedStudyLoader.h"
#include "cache/OrthancStudyLoader.h"
#include "cache/SessionWorkspace.h"
#include "cache/StudyLoadGuard.h"
#include "cache/StudyLoadOptions.h"

#include <QObject>
#include <QString>
#include <QThreadPool>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zorbel {

/// What the loading overlay shows: a title, a detail line, and how much of the stage is done where that is
/// known.
struct StudyLoadStage {
    QString title;
    QString detail;
    int done = 0;
    int total = 0; ///< 0: unknown
};

/// A failed load, ready for the message box and the status line.
struct StudyLoadFailure {
    QString title;
    QString text;
    QString status;
};

/// A load error's message in the words around it.
StudyLoadFailure studyLoadFailure(const QString& message);

/// Brings a study from the cheapest source to an image, in background tasks, and tells the window by signals
/// alone; which sources there are is nobody else's business. One request is current at a time: results of
/// older ones are discarded. Lives on the user-interface thread; its signals come there.
class StudyLoadController : public QObject {
    Q_OBJECT

public:
    StudyLoadController(
        std::shared_ptr<ZorbelApiClient> client, StudyLoadOptions options, QObject* parent = nullptr);
    /// shutDown(), waits for what it cancelled and removes the session's workspace. On a slow disk an archive
    /// may still have to get one file written, so the window should be gone by then.
    ~StudyLoadController() override;

    void openStudy(const StudyIdentity& study);
    /// Loads the current study anew from the image service, past this computer's own copies; does nothing
    /// before the first openStudy().
    void retry();
    /// Ends the current load at once for the user; the background work stops soon after. Nothing without a
    /// load.
    void cancel();
    /// Cancels what runs, silently, and waits for nothing; nothing may be opened afterwards.
    void shutDown();
    bool isLoading() const { return loading_; }
    const std::optional<StudyIdentity>& currentStudy() const { return study_; }

    /// For loads from now on; one that is under way ends with what it began with.
    void setStorage(std::optional<ViewerStorage> storage, const StoragePolicy& policy);

    /// The answer to seriesChoiceNeeded(): a row of the offered list, or nothing to give up the load. Answers
    /// to a question that is no longer open are ignored.
    void chooseSeries(StudyLoadGuard::Ticket question, std::optional<int> row);
    /// The answer to localCopyOffered(), likewise.
    void answerLocalCopyOffer(StudyLoadGuard::Ticket question, bool open);

Q_SIGNALS:
    /// A load began, or ended in whatever way.
    void loadingChanged(bool loading);
    void stageChanged(const zorbel::StudyLoadStage& stage);
    void statusChanged(const QString& status);
    /// Several series: one must be confirmed with chooseSeries().
    void seriesChoiceNeeded(
        zorbel::StudyLoadGuard::Ticket question, const std::vector<zorbel::OrthancSeriesSummary>& series,
        int suggestedRow);
    /// The service cannot serve the study, for the reason that `failure` tells, but its copy on this computer
    /// can: to be answered with answerLocalCopyOffer().
    void localCopyOffered(zorbel::StudyLoadGuard::Ticket question, const zorbel::StudyLoadFailure& failure);
    /// The image is here: show it, then its status texts.
    void imageReady(const zorbel::OrthancImageLoadResult& result);
    void loadFailed(const zorbel::StudyLoadFailure& failure);
    /// The user cancelled, gave up the series choice, or did not sign in again; `status` says so.
    void loadCancelled(const QString& status);

private:
    struct ListingResult;

    /// What a background task of one load carries along, so that its result can be told from others' and
    /// logged as its own, however late it comes.
    struct Load {
        StudyLoadGuard::Ticket ticket;
        std::string correlationId;
        std::string studyInstanceUID;
    };

    void begin(const StudyIdentity& study);
    void sendAudit();
    void startCacheLoad();
    void onCacheLoaded(const Load& load, const CachedStudy& cached);
    void startOrthancFallbackLoad();
    /// `cancel` is the user's; `patience` ends the question to the service, so that an archive may answer it.
    static ListingResult listSeries(
        const std::shared_ptr<ZorbelApiClient>& client, const std::optional<StudyArchives>& archives,
        const StudyIdentity& study, const CancelFlag& cancel, const CancelFlag& patience);
    std::optional<StudyArchives> ownArchives() const;
    void onListingOverdue();
    void stopTasks();
    void onSeriesListed(const Load& load, const ListingResult& result);
    void useListing(const SeriesListing& listing);
    void startSeriesLoad(const OrthancSeriesSummary& series);
    /// The session has ended: the load waits for the user to sign in again and goes on with `again`, or with
    /// `without` it.
    void waitForSession(const std::function<void()>& again, const std::function<void()>& without);
    void stopWithoutSession();
    void offerCopy(const SeriesListing& copy, const QString& reason);
    void archive(const Load& load, const OrthancImageLoadResult& result);
    void onProgress(StudyLoadGuard::Ticket ticket, const LoadProgress& progress);
    void onStudyLoaded(const Load& load, const OrthancImageLoadResult& result);
    void fail(const QString& message);
    void end();

    std::shared_ptr<ZorbelApiClient> client_;
    StudyLoadOptions options_;
    SessionWorkspace workspace_;
    QThreadPool pool_;
    QThreadPool archivePool_; ///< one series after the other, beside the loads
    QThreadPool auditPool_;   ///< of its own, so that a service slow to take audits delays no study
    StudyLoadGuard guard_;
    CancelFlag cancelFlag_;
    CancelFlag closing_ = std::make_shared<std::atomic<bool>>(false); ///< ends what outlives a single load
    Load load_;                                                       ///< the current one, or the last
    std::optional<StudyIdentity> study_;
    std::vector<OrthancSeriesSummary> offeredSeries_; ///< while a series choice is open
    std::optional<SeriesListing> offeredCopy_;        ///< while its offer is open
    QString offersFailure_;                           ///< why it is offered
    ImageDataRoute route_;                            ///< of this load's images
    bool pastOwnCopies_ = false;                      ///< of this load: only the service's images will do
    bool mayBeArchived_ = false;
    bool localListing_ = false;
    LoadRecord record_; ///< of this load so far, but for its series
    std::chrono::steady_clock::time_point stageBegan_;
    QString notice_;             ///< what this load's result will have to say about its way
    CancelFlag listingPatience_; ///< ends a listing that takes too long where there is an archive
    QTimer overdue_;
    bool loading_ = false;
};

} // namespace zorbel
