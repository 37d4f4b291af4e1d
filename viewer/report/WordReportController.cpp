#include "viewer/report/WordReportController.h"

#include "api/ZorbelApiClient.h"
#include "base/PathText.h"
#include "base/qt/BackgroundTask.h"
#include "base/qt/QtText.h"
#include "platform/DocumentHandler.h"
#include "report/StudyReportPacket.h"
#include "report/WordServiceClient.h"
#include "resources/Resources.h"
#include "viewer/report/UnsyncedReportsDialog.h"
#include "viewer/report/WordTemplateDialog.h"
#include "viewer/session/ReadingSession.h"
#include "viewer/studies/StudyRows.h"
#include "viewer/studies/StudyTexts.h"
#include "viewer/workspace/ViewerHeader.h"

#include <QApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>

#include <algorithm>
#include <utility>

namespace zorbel {

namespace {

using namespace std::chrono_literals;

/// Before the reader is asked whether to wait any longer for the service.
constexpr auto closingPatience = 3s;

QString studyLine(const StudyIdentity& study) {
    QStringList parts{StudyTexts::patientName(study)};
    for (const QString& part :
         {qtText(study.modality), qtText(study.studyDescription),
          StudyRows::displayDate(qtText(study.studyDate))}) {
        if (!part.isEmpty())
            parts.append(part);
    }
    return parts.join(QStringLiteral("  ·  "));
}

QTime savedAt(const WordReportRecord& record) {
    return QDateTime::fromString(record.savedAt, Qt::ISODate).toLocalTime().time();
}

UnsyncedReportRow rowOf(const WordReport& report) {
    UnsyncedReportRow row;
    const QString document = qtText(pathText(report.folder().document()));
    row.id = document;
    row.study = studyLine(report.record().study);
    row.savedAt = QFileInfo(document).lastModified();
    row.folder = qtText(pathText(report.folder().path()));
    row.isBusy = report.state() == WordReport::State::Syncing;
    row.state = row.isBusy                                    ? QStringLiteral("Syncing…")
                : report.isDocumentMissing()                  ? QStringLiteral("Its document cannot be read")
                : report.state() == WordReport::State::Failed ? report.failure().shortText()
                                                              : QStringLiteral("Not synced");
    return row;
}

} // namespace

WordReportController::WordReportController(
    std::shared_ptr<ZorbelApiClient> client, ReadingSession& reading, ViewerHeader& header,
    WordReportOptions options, QWidget* window)
    : QObject(window), client_(std::move(client)), reading_(reading), header_(header),
      options_(std::move(options)), window_(window), cancel_(std::make_shared<std::atomic<bool>>(false)) {
    audit_.setMaxThreadCount(1);
    WordReportPrompts& prompts = *this;
    workflow_ = std::make_unique<WordReportWorkflow>(
        std::make_shared<WordServiceClient>(client_), prompts,
        [this](const QString& event, const QString& studyUid, const QJsonObject& details) {
            record(event, studyUid, details);
        },
        WordReportWorkflow::Options{.root = options_.root, .keepSynced = options_.keepSynced});
    connect(workflow_.get(), &WordReportWorkflow::statusText, this, &WordReportController::statusText);
    connect(workflow_.get(), &WordReportWorkflow::stateChanged, this, &WordReportController::showState);
    connect(workflow_.get(), &WordReportWorkflow::waitingChanged, this, &WordReportController::showWaiting);
    connect(&header_, &ViewerHeader::reportChipClicked, workflow_.get(), &WordReportWorkflow::reopen);
    patience_.setSingleShot(true);
    patience_.setInterval(closingPatience);
    connect(&patience_, &QTimer::timeout, this, &WordReportController::askBeforeClosing);
    offer_.setInterval(500ms);
    connect(&offer_, &QTimer::timeout, this, &WordReportController::offerUnsynced);
    connect(workflow_.get(), &WordReportWorkflow::unsyncedFound, &offer_, [this] { offer_.start(); });
    workflow_->findUnsynced();
}

WordReportController::~WordReportController() {
    *cancel_ = true;
    workflow_.reset(); // it asks no more
}

void WordReportController::begin() {
    const auto reading = reading_.current();
    begun_ = reading;
    if (!reading) {
        workflow_->begin({});
        return;
    }
    workflow_->begin({reading->identity(), [this, reading](const std::function<void(ReportPacket)>& then) {
                          reading_.keyImagePngs(
                              reading->identity(), imagesForReport(*reading),
                              [reading, then](const std::vector<KeyImagePng>& pngs) {
                                  then(reportPacketOf(*reading, pngs));
                              });
                      }});
}

// ---- Questions

void WordReportController::chooseTemplate(
    const QStringList& entries, std::function<void(std::optional<int>)> chosen) {
    auto* dialog = new WordTemplateDialog(entries, begun_, window_);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &WordTemplateDialog::keyImagesRequested, this, [this, dialog] {
        Q_EMIT keyImagesRequested(dialog);
    });
    connect(dialog, &QDialog::finished, this, [dialog, chosen = std::move(chosen)](int result) {
        chosen(result == QDialog::Accepted ? std::optional(dialog->selectedRow()) : std::nullopt);
    });
    dialog->open();
}

