#include "report/WordReportWorkflow.h"

#include "api/LogReason.h"
#include "api/ZorbelApiError.h"
#include "app/log/Logger.h"
#include "base/PathText.h"
#include "base/qt/BackgroundTask.h"
#include "base/qt/QtText.h"
#include "report/StudyReportPacket.h"
#include "report/WordTemplateChoice.h"
#include "report/package/AppendReportPacket.h"

#include <QPointer>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace zorbel {

namespace {

constexpr char component[] = "WordReport";

QString boxTitle() {
    return QStringLiteral("Report in Word");
}

QString unexpectedText() {
    return QStringLiteral("Unexpected error while preparing the Word report.");
}

/// A service call's result, or why there is none.
template <class Value>
struct Reply {
    Value value{};
    std::optional<WordSyncFailure> failure;
};

template <class Call>
auto replyOf(Call call) {
    Reply<std::invoke_result_t<Call>> reply;
    try {
        reply.value = call();
    } catch (const std::exception& error) {
        Logger::instance().warn(
            component, "The Word report could not be prepared", {{"reason", logReason(error)}});
        reply.failure = WordSyncFailure::of(error);
        if (!dynamic_cast<const ZorbelApiError*>(&error))
            reply.failure->reason = unexpectedText();
    }
    return reply;
}

QString addedText(const EditResult& added, const ReportPacket& packet) {
    if (added.success)
        return QStringLiteral(" %1 measurement(s) and %2 key image(s) added.")
            .arg(packet.measurements.size())
            .arg(added.keyImages);
    return QStringLiteral(" Measurements could not be added to this template - the report opened unchanged.");
}

bool isEmpty(const ReportPacket& packet) {
    return packet.findings.empty() && packet.measurements.empty() && packet.keyImages.empty();
}

QString noWordProcessorText() {
    return QStringLiteral("Microsoft Word could not be opened. Check the .docx file association.");
}

} // namespace

/// A report on its way from the service into the word processor.
struct WordReportWorkflow::Opening {
    WordSession session;
    QByteArray document;
    bool rightToLeft = false; ///< the document
    QString added;            ///< for the status bar, behind what is said of the report
    std::optional<WordWorkingFolder> folder;
    WordReportRecord record;
    QString failure; ///< why it does not lie on the disk
};

WordReportWorkflow::WordReportWorkflow(
    std::shared_ptr<const WordService> service, WordReportPrompts& prompts, Recorder record, Options options,
    QObject* parent)
    : QObject(parent), service_(std::move(service)), prompts_(prompts), record_(std::move(record)),
      options_(std::move(options)), cancel_(std::make_shared<std::atomic<bool>>(false)) {
    pool_.setMaxThreadCount(4); // they wait, mostly
}

WordReportWorkflow::~WordReportWorkflow() {
    *cancel_ = true;
}

WordReportWorkflow::State WordReportWorkflow::state() const {
    if (preparing_)
        return State::Preparing;
    if (!active_)
        return State::None;
    switch (active_->state()) {
    case WordReport::State::Synced:
        return State::Synced;
    case WordReport::State::Unsynced:
        return State::Unsynced;
    case WordReport::State::Syncing:
        return State::Syncing;
    case WordReport::State::Failed:
        break;
    }
    return State::Failed;
}

std::vector<const WordReport*> WordReportWorkflow::waiting() const {
    std::vector<const WordReport*> reports;
    for (const Waiting& one : waiting_) {
        if (!one.report->isSynced()) // one that was left is looked at once more
            reports.push_back(one.report.get());
    }
    return reports;
}

std::vector<WordReport*> WordReportWorkflow::ofThisRun() const {
    std::vector<WordReport*> reports;
    if (active_)
        reports.push_back(active_.get());
    for (const Waiting& one : waiting_) {
        if (!one.earlier)
            reports.push_back(one.report.get());
    }
    return reports;
}

std::vector<WordReport*> WordReportWorkflow::unsynced() const {
    auto reports = ofThisRun();
    std::erase_if(reports, [](const WordReport* report) { return report->isSynced(); });
    return reports;
}

// ---- Opening

void WordReportWorkflow::begin(const WordReportRequest& request) {
    if (request.study.studyInstanceUid.empty()) {
        Q_EMIT statusText(QStringLiteral("Open a study before starting a Word report."));
        return;
    }
    if (preparing_)
        return;
    leaveActive(request.study.studyInstanceUid, [this, request] {
        if (!preparing_)
            chooseTemplate(request);
    });
}

