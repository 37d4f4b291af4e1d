#pragma once

#include "api/ZorbelApiClient.h"
#include "cache/StudyLoadController.h"
#include "viewer/window/MainWindowOptions.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QPointer>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

class QMessageBox;

namespace zorbel {

class MainToolBar;
class ReadingSession;
class StatusLine;
class StudyBrowserWidget;
class StudyReading;
class ViewerWorkspace;
class WindowStatus;
class WordReportController;

/// The one top-level window of the workstation: study list, tool rail, viewports, toolbar and status bar. It
/// connects them with the load of studies and computes nothing itself.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    /// client: signed in. options: what the loads of studies may use on this computer.
    MainWindow(std::shared_ptr<ZorbelApiClient> client, MainWindowOptions options, QWidget* parent = nullptr);
    ~MainWindow() override;

    void openStudy(const StudyIdentity& study);
    /// Opens a study of which only the UID is known, as from a link.
    void openLinkedStudy(const QString& studyInstanceUID);

    /// Nothing is under way that a question would disturb: no load, no drawing, no report that is not synced,
    /// no other question.
    bool mayInterrupt() const;

    /// The user's choice of where and how long studies are kept, for loads from now on. stateFolder: where
    /// the reading state is kept; empty leaves it where it is. then: with what prevented it, in which case
    /// nothing has changed; empty for nothing.
    void useStorage(
        std::optional<ViewerStorage> storage, const StoragePolicy& policy,
        const std::filesystem::path& stateFolder, std::function<void(QString failure)> then);
    /// Has `clear` remove all that is kept, as ReadingSession::clearKept() does.
    void clearKept(std::function<QString()> clear, std::function<void(QString failure)> then);

    // For what start-up connects with the window.
    ViewerWorkspace& workspace() { return *workspace_; }
    ReadingSession& reading() { return *reading_; }
    StudyLoadController& loads() { return *loader_; }

public Q_SLOTS:
    /// The user is signed in again: what waited for that goes on.
    void sessionRenewed();
    void onStudyDoubleClicked(
        const QString& orthancId, const QString& studyUID, const QString& patientName,
        const QString& modality, const QString& studyDate);

Q_SIGNALS:
    /// A load's image is on the screen, this long after the request.
    void studyDisplayed(qint64 milliseconds);
    void settingsRequested();
    void diagnosticsRequested();
    /// The window is about to close, and the study in it with it.
    void sessionEnding();
    /// The reader wants the window to stay, since not everything is saved or sent.
    void closingGivenUp();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildWorkspace();
    void buildToolBar();
    void buildStatusBar();
    void connectLoading();
    void bindShortcuts();
    void showImage(const OrthancImageLoadResult& result);
    void tellSource(const OrthancImageLoadResult& result);
    void askForSeries(
        StudyLoadGuard::Ticket question, const std::vector<OrthancSeriesSummary>& series, int suggestedRow);
    void offerLocalCopy(StudyLoadGuard::Ticket question, const StudyLoadFailure& failure);
    void showFailure(const StudyLoadFailure& failure);
    void present(const std::shared_ptr<StudyReading>& reading, const OrthancImageLoadResult& result);
    void captureKeyImage();
    void closeStudy();
    /// Writes what is not written, then closes; what cannot be written is asked about.
    void finishAndClose();
    void finishReportsAndClose();
    void askWhetherToLose(const QString& left);
    void connectReading();
    void connectReports(WordReportOptions options);
    void showRecentStudies();
    void showFindings();
    /// parent: what the gallery lies over.
    void showKeyImages(QWidget* parent);
    /// Asks about a study that a run left open, unless something else is under way.
    void offerRecovery();
    bool mayAsk() const;
    void askForRecovery(const StudyIdentity& study);
    void signOut();

    std::shared_ptr<ZorbelApiClient> client_;
    StudyLoadController* loader_ = nullptr;
    std::unique_ptr<ReadingSession> reading_;
    WordReportController* reports_ = nullptr;
    StudyBrowserWidget* browser_ = nullptr;
    ViewerWorkspace* workspace_ = nullptr;
    MainToolBar* toolBar_ = nullptr;
    WindowStatus* bar_ = nullptr;
    StatusLine* status_ = nullptr; ///< of the bar
    QPointer<QMessageBox> recoveryBox_;
    QElapsedTimer sinceRequest_;
    QPointer<QMessageBox> unsavedBox_;
    bool signsOut_ = false;        ///< when it closes
    bool closing_ = false;         ///< once all is written
    bool mayClose_ = false;        ///< whatever is not written
    bool leavingReports_ = false;  ///< once they are sent
    bool mayLeaveReports_ = false; ///< whatever is not sent
};

} // namespace zorbel
