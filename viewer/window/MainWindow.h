#pragma once

#include "api/ZorbelApiClient.h"
#include "cache/StudyLoadController.h"
#include "viewer/window/MainWindowOptions.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QPointer>

#include <memory>

class QLabel;
class QMessageBox;
class QProgressBar;

namespace zorbel {

class MainToolBar;
class ReadingSession;
class StudyBrowserWidget;
class ViewerWorkspace;

/// The one top-level window of the workstation: study list, tool rail, viewports, toolbar and status bar. It
/// connects them with the load of studies and computes nothing itself.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    /// client: signed in. options: what the loads of studies may use on this computer.
    MainWindow(std::shared_ptr<ZorbelApiClient> client, MainWindowOptions options, QWidget* parent = nullptr);
    ~MainWindow() override;

    void openStudy(const StudyRequest& study);
    /// Opens a study of which only the UID is known, as from a link.
    void openLinkedStudy(const QString& studyInstanceUID);

public Q_SLOTS:
    void onStudyDoubleClicked(
        const QString& orthancId, const QString& studyUID, const QString& patientName,
        const QString& modality, const QString& studyDate);

Q_SIGNALS:
    /// A load's image is on the screen, this long after the request.
    void studyDisplayed(qint64 milliseconds);
    /// The window is about to close, and the study in it with it.
    void sessionEnding();

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
    void closeStudy();
    void connectReading();
    void showRecentStudies();
    void showFindings();
    /// Asks about a study that a run left open, unless something else is under way.
    void offerRecovery();
    void signOut();

    std::shared_ptr<ZorbelApiClient> client_;
    StudyLoadController* loader_ = nullptr;
    std::unique_ptr<ReadingSession> reading_; ///< goes before the workspace, whose state it writes
    StudyBrowserWidget* browser_ = nullptr;
    ViewerWorkspace* workspace_ = nullptr;
    MainToolBar* toolBar_ = nullptr;
    QLabel* status_ = nullptr;
    QLabel* notice_ = nullptr; ///< what the reader should know about the image's way here
    QLabel* source_ = nullptr;
    QProgressBar* busy_ = nullptr;
    QPointer<QMessageBox> recoveryBox_;
    QElapsedTimer sinceRequest_;
};

} // namespace zorbel