void WordReportWorkflow::leaveActive(const std::string& studyUid, std::function<void()> then) {
    if (!active_) {
        then();
        return;
    }
    if (active_->state() == WordReport::State::Syncing) {
        Q_EMIT statusText(QStringLiteral(
            "Wait for the active Word report to finish syncing before opening another study."));
        return;
    }
    if (!active_->isSynced())
        Q_EMIT statusText(
            QStringLiteral("The active Word report has unsynced changes. It is being saved first."));
    if (std::exchange(leavingFor_, std::pair(studyUid, std::move(then))))
        return;
    // Also what was saved a moment ago and has not been noticed yet.
    connect(
        active_.get(), &WordReport::settled, this,
        [this] {
            if (const auto wish = std::exchange(leavingFor_, {}))
                askToLeave(wish->first == active_->record().study.studyInstanceUid, wish->second);
        },
        Qt::SingleShotConnection);
    const bool isAsked = active_->failure().kind == WordSyncFailure::Kind::SessionGone; // below
    active_->sync(isAsked ? WordReport::Telling::Once : WordReport::Telling::Again);
}

void WordReportWorkflow::askToLeave(bool sameStudy, const std::function<void()>& then) {
    using Kind = WordSyncFailure::Kind;
    const bool synced = active_->isSynced();
    const Kind kind = active_->failure().kind;
    QString text =
        QStringLiteral("The current Word report is fully synced. Close it in Word before switching "
                       "because only the latest opened report is monitored for Save.\n\nOpen a "
                       "report for the selected study?");
    if (active_->isDocumentMissing()) {
        text = QStringLiteral("The document of the current Word report cannot be found or read on this "
                              "computer.\n\nOpen another report for the selected study?");
    } else if (synced && sameStudy) {
        reopen();
        return;
    } else if (active_->state() == WordReport::State::Failed && kind == Kind::Outage && sameStudy) {
        reopen(); // it can be written on meanwhile
        return;
    } else if (!synced) {
        if (active_->state() != WordReport::State::Failed || kind == Kind::Outage ||
            kind == Kind::SignInNeeded || kind == Kind::Conflict)
            return; // the reader has been told, or asked
        text = QStringLiteral("The current Word report has changes that Zorbel does not take: %1\n\nThey "
                              "stay in the document on this computer, and are offered again at the next "
                              "start.\n\nOpen another report for the selected study?")
                   .arg(active_->failure().shortText());
    }
    prompts_.confirm(QStringLiteral("Switch Word report"), text, [then](bool agreed) {
        if (agreed)
            then();
    });
}

void WordReportWorkflow::chooseTemplate(const WordReportRequest& request) {
    setPreparing(true);
    runInBackground(
        pool_, this,
        [service = service_, cancel = cancel_] {
            return replyOf([&] { return service->templates(cancel); });
        },
        [this, request](const Reply<std::vector<WordTemplate>>& reply) {
            if (reply.failure)
                openFailed(*reply.failure, request);
            else
                offerTemplates(request, reply.value);
        });
}

void WordReportWorkflow::offerTemplates(
    const WordReportRequest& request, const std::vector<WordTemplate>& templates) {
    if (templates.empty()) { // the service has one of its own
        prepare(request, {});
        return;
    }
    prompts_.chooseTemplate(
        wordTemplateEntries(templates), [this, request, templates](std::optional<int> row) {
            if (row && *row >= 0 && static_cast<std::size_t>(*row) < templates.size()) {
                prepare(request, templates[static_cast<std::size_t>(*row)]);
                return;
            }
            setPreparing(false);
            Q_EMIT statusText(QStringLiteral("Word report template selection cancelled."));
        });
}

void WordReportWorkflow::prepare(const WordReportRequest& request, const WordTemplate& chosen) {
    Q_EMIT statusText(QStringLiteral("Preparing the Word report..."));
    runInBackground(
        pool_, this,
        [service = service_, cancel = cancel_, chosen,
         uid = QString::fromStdString(request.study.studyInstanceUid)] {
            return replyOf([&] {
                auto opening = std::make_shared<Opening>();
                opening->session = service->createSession(uid, chosen.id, cancel);
                opening->rightToLeft = chosen.direction == QLatin1String("rtl");
                opening->document = service->document(opening->session.sessionId, cancel);
                return opening;
            });
        },
        [this, request](const Reply<std::shared_ptr<Opening>>& reply) {
            if (reply.failure)
                openFailed(*reply.failure, request);
            else if (reply.value->document.isEmpty())
                openFailed(QStringLiteral("Zorbel returned an empty Word document"));
            else
                request.packet([workflow = QPointer(this), study = request.study,
                                opening = reply.value](const ReportPacket& packet) {
                    if (workflow)
                        workflow->write(study, opening, packet);
                });
        });
}

