#pragma once

#include "report/UnsyncedReports.h"
#include "report/WordReport.h"
#include "report/WordReportPrompts.h"
#include "report/WordReportState.h"
#include "report/WordReportTiming.h"
#include "report/package/ReportPacket.h"

#include <QJsonObject>
#include <QObject>
#include <QThreadPool>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zorbel {

/// What a report is to be opened for.
struct WordReportRequest {
    StudyIdentity study;
    /// Puts together what the reader recorded, then; called when the document is there.
    std::function<void(std::function<void(ReportPacket)> then)> packet;
};

/// From the template to the immutable version: has the service begin a report, adds what the reader recorded,
/// opens the document in the word processor, and brings each save to the service. One report is followed at a
/// time; what earlier ones left unsynced is kept, tried again, and offered. User-interface thread; the disk
/// and the network are waited for elsewhere.
class WordReportWorkflow : public QObject {
    Q_OBJECT

public:
    using State = WordReportState;

    struct Options {
        /// The user's own, for the working folders.
        std::filesystem::path root;
        /// How long the working folder of a synced report stays.
        std::chrono::hours keepSynced{24};
        WordReportTiming timing{};
    };
    /// To where events of the study are recorded; called on the user-interface thread, must not wait.
    using Recorder =
        std::function<void(const QString& event, const QString& studyUid, const QJsonObject& details)>;

    WordReportWorkflow(
        std::shared_ptr<const WordService> service, WordReportPrompts& prompts, Recorder record,
        Options options, QObject* parent = nullptr);
    ~WordReportWorkflow() override;

    State state() const;
    /// Null while none is open.
    const WordReport* active() const { return active_.get(); }
    /// Those of earlier runs, and those that another report took the place of, while they are not synced.
    std::vector<const WordReport*> waiting() const;
    /// What was saved in this run is at the service, as far as is known.
    bool isAllSynced() const { return unsynced().empty(); }

    /// "Report in Word".
    void begin(const WordReportRequest& request);
    /// Opens the active report's document again.
    void reopen();
    /// Tries what is not synced now.
    void retry();
    /// The user is signed in again: tries what is not synced.
    void sessionRenewed();
    /// Looks for what earlier runs left; waitingChanged() tells.
    void findUnsynced();
    /// Of a waiting one.
    void sync(const WordReport* report);
    /// It becomes the active one.
    void open(const WordReport* report);
    /// Tries what is not synced once more, then tells whether all is.
    void finish(std::function<void(bool allSynced)> then);

Q_SIGNALS:
    void statusText(const QString& text);
    /// State or version of the active report.
    void stateChanged();
    void waitingChanged();
    /// findUnsynced() has something to offer.
    void unsyncedFound();

private:
    struct Opening;
    struct Waiting {
        std::unique_ptr<WordReport> report;
        bool earlier = false; ///< of another run
    };

    /// Brings the active report to the service, and asks before another takes its place. studyUid: for which
    /// study; empty for a document that is there already. then: it may.
    void leaveActive(const std::string& studyUid, std::function<void()> then);
    void askToLeave(bool sameStudy, const std::function<void()>& then);
    void chooseTemplate(const WordReportRequest& request);
    void offerTemplates(const WordReportRequest& request, const std::vector<WordTemplate>& templates);
    void prepare(const WordReportRequest& request, const WordTemplate& chosen);
    void write(const StudyIdentity& study, const std::shared_ptr<Opening>& opening, ReportPacket packet);
    void present(const std::shared_ptr<Opening>& opening);
    void openFailed(const WordSyncFailure& failure, const WordReportRequest& request);
    void openFailed(const QString& reason);
    std::unique_ptr<WordReport>
    newReport(WordWorkingFolder folder, WordReportRecord record, WordReport::State state);
    void activate(std::unique_ptr<WordReport> report);
    void tellConfirmed(WordReport* report, const WordSaveResult& result);
    void letGoOfSynced(WordReport* report);
    void tellFailed(WordReport* report, const WordSyncFailure& failure);
    /// Tries what is not synced when the reader has signed in, and then that.
    void askForSignIn(std::function<void()> then);
    void setPreparing(bool preparing);
    std::vector<WordReport*> ofThisRun() const;
    std::vector<WordReport*> unsynced() const; ///< of those
    std::unique_ptr<WordReport> takeWaiting(const WordReport* report);

    std::shared_ptr<const WordService> service_;
    WordReportPrompts& prompts_;
    const Recorder record_;
    const Options options_;
    const CancelFlag cancel_;
    QThreadPool pool_; ///< outlives the reports, and waits for their tasks
    std::unique_ptr<WordReport> active_;
    std::vector<Waiting> waiting_;
    bool preparing_ = false;
    /// What the active report is being left for: the latest wish.
    std::optional<std::pair<std::string, std::function<void()>>> leavingFor_;
    std::vector<std::function<void()>> afterSignIn_; ///< not empty while that is asked for
};

} // namespace zorbel
