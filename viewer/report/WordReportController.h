#pragma once

#include "report/WordReportWorkflow.h"
#include "viewer/report/WordReportOptions.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <functional>
#include <map>
#include <memory>

class QMessageBox;

namespace zorbel {

class ReadingSession;
class StudyReading;
class UnsyncedReportsDialog;
class ViewerHeader;
class ZorbelApiClient;

/// The Word reports of the main window: asks the reader what the workflow wants to know, shows in the header
/// how the active report stands, and offers what earlier runs left. User-interface thread.
class WordReportController : public QObject, private WordReportPrompts {
    Q_OBJECT

public:
    /// What is given must outlive it.
    WordReportController(
        std::shared_ptr<ZorbelApiClient> client, ReadingSession& reading, ViewerHeader& header,
        WordReportOptions options, QWidget* window);
    ~WordReportController() override;

    /// "Report in Word", for the open study.
    void begin();
    void retry() { workflow_->retry(); }
    void sessionRenewed() { workflow_->sessionRenewed(); }
    /// Another study is shown, or none.
    void studyChanged() { showState(); }
    /// What was saved in this run is at the service, as far as is known.
    bool isSynced() const { return workflow_->isAllSynced(); }
    /// Nothing has to be looked at, sent or asked before the window closes.
    bool mayClose() const;
    /// Brings to the service what is not there, and asks where that fails or takes its time. then: whether
    /// the window may close.
    void finishBeforeClosing(std::function<void(bool mayClose)> then);
    /// The reports with unsynced changes that do not belong to the active one.
    void showUnsynced();

Q_SIGNALS:
    void statusText(const QString& text);
    void preparingChanged(bool preparing);
    /// The reader wants to see the open study's key images, on top of the dialog.
    void keyImagesRequested(QWidget* dialog);
    /// What is not at the service, in words; empty where all is. ofThisRun: trying again may help; else they
    /// are to be looked at.
    void unsyncedChanged(const QString& text, bool ofThisRun);

private:
    void chooseTemplate(const QStringList& entries, std::function<void(std::optional<int>)> chosen) override;
    void confirm(const QString& title, const QString& text, Answer answer) override;
    void askAboutConflict(const QString& text, Answer answer) override;
    void signInAgain(Answer answer) override;
    void warn(const QString& title, const QString& text) override;
    void openDocument(const std::filesystem::path& document, Answer opened) override;

    void
    ask(const QString& title, const QString& text, const QString& yes, const QString& no,
        const Answer& answer);
    void showState();
    void showWaiting();
    void offerUnsynced();
    void askBeforeClosing();
    void answerClosing(bool mayClose);
    void record(const QString& event, const QString& studyUid, const QJsonObject& details);
    QString unsyncedText() const;
    bool isOfOpenStudy(const WordReport& report) const;

    std::shared_ptr<ZorbelApiClient> client_;
    ReadingSession& reading_;
    ViewerHeader& header_;
    const WordReportOptions options_;
    QWidget* window_;
    const CancelFlag cancel_;
    QThreadPool opening_; ///< of documents, which no slow service holds up
    QThreadPool audit_;
    std::shared_ptr<StudyReading> begun_; ///< what the report is being opened for
    std::unique_ptr<WordReportWorkflow> workflow_;
    QPointer<UnsyncedReportsDialog> unsyncedDialog_;
    std::map<QString, const WordReport*> offered_; ///< by the dialog's ids
    QTimer offer_;                                 ///< until nothing else asks the reader
    QTimer patience_;                              ///< with the service, before the window closes
    QPointer<QMessageBox> closingBox_;
    std::function<void(bool)> closing_;
};

} // namespace zorbel