void WordReportWorkflow::write(
    const StudyIdentity& study, const std::shared_ptr<Opening>& opening, ReportPacket packet) {
    if (opening->rightToLeft)
        keepValuesLeftToRight(packet);
    runInBackground(
        pool_, this,
        [root = options_.root, study, opening, packet = std::move(packet)] {
            try {
                const std::string serviceSha256 = WordDocumentFile::digest(opening->document);
                // Without anything recorded there is nothing that could be missing.
                if (!isEmpty(packet)) {
                    const EditResult added = appendReportPacket(opening->document, packet);
                    if (added.success)
                        opening->document = added.bytes;
                    else
                        Logger::instance().warn(
                            component, "Report packet not appended", {{"reason", added.error.toStdString()}});
                    opening->added = addedText(added, packet);
                }
                opening->folder = WordWorkingFolder::create(root, opening->session);
                opening->record.session = opening->session;
                opening->record.study = study;
                opening->record.versionId = opening->session.versionId;
                opening->record.serviceSha256 = serviceSha256;
                opening->record.syncedSha256 = WordDocumentFile::digest(opening->document);
                opening->folder->writeRecord(opening->record); // before there is anything to save
                opening->folder->writeDocument(opening->document);
            } catch (const std::runtime_error& error) {
                opening->failure = QString::fromUtf8(error.what());
            } catch (const std::exception&) {
                opening->failure = unexpectedText();
            }
            return opening;
        },
        [this](const std::shared_ptr<Opening>& written) {
            if (written->failure.isEmpty())
                present(written);
            else
                openFailed(written->failure);
        });
}

void WordReportWorkflow::present(const std::shared_ptr<Opening>& opening) {
    activate(newReport(*opening->folder, opening->record, WordReport::State::Synced));
    setPreparing(false);
    prompts_.openDocument(active_->folder().document(), [this, opening](bool opened) {
        if (!opened) {
            openFailed(noWordProcessorText());
            return;
        }
        record_(
            QStringLiteral("DESKTOP_WORD_REPORT_OPEN"), qtText(opening->record.study.studyInstanceUid),
            {{QStringLiteral("reportId"), opening->session.reportId},
             {QStringLiteral("sessionId"), opening->session.sessionId}});
        Q_EMIT statusText(
            QStringLiteral("Word report open. Save in Word to create an immutable Zorbel version.") +
            opening->added);
    });
}

void WordReportWorkflow::openFailed(const WordSyncFailure& failure, const WordReportRequest& request) {
    if (failure.kind != WordSyncFailure::Kind::SignInNeeded) {
        openFailed(failure.reason);
        return;
    }
    setPreparing(false);
    askForSignIn([this, request] {
        if (!preparing_)
            chooseTemplate(request);
    });
}

void WordReportWorkflow::openFailed(const QString& reason) {
    setPreparing(false);
    prompts_.warn(
        boxTitle(), reason == unexpectedText()
                        ? reason
                        : QStringLiteral("Word report could not be opened: %1").arg(reason));
}

void WordReportWorkflow::reopen() {
    if (!active_)
        return;
    prompts_.openDocument(active_->folder().document(), [this](bool opened) {
        if (!opened)
            openFailed(noWordProcessorText());
        else
            Q_EMIT statusText(
                QStringLiteral("The active Word report was reopened. Save in Word to sync it with Zorbel."));
    });
}

void WordReportWorkflow::setPreparing(bool preparing) {
    if (std::exchange(preparing_, preparing) != preparing)
        Q_EMIT stateChanged();
}

// ---- Reports

std::unique_ptr<WordReport>
WordReportWorkflow::newReport(WordWorkingFolder folder, WordReportRecord record, WordReport::State state) {
    auto made = std::make_unique<WordReport>(
        *service_, pool_, std::move(folder), std::move(record), options_.timing, state);
    WordReport* report = made.get();
    connect(report, &WordReport::stateChanged, this, [this, report] {
        if (report == active_.get())
            Q_EMIT stateChanged();
        else
            Q_EMIT waitingChanged();
    });
    connect(report, &WordReport::syncBegan, this, [this] {
        Q_EMIT statusText(QStringLiteral("Saving a new immutable Word report version in Zorbel..."));
    });
    connect(report, &WordReport::versionConfirmed, this, [this, report](const WordSaveResult& result) {
        tellConfirmed(report, result);
    });
    connect(report, &WordReport::syncFailed, this, [this, report](const WordSyncFailure& failure) {
        tellFailed(report, failure);
    });
    connect(report, &WordReport::settled, this, [this, report] { letGoOfSynced(report); });
    return made;
}

void WordReportWorkflow::activate(std::unique_ptr<WordReport> report) {
    auto previous = std::exchange(active_, std::move(report));
    active_->watch();
    if (previous) {
        WordReport* left = previous.get();
        left->unwatch();
        waiting_.push_back({std::move(previous), false});
        if (left->isSynced())
            left->sync(); // what was saved until now
        else
            Q_EMIT waitingChanged();
    }
    Q_EMIT stateChanged();
}

