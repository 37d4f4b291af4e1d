#include "viewer/window/MainWindow.h"

#include "app/log/Logger.h"
#include "base/qt/QtText.h"
#include "resources/Resources.h"
#include "viewer/findings/FindingsDialog.h"
#include "viewer/measuring/MeasurementController.h"
#include "viewer/measuring/MeasurementPanel.h"
#include "viewer/reading/workspace/ShortcutTable.h"
#include "viewer/report/KeyImageGallery.h"
#include "viewer/report/WordReportController.h"
#include "viewer/session/ReadingSession.h"
#include "viewer/studies/ImageKinds.h"
#include "viewer/studies/StudyBrowserWidget.h"
#include "viewer/widgets/ElidedLabel.h"
#include "viewer/window/FocusKeys.h"
#include "viewer/window/MainToolBar.h"
#include "viewer/window/SeriesSelectionDialog.h"
#include "viewer/window/ShortcutSheet.h"
#include "viewer/window/StandardModes.h"
#include "viewer/window/StatusLine.h"
#include "viewer/window/WindowStatus.h"
#include "viewer/workspace/LoadingOverlay.h"
#include "viewer/workspace/ViewerWorkspace.h"

#include <QApplication>
#include <QCloseEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QSplitter>
#include <QTimer>
#include <QVBoxLayout>

#include <new>
#include <utility>

