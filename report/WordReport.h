#pragma once

#include "base/CancelFlag.h"
#include "report/WordDocumentFile.h"
#include "report/WordReportTiming.h"
#include "report/WordService.h"
#include "report/WordSyncFailure.h"
#include "report/WordWorkingFolder.h"

#include <QObject>
#include <QTimer>

#include <memory>
#include <optional>
#include <string>

class QThreadPool;

namespace zorbel {

class WordDocumentWatch;

/// One report on this computer: keeps the service's newest version the same as the document that the word
/// processor saves. Whatever it does to the file, only whole documents are sent, each once, the newest next;
/// what did not arrive is tried again. The disk and the network are waited for in the pool. User-interface
/// thread.
class WordReport : public QObject {
    Q_OBJECT

public:
    enum class State {
        Synced,
        Unsynced, ///< changed on this computer, and nothing is under way or has failed yet
        Syncing,
        Failed, ///< see failure()
    };

    /// service and pool must outlive it; the pool's tasks are not waited for here. state: as far as it is
    /// known before the first look.
    WordReport(
        const WordService& service, QThreadPool& pool, WordWorkingFolder folder, WordReportRecord record,
        WordReportTiming timing, State state = State::Synced, QObject* parent = nullptr);
    ~WordReport() override;

    const WordReportRecord& record() const { return record_; }
    const WordWorkingFolder& folder() const { return folder_; }
    State state() const { return state_; }
    bool isSynced() const { return state_ == State::Synced; }
    /// Of the last attempt that failed.
    const WordSyncFailure& failure() const { return failure_; }
    /// A save did not arrive, and nothing has since.
    bool isOverdue() const { return !toldReason_.isEmpty(); }
    /// The document is not where it was, or cannot be read.
    bool isDocumentMissing() const { return missing_; }

    /// Follows what is saved from now on.
    void watch();
    void unwatch();
    enum class Telling { Again, Once };
    /// Looks at the document now, and sends it where it differs from what the service has, also where that
    /// failed before; not where it met another version. settled() tells when that is over. Again: a failure
    /// that was told is told once more.
    void sync(Telling telling = Telling::Again);
    /// As sync(): the reader wants it to be the newest version although another was made meanwhile.
    void overwrite();

Q_SIGNALS:
    void stateChanged();
    void syncBegan();
    void versionConfirmed(const WordSaveResult& result);
    /// Told once for each reason, and again where that was asked for.
    void syncFailed(const WordSyncFailure& failure);
    /// Nothing is under way any more, however it ended.
    void settled();

private:
    struct Outcome;
    /// What a task in the pool is handed.
    struct Job {
        const WordService* service;
        WordWorkingFolder folder;
        WordReportRecord record;
        CancelFlag cancel;
    };

    void look();
    void take(WordDocumentFile::Look seen);
    void takeWhole(WordDocumentFile::Contents contents);
    void takeUnfinished(const WordDocumentFile::Mark& mark);
    void takeMissing();
    /// After a failure that neither time nor a further save mends.
    bool waitsForReader() const;
    void send(WordDocumentFile::Contents contents);
    static Outcome deliver(Job job, const WordDocumentFile::Contents& contents, bool askFirst);
    /// Whether the service holds these very bytes. Throws WordSyncFailure where it holds what nobody here
    /// knows of.
    static bool isAtService(Job& job, const QByteArray& bytes);
    void takeOutcome(const Outcome& outcome);
    void confirm(const WordSaveResult& result);
    void fail(const WordSyncFailure& failure);
    void setState(State state);

    const WordService& service_;
    QThreadPool& pool_;
    WordWorkingFolder folder_;
    WordReportRecord record_;
    const WordReportTiming timing_;
    WordDocumentWatch* watch_ = nullptr;
    QTimer lookSoon_; ///< at a file that was being written
    QTimer retry_;
    CancelFlag cancel_;
    State state_;
    WordSyncFailure failure_;
    std::optional<WordDocumentFile::Mark> mark_;
    std::string failedSha256_; ///< not sent again without a reason
    QString toldReason_;
    std::chrono::milliseconds retryDelay_;
    std::optional<WordDocumentFile::Mark> unfinished_; ///< of a file that is no document
    int unfinishedLooks_ = 0;                          ///< at that state of it
    bool force_ = false;                               ///< sync() was asked for: failedSha256_ does not count
    bool tellAgain_ = false;
    bool looking_ = false;
    bool lookAgain_ = false;
    bool sending_ = false;
    bool missing_ = false;
};

} // namespace zorbel