void WordReportWorkflow::tellConfirmed(WordReport* report, const WordSaveResult& result) {
    const WordReportRecord& record = report->record();
    record_(
        QStringLiteral("DESKTOP_WORD_REPORT_SAVE_CONFIRMED"), qtText(record.study.studyInstanceUid),
        {{QStringLiteral("reportId"), record.session.reportId},
         {QStringLiteral("sessionId"), record.session.sessionId},
         {QStringLiteral("versionId"), result.versionId}});
    Q_EMIT statusText(QStringLiteral("Word report saved as a new immutable version."));
    if (report == active_.get())
        Q_EMIT stateChanged(); // the version
}

void WordReportWorkflow::letGoOfSynced(WordReport* report) {
    if (report == active_.get() || !report->isSynced())
        return;
    if (auto synced = takeWaiting(report)) {
        synced.release()->deleteLater(); // it is still telling
        Q_EMIT waitingChanged();
    }
}

void WordReportWorkflow::tellFailed(WordReport* report, const WordSyncFailure& failure) {
    using Kind = WordSyncFailure::Kind;
    Q_EMIT statusText(failure.statusText());
    const QPointer<WordReport> told = report;
    switch (failure.kind) {
    case Kind::SignInNeeded:
        askForSignIn([told] {
            if (told)
                told->sync(WordReport::Telling::Once);
        });
        break;
    case Kind::Conflict:
        prompts_.askAboutConflict(
            QStringLiteral("Another version of this report was made at Zorbel since it was opened here.\n\n"
                           "Both can be kept: the other version stays as it is, and yours becomes the "
                           "newest one. Or keep yours on this computer for now, and compare them first."),
            [told](bool overwrite) {
                if (told && overwrite)
                    told->overwrite();
            });
        break;
    case Kind::SessionGone:
        prompts_.warn(
            boxTitle(),
            QStringLiteral("Zorbel takes no more versions of this report: %1\n\nThe document with "
                           "your changes is kept on this computer:\n%2")
                .arg(failure.reason, qtText(pathText(report->folder().document()))));
        break;
    case Kind::Outage:
    case Kind::TooLarge:
    case Kind::Refused:
        break;
    }
}

void WordReportWorkflow::askForSignIn(std::function<void()> then) {
    afterSignIn_.push_back(std::move(then));
    if (afterSignIn_.size() > 1)
        return;
    prompts_.signInAgain([this](bool signedIn) {
        const auto waitedForIt = std::exchange(afterSignIn_, {});
        if (!signedIn)
            return;
        sessionRenewed();
        for (const auto& next : waitedForIt)
            next();
    });
}

std::unique_ptr<WordReport> WordReportWorkflow::takeWaiting(const WordReport* report) {
    const auto found = std::find_if(
        waiting_.begin(), waiting_.end(), [&](const Waiting& one) { return one.report.get() == report; });
    if (found == waiting_.end())
        return nullptr;
    auto taken = std::move(found->report);
    waiting_.erase(found);
    return taken;
}

void WordReportWorkflow::retry() {
    for (WordReport* report : unsynced())
        report->sync();
}

void WordReportWorkflow::sessionRenewed() {
    for (WordReport* report : unsynced())
        report->sync(WordReport::Telling::Once);
}

void WordReportWorkflow::findUnsynced() {
    runInBackground(
        pool_, this,
        [root = options_.root, keep = options_.keepSynced] { return takeUnsyncedReports(root, keep); },
        [this](const std::vector<UnsyncedReport>& found) {
            for (const UnsyncedReport& one : found)
                waiting_.push_back(
                    {newReport(
                         one.folder, one.record.value_or(WordReportRecord{}), WordReport::State::Unsynced),
                     true});
            if (found.empty())
                return;
            Q_EMIT waitingChanged();
            Q_EMIT unsyncedFound();
        });
}

void WordReportWorkflow::sync(const WordReport* report) {
    for (const Waiting& one : waiting_) {
        if (one.report.get() == report) {
            one.report->sync();
            return;
        }
    }
}

void WordReportWorkflow::open(const WordReport* report) {
    if (preparing_)
        return;
    leaveActive({}, [this, report] {
        if (preparing_)
            return;
        if (auto taken = takeWaiting(report)) {
            activate(std::move(taken));
            Q_EMIT waitingChanged();
            reopen();
        }
    });
}

void WordReportWorkflow::finish(std::function<void(bool allSynced)> then) {
    const auto reports = ofThisRun(); // also for a save that was not noticed yet
    if (reports.empty()) {
        then(true);
        return;
    }
    const auto left = std::make_shared<std::size_t>(reports.size());
    for (WordReport* report : reports) {
        connect(
            report, &WordReport::settled, this,
            [this, left, then] {
                if (--*left == 0)
                    then(unsynced().empty());
            },
            Qt::SingleShotConnection);
        report->sync(WordReport::Telling::Once);
    }
}

} // namespace zorbel