namespace zorbel {

namespace {

constexpr char component[] = "MainWindow";

QMessageBox* newFailureBox(const StudyLoadFailure& failure, QWidget* parent) {
    auto* box =
        new QMessageBox(QMessageBox::NoIcon, failure.title, failure.text, QMessageBox::NoButton, parent);
    box->setIconPixmap(toolIcon(QStringLiteral("warning")).pixmap(QSize(40, 40), parent->devicePixelRatio()));
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    return box;
}

} // namespace

MainWindow::MainWindow(std::shared_ptr<ZorbelApiClient> client, MainWindowOptions options, QWidget* parent)
    : QMainWindow(parent), client_(std::move(client)) {
    setObjectName(QStringLiteral("mainWindow"));
    setWindowTitle(QStringLiteral("Zorbel Diagnostic Viewer — %1").arg(QStringLiteral("Clinical Workspace")));
    setMinimumSize(1100, 700);
    resize(QSize(1440, 900).boundedTo(screen()->availableSize()));
    const SessionRequest renewSession = options.loading.renewSession;
    loader_ = new StudyLoadController(client_, std::move(options.loading), this);
    buildWorkspace();
    buildToolBar();
    buildStatusBar();
    connectLoading();
    bindShortcuts();
    reading_ = std::make_unique<ReadingSession>(std::move(options.stateFolder), options.previousRunCrashed);
    connectReading();
    connectReports(std::move(options.reports));
    showRecentStudies();
    browser_->setSessionRequest(renewSession);
    browser_->loadStudiesAsync();
    QTimer::singleShot(0, this, [this, linked = options.linkedStudy] {
        if (!linked.isEmpty())
            openLinkedStudy(linked);
        offerRecovery();
    });
}

MainWindow::~MainWindow() = default;

void MainWindow::buildWorkspace() {
    browser_ = new StudyBrowserWidget(client_);
    browser_->setMinimumWidth(240);
    workspace_ = new ViewerWorkspace;
    addStandardModes(*workspace_);
    auto* side = new QWidget;
    side->setObjectName(QStringLiteral("sideColumn"));
    auto* column = new QVBoxLayout(side);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(browser_, 1);
    auto* measurements = new MeasurementPanel(workspace_->measurements());
    column->addWidget(measurements);
    connect(measurements, &MeasurementPanel::jumpRequested, workspace_, &ViewerWorkspace::jumpToMeasurement);
    auto* splitter = new QSplitter(Qt::Horizontal);
    splitter->setObjectName(QStringLiteral("workspaceSplitter"));
    splitter->addWidget(side);
    splitter->addWidget(workspace_);
    splitter->setStretchFactor(1, 1);
    splitter->setCollapsible(0, false);
    splitter->setCollapsible(1, false);
    splitter->setSizes({300, 1140});
    setCentralWidget(splitter);
    connect(browser_, &StudyBrowserWidget::studyDoubleClicked, this, &MainWindow::onStudyDoubleClicked);
    connect(workspace_, &ViewerWorkspace::imageDrawn, this, [this] {
        Q_EMIT studyDisplayed(sinceRequest_.elapsed());
    });
}

void MainWindow::buildToolBar() {
    toolBar_ = new MainToolBar(client_->profile(), client_->config().baseUrl);
    addToolBar(Qt::TopToolBarArea, toolBar_);
    connect(toolBar_, &MainToolBar::studiesToggled, browser_->parentWidget(), &QWidget::setVisible);
    connect(toolBar_, &MainToolBar::retryRequested, this, [this] {
        sinceRequest_.start();
        loader_->retry();
    });
    connect(toolBar_, &MainToolBar::settingsRequested, this, &MainWindow::settingsRequested);
    connect(toolBar_, &MainToolBar::diagnosticsRequested, this, &MainWindow::diagnosticsRequested);
    connect(toolBar_, &MainToolBar::signOutRequested, this, &MainWindow::signOut);
}

void MainWindow::buildStatusBar() {
    bar_ = new WindowStatus;
    setStatusBar(bar_);
    status_ = &bar_->line();
}

void MainWindow::connectLoading() {
    connect(
        &workspace_->loadingOverlay(), &LoadingOverlay::cancelRequested, loader_,
        &StudyLoadController::cancel);
    connect(loader_, &StudyLoadController::loadingChanged, this, [this](bool loading) {
        bar_->setLoading(loading);
        toolBar_->setRetryAvailable(loader_->currentStudy().has_value(), loading);
        if (!loading) {
            workspace_->loadingOverlay().hide();
            QTimer::singleShot(0, this, &MainWindow::offerRecovery); // after the load's own outcome
        }
    });
    connect(loader_, &StudyLoadController::stageChanged, this, [this](const StudyLoadStage& stage) {
        workspace_->loadingOverlay().showStage(stage.title, stage.detail, stage.done, stage.total);
    });
    connect(loader_, &StudyLoadController::statusChanged, this, [this](const QString& text) {
        // What is done first begins at once.
        if (status_->text() == QStringLiteral("Preparing study"))
            status_->sayBeside(text);
        else
            status_->say(text);
    });
    connect(loader_, &StudyLoadController::seriesChoiceNeeded, this, &MainWindow::askForSeries);
    connect(loader_, &StudyLoadController::localCopyOffered, this, &MainWindow::offerLocalCopy);
    connect(loader_, &StudyLoadController::imageReady, this, &MainWindow::showImage);
    connect(loader_, &StudyLoadController::loadFailed, this, &MainWindow::showFailure);
    connect(loader_, &StudyLoadController::loadCancelled, status_, &StatusLine::say);
}

void MainWindow::bindShortcuts() {
    new FocusKeys(this);
    for (const ShortcutBinding& binding : ShortcutTable::bindings()) {
        auto* shortcut = new QShortcut(QKeySequence(qtText(binding.key), QKeySequence::PortableText), this);
        // A key held down goes on with what has steps; anything else would flicker to and fro.
        shortcut->setAutoRepeat(
            binding.action == ReadingAction::StepSlices || binding.action == ReadingAction::ChangeSlab);
        connect(
            shortcut, &QShortcut::activated, this,
            [this, action = binding.action, argument = binding.argument] {
                workspace_->perform(action, argument);
            });
    }
    connect(workspace_, &ViewerWorkspace::statusText, status_, &StatusLine::say);
    connect(workspace_, &ViewerWorkspace::shortcutSheetRequested, this, [this] {
        auto* sheet = new ShortcutSheet(this);
        sheet->setAttribute(Qt::WA_DeleteOnClose);
        sheet->open();
    });
}

void MainWindow::onStudyDoubleClicked(
    const QString& orthancId, const QString& studyUID, const QString& patientName, const QString& modality,
    const QString& studyDate) {
    StudyIdentity study = browser_->studyOf(studyUID); // with what makes its study type
    study.orthancId = orthancId.toStdString();
    study.studyInstanceUid = studyUID.toStdString();
    study.patientName = patientName.toStdString();
    study.modality = modality.toStdString();
    study.studyDate = studyDate.toStdString();
    openStudy(study);
}

void MainWindow::openStudy(const StudyIdentity& study) {
    sinceRequest_.start();
    loader_->openStudy(study);
}

void MainWindow::openLinkedStudy(const QString& studyInstanceUID) {
    delete recoveryBox_; // asked again when the link's study is here
    openStudy({.studyInstanceUid = studyInstanceUID.toStdString()});
}

void MainWindow::showImage(const OrthancImageLoadResult& result) {
    StudyIdentity study = result.study;
    if (study.modality.empty())
        study.modality = result.modality.toStdString();
    status_->say(QStringLiteral("Preparing study"));
    reading_->open(study, [this, result](const std::shared_ptr<StudyReading>& reading) {
        try {
            present(reading, result);
        } catch (const std::bad_alloc&) {
            // Two volumes are alive while one replaces the other; without both the window is usable again.
            closeStudy();
            showFailure(studyLoadFailure(QStringLiteral("Not enough memory to show this series.")));
        }
    });
}

void MainWindow::present(const std::shared_ptr<StudyReading>& reading, const OrthancImageLoadResult& result) {
    StudySeries series;
    series.image = result.image;
    series.modality = result.modality.toStdString();
    series.description = result.series.seriesDescription.trimmed().toStdString();
    series.kind = imageKindOf(result.modality, QString::fromStdString(series.description), result.volumetric);
    series.key = StudySeries::keyOf(*series.image, series.kind);
    reading->show(std::move(series));
    workspace_->show(reading);
    workspace_->setFocus(); // the arrows now move through the slices, no longer through the list
    reading_->shown(reading);
    reports_->studyChanged();
    tellSource(result);
    Logger::instance().flush();
}

void MainWindow::connectReading() {
    connect(reading_.get(), &ReadingSession::statusText, status_, &StatusLine::say);
    connect(reading_.get(), &ReadingSession::unsavedChanged, bar_, &WindowStatus::setUnsaved);
    connect(reading_.get(), &ReadingSession::recentStudiesChanged, this, &MainWindow::showRecentStudies);
    connect(workspace_, &ViewerWorkspace::captureRequested, this, &MainWindow::captureKeyImage);
    connect(workspace_, &ViewerWorkspace::findingsRequested, this, &MainWindow::showFindings);
    connect(workspace_, &ViewerWorkspace::keyImagesRequested, this, [this] { showKeyImages(this); });
}

void MainWindow::connectReports(WordReportOptions options) {
    reports_ = new WordReportController(client_, *reading_, workspace_->header(), std::move(options), this);
    connect(toolBar_, &MainToolBar::reportRequested, reports_, &WordReportController::begin);
    connect(reports_, &WordReportController::statusText, status_, &StatusLine::say);
    connect(reports_, &WordReportController::preparingChanged, toolBar_, &MainToolBar::setReportPreparing);
    connect(reports_, &WordReportController::keyImagesRequested, this, &MainWindow::showKeyImages);
    connect(reports_, &WordReportController::unsyncedChanged, bar_, &WindowStatus::setUnsynced);
    connect(bar_, &WindowStatus::retryRequested, reports_, &WordReportController::retry);
    connect(bar_, &WindowStatus::unsyncedRequested, reports_, &WordReportController::showUnsynced);
}

void MainWindow::useStorage(
    std::optional<ViewerStorage> storage, const StoragePolicy& policy,
    const std::filesystem::path& stateFolder, std::function<void(QString)> then) {
    const auto use = [this, storage = std::move(storage), policy, then](const QString& failure) {
        if (failure.isEmpty())
            loader_->setStorage(storage, policy);
        then(failure);
    };
    if (stateFolder.empty())
        use({});
    else
        reading_->moveTo(stateFolder, use);
}

void MainWindow::clearKept(std::function<QString()> clear, std::function<void(QString)> then) {
    reading_->clearKept(std::move(clear), std::move(then));
}

void MainWindow::sessionRenewed() {
    status_->say(QStringLiteral("You are signed in again"));
    browser_->loadStudiesAsync();
    reports_->sessionRenewed();
}

void MainWindow::showRecentStudies() {
    reading_->recentStudies([this](const RecentStudies& recent) {
        std::vector<ViewerStudySummary> rows;
        for (const RecentStudy& opened : recent.studies())
            rows.push_back(summaryOf(opened.study));
        browser_->setRecentStudies(std::move(rows));
    });
}

void MainWindow::captureKeyImage() {
    const auto capture = workspace_->captureActiveViewport();
    if (!reading_->current())
        status_->say(QString::fromLatin1(KeyImageList::noStudyText));
    else if (!capture)
        status_->say(QString::fromLatin1(KeyImageList::notVisibleText));
    else
        reading_->addKeyImage(capture->picture, keyImageCaption(capture->view));
}

void MainWindow::showFindings() {
    const auto reading = reading_->current();
    if (!reading) {
        status_->say(QString::fromLatin1(FindingList::noStudyText));
        return;
    }
    auto* dialog = new FindingsDialog(reading->findings(), workspace_->location(), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &FindingsDialog::findingsChanged, this, [reading](const FindingList& findings) {
        reading->setFindings(findings);
    });
    connect(dialog, &FindingsDialog::jumpRequested, workspace_, &ViewerWorkspace::goTo);
    // Its findings are this study's, and no other's.
    connect(loader_, &StudyLoadController::imageReady, dialog, &QDialog::reject);
    dialog->open();
}

void MainWindow::showKeyImages(QWidget* parent) {
    if (!reading_->current()) {
        status_->say(QStringLiteral("Open a study to see its key images"));
        return;
    }
    auto* gallery = new KeyImageGallery(*reading_, parent);
    gallery->setAttribute(Qt::WA_DeleteOnClose);
    connect(loader_, &StudyLoadController::imageReady, gallery, &QDialog::reject);
    gallery->open();
}

bool MainWindow::mayAsk() const {
    return isVisible() && !loader_->isLoading() && !recoveryBox_ && !QApplication::activeModalWidget();
}

bool MainWindow::mayInterrupt() const {
    return mayAsk() && !closing_ && QApplication::mouseButtons() == Qt::NoButton &&
           !workspace_->measurements().editor().isPlacing() && reports_->isSynced();
}

void MainWindow::offerRecovery() {
    if (!mayAsk())
        return;
    reading_->recoverable([this](const std::optional<StudyIdentity>& study) {
        if (study && mayAsk())
            askForRecovery(*study);
    });
}

void MainWindow::askForRecovery(const StudyIdentity& study) {
    const std::string& name = study.patientName.empty() ? study.studyInstanceUid : study.patientName;
    auto* box = new QMessageBox(
        QMessageBox::NoIcon, QStringLiteral("Recover the last session"),
        QStringLiteral(
            "The viewer did not close properly while the study of %1 was open.\n\nReopen it where you left "
            "off?")
            .arg(QString::fromStdString(name)),
        QMessageBox::Yes | QMessageBox::No, this);
    recoveryBox_ = box;
    box->setObjectName(QStringLiteral("recoveryBox"));
    box->setTextFormat(Qt::PlainText);
    box->setDefaultButton(QMessageBox::Yes);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::finished, this, [this, study](int answer) {
        recoveryBox_ = nullptr;
        if (answer == QMessageBox::Yes) {
            reading_->acceptRecovery(study);
            openStudy(study);
            return;
        }
        reading_->declineRecovery(study);
        QTimer::singleShot(0, this, &MainWindow::offerRecovery);
    });
    box->open();
}

