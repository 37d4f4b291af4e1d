#include "report/WordReport.h"

#include "api/LogReason.h"
#include "app/log/Logger.h"
#include "base/qt/BackgroundTask.h"
#include "report/WordDocumentWatch.h"

#include <QDateTime>

#include <algorithm>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace zorbel {

namespace {

constexpr char component[] = "WordReport";
/// At a file that is no whole document and does not change, before it is what somebody meant to save.
constexpr int mostUnfinishedLooks = 20;

void log(const char* message, const std::exception& error) {
    Logger::instance().warn(component, message, {{"reason", logReason(error)}});
}

/// Somebody removed it under the word processor, whose next save needs it.
void keepFolder(const WordWorkingFolder& folder, const WordReportRecord& record) {
    std::error_code error;
    if (std::filesystem::exists(folder.path(), error) || error)
        return;
    try {
        folder.writeRecord(record);
    } catch (const std::runtime_error&) {
        // Logged, and tried again at the next look.
    }
}

} // namespace

/// Of one delivery.
struct WordReport::Outcome {
    std::optional<WordSaveResult> result; ///< confirmed
    WordSyncFailure failure;
    WordReportRecord record; ///< as it is now
};

WordReport::WordReport(
    const WordService& service, QThreadPool& pool, WordWorkingFolder folder, WordReportRecord record,
    WordReportTiming timing, State state, QObject* parent)
    : QObject(parent), service_(service), pool_(pool), folder_(std::move(folder)), record_(std::move(record)),
      timing_(timing), cancel_(std::make_shared<std::atomic<bool>>(false)), state_(state),
      retryDelay_(timing.firstRetry) {
    lookSoon_.setSingleShot(true);
    lookSoon_.setInterval(timing.settle);
    retry_.setSingleShot(true);
    connect(&lookSoon_, &QTimer::timeout, this, &WordReport::look);
    connect(&retry_, &QTimer::timeout, this, [this] {
        force_ = true;
        look();
    });
}

WordReport::~WordReport() {
    *cancel_ = true;
}

void WordReport::watch() {
    if (watch_)
        return;
    watch_ = new WordDocumentWatch(folder_.document(), timing_, this);
    connect(watch_, &WordDocumentWatch::lookDue, this, &WordReport::look);
}

void WordReport::unwatch() {
    delete watch_;
    watch_ = nullptr;
}

void WordReport::sync(Telling telling) {
    force_ = true;
    tellAgain_ = tellAgain_ || telling == Telling::Again;
    look();
}

void WordReport::overwrite() {
    record_.conflict = false;
    sync();
}

void WordReport::look() {
    if (looking_ || sending_) {
        lookAgain_ = true;
        return;
    }
    looking_ = true;
    lookAgain_ = false;
    if (force_)
        mark_.reset();
    runInBackground(
        pool_, this,
        [folder = folder_, record = record_, mark = mark_] {
            auto look = WordDocumentFile::look(folder.document(), mark);
            if (look.finding == WordDocumentFile::Finding::Missing)
                keepFolder(folder, record);
            return look;
        },
        [this](WordDocumentFile::Look look) {
            looking_ = false;
            take(std::move(look));
        });
}

void WordReport::take(WordDocumentFile::Look seen) {
    using Finding = WordDocumentFile::Finding;
    const bool wasMissing =
        std::exchange(missing_, seen.finding == Finding::Missing || seen.finding == Finding::Unreadable);
    if (watch_ && !missing_)
        watch_->renew();
    switch (seen.finding) {
    case Finding::Unchanged:
        break;
    case Finding::Whole:
        mark_ = seen.mark;
        takeWhole(std::move(seen.contents));
        break;
    case Finding::Unfinished:
        takeUnfinished(seen.mark);
        break;
    case Finding::Missing:
    case Finding::Unreadable:
        takeMissing();
        break;
    }
    if (missing_ != wasMissing)
        Q_EMIT stateChanged();
    if (lookAgain_)
        look();
    else if (!sending_ && !lookSoon_.isActive())
        Q_EMIT settled();
}

void WordReport::takeMissing() {
    // It comes back, as a rule, within the same save; the watch and its poll see that.
    if (!watch_ && state_ == State::Failed && failure_.kind == WordSyncFailure::Kind::Outage)
        retry_.start(timing_.longestRetry);
}

void WordReport::takeUnfinished(const WordDocumentFile::Mark& mark) {
    if (unfinished_ != mark)
        unfinishedLooks_ = 0;
    unfinished_ = mark;
    if (unfinishedLooks_ >= mostUnfinishedLooks) { // known already
        mark_ = mark;
        force_ = false;
        if (tellAgain_)
            fail(failure_);
        return;
    }
    if (++unfinishedLooks_ < mostUnfinishedLooks) {
        if (state_ != State::Failed)
            setState(State::Unsynced);
        lookSoon_.start();
        return;
    }
    mark_ = mark;
    force_ = false;
    retry_.stop();
    failedSha256_.clear();
    fail(WordSyncFailure::noWordDocument());
}

