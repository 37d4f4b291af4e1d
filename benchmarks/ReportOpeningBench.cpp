#include "benchmarks/ReportOpeningBench.h"

#include "api/ZorbelApiClient.h"
#include "base/qt/BackgroundTask.h"
#include "benchmarks/BenchGround.h"
#include "benchmarks/ReportBench.h"
#include "benchmarks/Statistics.h"
#include "demo/DemoAccounts.h"
#include "report/WordReportWorkflow.h"
#include "report/WordServiceClient.h"
#include "report/package/AppendReportPacket.h"

#include <QEventLoop>
#include <QFile>

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

#include <unistd.h>

namespace zorbel::bench {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int runs = 9;
constexpr double ratioGoal = 1.0 / 1.5;
constexpr char wholeName[] = "Report, click to document on disk";

enum Stage { Templates, Session, Document, Packet, Append, OnDisk, stages };
constexpr std::array<const char*, stages> stageNames{
    "Report, list of templates",
    "Report, session",
    "Report, document from the service",
    "Report, packet",
    "Report, appending",
    "Report, folder, record and document on disk"};

double since(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// When the workflow came to the end of what.
class Times {
public:
    void begin() { last_ = Clock::now(); }
    void end(Stage stage) {
        taken_[stage].push_back(since(last_));
        last_ = Clock::now();
    }
    double medianOf(Stage stage) const { return median(taken_.at(stage)); }

private:
    Clock::time_point last_;
    std::map<Stage, std::vector<double>> taken_;
};

/// Tells when the session was there; the other ends are seen from outside.
class TimedService : public WordServiceClient {
public:
    TimedService(std::shared_ptr<const ZorbelApiClient> client, Times& times)
        : WordServiceClient(std::move(client)), times_(times) {}
    WordSession
    createSession(const QString& uid, const QString& templateId, const CancelFlag& cancel) const override {
        WordSession session = WordServiceClient::createSession(uid, templateId, cancel);
        times_.end(Session);
        return session;
    }

private:
    Times& times_;
};

/// Takes the first template, and the document as it comes.
class PromptReader : public WordReportPrompts {
public:
    PromptReader(Times& times, QEventLoop& loop) : times_(times), loop_(loop) {}
    void chooseTemplate(const QStringList&, std::function<void(std::optional<int>)> chosen) override {
        times_.end(Templates);
        chosen(0);
    }
    void confirm(const QString&, const QString&, Answer answer) override { answer(true); }
    void askAboutConflict(const QString&, Answer answer) override { answer(false); }
    void signInAgain(Answer answer) override {
        fail("it wants somebody to sign in");
        answer(false);
    }
    void warn(const QString&, const QString& text) override { fail(text.toStdString()); }
    void openDocument(const fs::path& document, Answer answer) override {
        times_.end(OnDisk);
        opened = document;
        answer(true);
        loop_.quit();
    }

    fs::path opened;
    std::string failure;

private:
    void fail(const std::string& why) {
        failure = why;
        loop_.quit();
    }
    Times& times_;
    QEventLoop& loop_;
};

QByteArray read(const QString& file) {
    QFile picture(file);
    if (!picture.open(QIODevice::ReadOnly))
        throw std::runtime_error("A picture cannot be read");
    return picture.readAll();
}

class OpeningBench {
public:
    explicit OpeningBench(BenchGround& ground)
        : folder_(ground.folder() / "report"),
          client_(std::make_shared<ZorbelApiClient>(ApiClientConfig{ground.serviceUrl()})),
          packet_(benchPacket()) {
        client_->signIn(
            QString::fromLatin1(demo::readerAccount.email),
            QString::fromLatin1(demo::readerAccount.password));
        const auto studies = client_->listStudies(QString(), 1);
        if (studies.empty())
            throw std::runtime_error("The demo service lists no study");
        study_ = studies.front().studyInstanceUID;
        fs::create_directories(folder_);
        for (ReportPacket::KeyImage& image : packet_.keyImages) {
            QFile file(path(image));
            if (!file.open(QIODevice::WriteOnly) || file.write(image.png) != image.png.size())
                throw std::runtime_error("A picture cannot be written");
            image.png.clear(); // as in the viewer, they lie on the disk
        }
    }

    /// The program's way. Milliseconds.
    double open() {
        QEventLoop loop;
        PromptReader reader(times_, loop);
        WordReportWorkflow workflow(
            std::make_shared<TimedService>(client_, times_), reader,
            [](const QString&, const QString&, const QJsonObject&) {},
            {.root = folder_ / ("word-" + std::to_string(++number_)), .timing = {}});
        const auto start = Clock::now();
        times_.begin();
        workflow.begin(
            {{.studyInstanceUid = study_.toStdString()},
             [this, &loop](const std::function<void(ReportPacket)>& then) {
                 times_.end(Document);
                 runInBackground(
                     pool_, &loop, [this] { return packet(); },
                     [this, then](const ReportPacket& packet) {
                         times_.end(Packet);
                         then(packet);
                     });
             }});
        loop.exec();
        const double taken = since(start);
        if (reader.opened.empty())
            throw std::runtime_error("The report was not opened: " + reader.failure);
        return taken;
    }

    /// What cannot be done without, one after the other. Milliseconds.
    double openPlainly() {
        const WordServiceClient service(client_);
        const auto start = Clock::now();
        const auto templates = service.templates({});
        const WordSession session = service.createSession(study_, templates.at(0).id, {});
        const QByteArray document = service.document(session.sessionId, {});
        const ReportPacket added = packet();
        const auto appending = Clock::now();
        const EditResult edited = appendReportPacket(document, added);
        appending_.push_back(since(appending));
        QFile file(QString::fromStdString((folder_ / "plain.docx").string()));
        if (!edited.success || !file.open(QIODevice::WriteOnly) ||
            file.write(edited.bytes) != edited.bytes.size() || !file.flush() || fsync(file.handle()) != 0)
            throw std::runtime_error("The reference wrote nothing");
        size_ = edited.bytes.size();
        return since(start);
    }

    std::vector<BenchRow> rows(const PairedMedians& taken) const {
        BenchRow whole = durationRow(wholeName, "ms", taken.ours, taken.reference, ratioGoal);
        whole.note = "the demo service's first template, 20 measurements, 10 findings and 12 key images of "
                     "1440 × 900, a document of " +
                     std::to_string(size_ / 1'000'000) +
                     " MB; the reference makes the same requests, the same editing and one plain write, "
                     "synchronised, by itself; nobody thinks about the template";
        std::vector<BenchRow> all{whole};
        for (int stage = 0; stage < stages; ++stage)
            all.push_back(plainRow(stageNames[static_cast<std::size_t>(stage)], "ms", figure(Stage(stage))));
        all[1 + Packet].note = "the 12 pictures are read from the disk, on another thread";
        all[1 + Append].note = "as the reference does it; the whole's last stage is less that";
        return all;
    }

private:
    double figure(Stage stage) const {
        const double appending = median(appending_);
        if (stage == Append)
            return appending;
        return stage == OnDisk ? std::max(times_.medianOf(OnDisk) - appending, 0.0) : times_.medianOf(stage);
    }
    QString path(const ReportPacket::KeyImage& image) const {
        return QString::fromStdString(folder_.string()) + QLatin1Char('/') + image.fileName;
    }
    ReportPacket packet() const {
        ReportPacket whole = packet_;
        for (ReportPacket::KeyImage& image : whole.keyImages)
            image.png = read(path(image));
        return whole;
    }

    fs::path folder_;
    std::shared_ptr<ZorbelApiClient> client_;
    ReportPacket packet_;
    QString study_;
    Times times_;
    std::vector<double> appending_;
    qsizetype size_ = 0;
    int number_ = 0;
    QThreadPool pool_;
};

} // namespace

std::vector<std::string> reportOpeningRowNames() {
    std::vector<std::string> names{wholeName};
    names.insert(names.end(), stageNames.begin(), stageNames.end());
    return names;
}

std::vector<BenchRow> measureReportOpening(BenchGround& ground) {
    OpeningBench bench(ground);
    const PairedMedians taken = medianInTurn(
        runs, [&] { return bench.open(); }, [&] { return bench.openPlainly(); });
    return bench.rows(taken);
}

} // namespace zorbel::bench