void MainWindow::tellSource(const OrthancImageLoadResult& result) {
    bar_->setNotice(result.notice);
    const std::string& uid = result.study.studyInstanceUid;
    const QString shownUid = QString::fromStdString(uid);
    auto& logger = Logger::instance();
    if (result.source == ImageSource::VolumeCache && result.volumetric) {
        const auto& dims = result.image->geometry().dimensions();
        status_->say(QStringLiteral("Volumetric study loaded in MPR mode (%1).").arg(result.modality));
        bar_->setSource(QStringLiteral("Loaded from local cache: %1").arg(shownUid));
        logger.info(
            component, "Volume displayed",
            {{"study", uid},
             {"dims", QStringLiteral("%1×%2×%3").arg(dims[0]).arg(dims[1]).arg(dims[2]).toStdString()}});
        return;
    }
    const QString description = result.series.seriesDescription.trimmed();
    const QString series =
        description.isEmpty() ? QString() : QStringLiteral("  |  Series: %1").arg(description);
    if (result.volumetric) {
        status_->say(QStringLiteral("Volumetric DICOM fallback loaded in MPR mode (%1).%2")
                         .arg(result.modality, series));
        bar_->setSource(QStringLiteral("Loaded volume from %1: %2").arg(result.sourceLabel, shownUid));
        logger.info(component, "DICOM fallback volume displayed", {{"study", uid}, {"mode", "MPR"}});
    } else {
        status_->say(
            QStringLiteral("Non-volumetric study loaded in 2D mode (%1).%2").arg(result.modality, series));
        bar_->setSource(QStringLiteral("Loaded in 2D mode from %1: %2").arg(result.sourceLabel, shownUid));
        logger.info(component, "DICOM fallback image displayed in 2D mode", {{"study", uid}, {"mode", "2D"}});
    }
}