void WordReport::takeWhole(WordDocumentFile::Contents contents) {
    unfinished_.reset();
    if (contents.sha256 == record_.syncedSha256) {
        force_ = false;
        tellAgain_ = false;
        failedSha256_.clear();
        toldReason_.clear();
        retry_.stop();
        setState(State::Synced);
        return;
    }
    if (record_.conflict) {
        force_ = false;
        failedSha256_ = contents.sha256;
        fail(failure_.kind == WordSyncFailure::Kind::Conflict ? failure_ : WordSyncFailure::anotherVersion());
        return;
    }
    if (!force_ && (contents.sha256 == failedSha256_ || waitsForReader()))
        setState(State::Failed);
    else
        send(std::move(contents));
}

bool WordReport::waitsForReader() const {
    using Kind = WordSyncFailure::Kind;
    return !failedSha256_.empty() &&
           (failure_.kind == Kind::SessionGone || failure_.kind == Kind::SignInNeeded);
}

void WordReport::send(WordDocumentFile::Contents contents) {
    force_ = false;
    sending_ = true;
    retry_.stop();
    setState(State::Syncing);
    Q_EMIT syncBegan();
    const bool askFirst = contents.sha256 == record_.sentSha256; // it may have arrived
    failedSha256_ = contents.sha256;
    runInBackground(
        pool_, this,
        [job = Job{&service_, folder_, record_, cancel_}, contents = std::move(contents), askFirst] {
            return deliver(job, contents, askFirst);
        },
        [this](const Outcome& outcome) { takeOutcome(outcome); });
}

WordReport::Outcome WordReport::deliver(Job job, const WordDocumentFile::Contents& contents, bool askFirst) {
    Outcome outcome;
    const QString& session = job.record.session.sessionId;
    const auto remember = [&job] {
        try {
            job.folder.writeRecord(job.record);
        } catch (const std::runtime_error&) {
            // Logged. Without it the service is asked once more what it holds.
        }
    };
    bool sent = false;
    try {
        if (askFirst && isAtService(job, contents.bytes)) {
            outcome.result = WordSaveResult{
                .approved = true,
                .saved = true,
                .createdVersion = true,
                .versionId = {},
                .canonicalVersionId = {},
                .savedAt = {}};
        } else {
            job.record.sentSha256 = contents.sha256;
            remember();
            sent = true;
            outcome.result = job.service->save(session, contents.bytes, job.cancel);
        }
        job.record.syncedSha256 = contents.sha256;
        job.record.serviceSha256 = contents.sha256;
        job.record.sentSha256.clear();
        job.record.savedAt = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
        if (!outcome.result->versionId.isEmpty())
            job.record.versionId = outcome.result->versionId;
        job.record.versions += outcome.result->createdVersion ? 1 : 0;
        remember();
    } catch (const WordSyncFailure& failure) {
        outcome.failure = failure;
    } catch (const std::exception& error) {
        log("The Word report could not be synced", error);
        outcome.failure = WordSyncFailure::of(error);
        if (sent && !outcome.failure.mayBeStored)
            job.record.sentSha256.clear();
        if (outcome.failure.kind == WordSyncFailure::Kind::Conflict)
            job.record.serviceSha256.clear();
    }
    if (!outcome.result && outcome.failure.kind == WordSyncFailure::Kind::Conflict) {
        job.record.conflict = true; // also at the next start
        remember();
    }
    outcome.record = job.record;
    return outcome;
}

bool WordReport::isAtService(Job& job, const QByteArray& bytes) {
    const QByteArray held = job.service->document(job.record.session.sessionId, job.cancel);
    if (held == bytes)
        return true;
    const std::string known = std::exchange(job.record.serviceSha256, WordDocumentFile::digest(held));
    if (!known.empty() && known != job.record.serviceSha256)
        throw WordSyncFailure::anotherVersion();
    return false;
}

void WordReport::takeOutcome(const Outcome& outcome) {
    sending_ = false;
    record_ = outcome.record;
    if (outcome.result)
        confirm(*outcome.result);
    else
        fail(outcome.failure);
    // What was saved meanwhile, the newest only.
    mark_.reset();
    look();
}

void WordReport::confirm(const WordSaveResult& result) {
    failedSha256_.clear();
    toldReason_.clear();
    tellAgain_ = false;
    retryDelay_ = timing_.firstRetry;
    setState(State::Synced);
    Q_EMIT versionConfirmed(result);
}

void WordReport::fail(const WordSyncFailure& failure) {
    const bool again = std::exchange(tellAgain_, false);
    const bool told = std::exchange(toldReason_, failure.reason) == failure.reason && !again;
    failure_ = failure;
    setState(State::Failed);
    if (failure.kind == WordSyncFailure::Kind::Outage) {
        retry_.start(retryDelay_);
        retryDelay_ = std::min(retryDelay_ * 2, timing_.longestRetry);
    }
    if (!told)
        Q_EMIT syncFailed(failure);
}

void WordReport::setState(State state) {
    if (state_ == state)
        return;
    state_ = state;
    Q_EMIT stateChanged();
}

} // namespace zorbel