void WordReportController::ask(
    const QString& title, const QString& text, const QString& yes, const QString& no, const Answer& answer) {
    auto* box = new QMessageBox(QMessageBox::NoIcon, title, text, QMessageBox::NoButton, window_);
    box->setIconPixmap(toolIcon(QStringLiteral("word")).pixmap(QSize(40, 40), window_->devicePixelRatio()));
    box->setObjectName(QStringLiteral("wordReportBox"));
    box->setTextFormat(Qt::PlainText);
    const QAbstractButton* agreed = box->addButton(yes, QMessageBox::AcceptRole);
    box->setEscapeButton(box->addButton(no, QMessageBox::RejectRole));
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(
        box, &QMessageBox::finished, this, [box, agreed, answer] { answer(box->clickedButton() == agreed); });
    box->open();
}

void WordReportController::confirm(const QString& title, const QString& text, Answer answer) {
    ask(title, text, QStringLiteral("Open Report"), QStringLiteral("Cancel"), answer);
}

void WordReportController::askAboutConflict(const QString& text, Answer answer) {
    ask(QStringLiteral("Another version was made"), text, QStringLiteral("Make Mine the Newest Version"),
        QStringLiteral("Keep Mine on This Computer"), answer);
}

void WordReportController::signInAgain(Answer answer) {
    if (options_.signInAgain)
        options_.signInAgain(std::move(answer));
    else
        answer(false);
}