void MainWindow::askForSeries(
    StudyLoadGuard::Ticket question, const std::vector<OrthancSeriesSummary>& series, int suggestedRow) {
    auto* dialog = new SeriesSelectionDialog(series, suggestedRow, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog, question] {
        loader_->chooseSeries(question, dialog->selectedRow());
    });
    connect(dialog, &QDialog::rejected, this, [this, question] {
        loader_->chooseSeries(question, std::nullopt);
    });
    // A cancelled load, or a newer one, takes its question back.
    connect(loader_, &StudyLoadController::loadingChanged, dialog, &QDialog::reject);
    dialog->open();
}

void MainWindow::offerLocalCopy(StudyLoadGuard::Ticket question, const StudyLoadFailure& failure) {
    auto* box = newFailureBox(failure, this);
    box->setObjectName(QStringLiteral("localCopyBox"));
    const QAbstractButton* open = box->addButton(QStringLiteral("Open the Copy"), QMessageBox::AcceptRole);
    box->addButton(QMessageBox::Cancel);
    connect(box, &QMessageBox::finished, this, [this, box, open, question] {
        loader_->answerLocalCopyOffer(question, box->clickedButton() == open);
    });
    connect(loader_, &StudyLoadController::loadingChanged, box, &QDialog::reject);
    box->open();
}

void MainWindow::showFailure(const StudyLoadFailure& failure) {
    status_->say(failure.status);
    auto* box = newFailureBox(failure, this);
    box->setObjectName(QStringLiteral("loadFailureBox"));
    box->addButton(QMessageBox::Ok);
    connect(box, &QMessageBox::finished, this, [this] {
        QTimer::singleShot(0, this, &MainWindow::offerRecovery);
    });
    box->open();
}

void MainWindow::closeStudy() {
    loader_->cancel();
    reading_->close();
    reports_->studyChanged();
    if (workspace_->viewMode() == ViewMode::None)
        return;
    workspace_->reset();
    bar_->setNotice({});
    bar_->setSource({});
    status_->say(QStringLiteral("Study closed"));
    Logger::instance().info(component, "Study closed");
}

void MainWindow::signOut() {
    signsOut_ = true;
    close();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if ((!mayClose_ && !reading_->isAllWritten()) || (!mayLeaveReports_ && !reports_->mayClose())) {
        // Disk and service are waited for, but the window is not held up by them.
        event->ignore();
        finishAndClose();
        return;
    }
    Q_EMIT sessionEnding();
    delete recoveryBox_; // what was not answered is asked again
    closeStudy();
    reading_->endSession();
    if (signsOut_) // the loads have been cancelled, or they would end in "not authenticated"
        client_->signOut();
    loader_->shutDown(); // what winds down is waited for when the window is gone
    event->accept();
}

void MainWindow::finishAndClose() {
    if (mayClose_ || reading_->isAllWritten()) {
        finishReportsAndClose();
        return;
    }
    if (closing_) { // and the disk does not answer
        askWhetherToLose(reading_->unsavedText());
        return;
    }
    closing_ = true;
    status_->say(QStringLiteral("Saving what was recorded…"));
    reading_->finish([this](const QString& left) {
        closing_ = false;
        delete unsavedBox_; // of a disk that has answered meanwhile
        if (left.isEmpty())
            close();
        else
            askWhetherToLose(left);
    });
}

void MainWindow::finishReportsAndClose() {
    if (std::exchange(leavingReports_, true))
        return;
    reports_->finishBeforeClosing([this](bool may) {
        leavingReports_ = false;
        signsOut_ = signsOut_ && may;
        if (!may) {
            Q_EMIT closingGivenUp();
            return;
        }
        mayLeaveReports_ = true;
        close();
        mayLeaveReports_ = false; // should the window stay, it is asked again
    });
}

void MainWindow::askWhetherToLose(const QString& left) {
    if (unsavedBox_)
        return;
    auto* box = new QMessageBox(
        QMessageBox::NoIcon, QStringLiteral("Not everything is saved"),
        QStringLiteral(
            "What was recorded could not be written to the disk:\n\n%1\n\nIf you close now, it is lost.")
            .arg(left),
        QMessageBox::Retry | QMessageBox::Discard | QMessageBox::Cancel, this);
    unsavedBox_ = box;
    box->setIconPixmap(toolIcon(QStringLiteral("warning")).pixmap(QSize(40, 40), devicePixelRatio()));
    box->setObjectName(QStringLiteral("unsavedBox"));
    box->setTextFormat(Qt::PlainText);
    box->setDefaultButton(QMessageBox::Retry);
    box->button(QMessageBox::Discard)->setText(QStringLiteral("Close and Lose It"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::finished, this, [this](int answer) {
        unsavedBox_ = nullptr;
        mayClose_ = answer == QMessageBox::Discard;
        signsOut_ = signsOut_ && answer != QMessageBox::Cancel;
        if (answer == QMessageBox::Cancel)
            Q_EMIT closingGivenUp();
        else
            close();
    });
    box->open();
}

} // namespace zorbel