void WordReportController::warn(const QString& title, const QString& text) {
    auto* box = new QMessageBox(QMessageBox::NoIcon, title, text, QMessageBox::Ok, window_);
    box->setIconPixmap(
        toolIcon(QStringLiteral("warning")).pixmap(QSize(40, 40), window_->devicePixelRatio()));
    box->setObjectName(QStringLiteral("wordReportWarning"));
    box->setTextFormat(Qt::PlainText);
    box->setTextInteractionFlags(Qt::TextSelectableByMouse); // it may name a file
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

void WordReportController::openDocument(const std::filesystem::path& document, Answer opened) {
    const auto open = options_.openDocument ? options_.openDocument : zorbel::openDocument;
    runInBackground(
        opening_, this, [open, document] { return open(document); }, std::move(opened));
}

// ---- What is shown

bool WordReportController::isOfOpenStudy(const WordReport& report) const {
    return reading_.current() &&
           reading_.current()->identity().studyInstanceUid == report.record().study.studyInstanceUid;
}

void WordReportController::showState() {
    using State = WordReportWorkflow::State;
    const State state = workflow_->state();
    Q_EMIT preparingChanged(state == State::Preparing);
    const WordReport* report = workflow_->active();
    QString text = WordReportChip::textOf(state);
    if (report && !report->record().savedAt.isEmpty())
        text = WordReportChip::textOf(state, report->record().versions, savedAt(report->record()));
    QString toolTip;
    if (report && state != State::Preparing) {
        if (!isOfOpenStudy(*report))
            text.prepend(QStringLiteral("Other study · "));
        toolTip = studyLine(report->record().study);
        if (!report->record().savedAt.isEmpty())
            toolTip += QStringLiteral("\nLast saved in Zorbel: version %1, %2")
                           .arg(report->record().versions)
                           .arg(savedAt(report->record()).toString(QStringLiteral("HH:mm")));
        if (state == State::Failed)
            toolTip += QLatin1Char('\n') + report->failure().statusText();
        if (report->isDocumentMissing())
            toolTip += QStringLiteral("\nThe document is not where it was. Save it in Word again.");
        toolTip += QStringLiteral("\nClick to open the document again.");
    }
    header_.setReportChip(text, state, toolTip);
    Q_EMIT unsyncedChanged(unsyncedText(), !workflow_->isAllSynced());
}

QString WordReportController::unsyncedText() const {
    if (const WordReport* report = workflow_->active(); report && report->isOverdue())
        return QStringLiteral("Word report not synced: %1").arg(report->failure().shortText());
    const std::size_t waiting = workflow_->waiting().size();
    if (waiting == 0)
        return {};
    return waiting == 1 ? QStringLiteral("1 Word report is not synced")
                        : QStringLiteral("%1 Word reports are not synced").arg(waiting);
}

void WordReportController::showWaiting() {
    if (unsyncedDialog_) {
        const auto waiting = workflow_->waiting();
        for (auto& [id, report] : offered_) {
            const bool waits = std::find(waiting.begin(), waiting.end(), report) != waiting.end();
            if (waits) {
                unsyncedDialog_->setRow(rowOf(*report));
                continue;
            }
            for (UnsyncedReportRow row : unsyncedDialog_->rows()) {
                if (row.id == id && !row.isDone) {
                    row.isDone = true;
                    row.isBusy = false;
                    row.state = report == workflow_->active() ? QStringLiteral("Open in Word")
                                                              : QStringLiteral("Synced");
                    unsyncedDialog_->setRow(row);
                }
            }
        }
    }
    showState();
}

void WordReportController::offerUnsynced() {
    if (!window_->isVisible() || QApplication::activeModalWidget() || workflow_->waiting().empty())
        return;
    offer_.stop();
    showUnsynced();
}

void WordReportController::showUnsynced() {
    offer_.stop();
    if (unsyncedDialog_ || workflow_->waiting().empty())
        return;
    offered_.clear();
    std::vector<UnsyncedReportRow> rows;
    for (const WordReport* report : workflow_->waiting()) {
        rows.push_back(rowOf(*report));
        offered_[rows.back().id] = report;
    }
    unsyncedDialog_ = new UnsyncedReportsDialog(std::move(rows), window_);
    unsyncedDialog_->setAttribute(Qt::WA_DeleteOnClose);
    connect(unsyncedDialog_, &UnsyncedReportsDialog::syncRequested, this, [this](const QString& id) {
        workflow_->sync(offered_[id]);
    });
    connect(unsyncedDialog_, &UnsyncedReportsDialog::openRequested, this, [this](const QString& id) {
        workflow_->open(offered_[id]);
    });
    unsyncedDialog_->open();
}

// ---- The end

bool WordReportController::mayClose() const {
    return !workflow_->active() && workflow_->isAllSynced();
}

void WordReportController::finishBeforeClosing(std::function<void(bool mayClose)> then) {
    closing_ = std::move(then);
    patience_.start();
    workflow_->finish([this](bool synced) {
        if (synced)
            answerClosing(true);
        else
            askBeforeClosing();
    });
}

void WordReportController::answerClosing(bool mayClose) {
    patience_.stop();
    delete closingBox_;
    if (const auto then = std::exchange(closing_, {}))
        then(mayClose);
}

void WordReportController::askBeforeClosing() {
    if (!closing_ || closingBox_)
        return;
    QString why = QStringLiteral("they are on their way to Zorbel");
    auto reports = workflow_->waiting();
    reports.insert(reports.begin(), workflow_->active());
    for (const WordReport* report : reports) {
        if (report && report->isOverdue()) {
            why = report->failure().shortText();
            break;
        }
    }
    if (why.endsWith(QLatin1Char('.')))
        why.chop(1);
    closingBox_ = new QMessageBox(
        QMessageBox::NoIcon, QStringLiteral("Word report not synced"),
        QStringLiteral(
            "A Word report has changes that are not in Zorbel yet: %1.\n\nIf you close now, they stay in the "
            "document on this computer and are offered again at the next start.")
            .arg(why),
        QMessageBox::Retry | QMessageBox::Close | QMessageBox::Cancel, window_);
    closingBox_->setIconPixmap(
        toolIcon(QStringLiteral("warning")).pixmap(QSize(40, 40), window_->devicePixelRatio()));
    closingBox_->setObjectName(QStringLiteral("unsyncedBox"));
    closingBox_->setTextFormat(Qt::PlainText);
    closingBox_->setDefaultButton(QMessageBox::Retry);
    closingBox_->button(QMessageBox::Retry)->setText(QStringLiteral("Sync Now"));
    closingBox_->button(QMessageBox::Close)->setText(QStringLiteral("Close and Sync Later"));
    closingBox_->setAttribute(Qt::WA_DeleteOnClose);
    connect(closingBox_, &QMessageBox::finished, this, [this](int answer) {
        closingBox_ = nullptr;
        if (answer == QMessageBox::Retry)
            finishBeforeClosing(std::exchange(closing_, {}));
        else
            answerClosing(answer == QMessageBox::Close);
    });
    closingBox_->open();
}

void WordReportController::record(const QString& event, const QString& studyUid, const QJsonObject& details) {
    audit_.start([client = client_, cancel = cancel_, event, studyUid, details] {
        client->sendViewerAudit(event, studyUid, details, cancel); // whether it arrived is no matter here
    });
}

} // namespace zorbel
