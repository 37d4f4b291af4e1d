#pragma once

#include "api/ZorbelApiError.h"
#include "report/WordReportWorkflow.h"
#include "tests/support/Files.h"
#include "tests/support/Waiting.h"

#include <QBuffer>
#include <QSignalSpy>
#include <private/qzipwriter_p.h>

#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zorbel::test {

/// A Word document that says `text`; the same bytes each time.
inline QByteArray wordDocument(const QByteArray& text) {
    static std::map<QByteArray, QByteArray> made; // a package holds the time at which it was written
    if (const auto found = made.find(text); found != made.end())
        return found->second;
    constexpr char main[] = "http://schemas.openxmlformats.org/wordprocessingml/2006/main";
    QBuffer buffer;
    QZipWriter zip(&buffer);
    zip.addFile(
        QStringLiteral("[Content_Types].xml"),
        QByteArray("<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\"></Types>"));
    zip.addFile(
        QStringLiteral("word/document.xml"), "<w:document xmlns:w=\"" + QByteArray(main) +
                                                 "\"><w:body><w:p><w:r><w:t>" + text +
                                                 "</w:t></w:r></w:p></w:body></w:document>");
    zip.addFile(
        QStringLiteral("word/_rels/document.xml.rels"),
        QByteArray("<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
                   "</Relationships>"));
    zip.close();
    return made[text] = buffer.data();
}

/// A service that holds one report and fails on request.
class ScriptedWordService : public WordService {
public:
    enum class Fault {
        Refuse, ///< with `status`
        NoAnswer,
        Stored, ///< no answer, but the version is made
    };

    std::vector<WordTemplate> templates(const CancelFlag&) const override { return offered; }
    WordSession
    createSession(const QString& uid, const QString& templateId, const CancelFlag&) const override {
        const std::lock_guard lock(mutex_);
        sessionsBegun.push_back(uid + QLatin1Char('/') + templateId);
        const QString number = QString::number(sessionsBegun.size());
        return {
            QStringLiteral("session-") + number,
            QStringLiteral("report/%1-0123456789abcdef").arg(number),
            {},
            QStringLiteral("v1"),
            QStringLiteral("Zorbel-Report.docx"),
            {}};
    }
    QByteArray document(const QString&, const CancelFlag&) const override {
        const std::lock_guard lock(mutex_);
        return versions_.back();
    }
    WordSaveResult save(const QString&, const QByteArray& bytes, const CancelFlag& cancel) const override {
        std::unique_lock lock(mutex_);
        ++saves_;
        changed_.notify_all();
        changed_.wait(lock, [&] { return !held_ || isCancelled(cancel); });
        if (!faults_.empty()) {
            const auto [fault, status] = faults_.front();
            faults_.pop_front();
            if (fault == Fault::Refuse)
                throw ZorbelApiError("It said no", status);
            if (fault == Fault::Stored)
                versions_.push_back(bytes);
            throw ZorbelApiError("Nobody answered", ZorbelApiError::Cause::NoAnswer);
        }
        versions_.push_back(bytes);
        WordSaveResult result{.approved = true, .saved = true, .createdVersion = true};
        result.versionId = QStringLiteral("v%1").arg(versions_.size());
        return result;
    }

    void failNext(Fault fault, int status = 0) {
        const std::lock_guard lock(mutex_);
        faults_.emplace_back(fault, status);
    }
    /// Somebody else's.
    void addVersion(const QByteArray& bytes) {
        const std::lock_guard lock(mutex_);
        versions_.push_back(bytes);
    }
    /// Saves that come in wait until they are let go.
    void hold(bool held) {
        const std::lock_guard lock(mutex_);
        held_ = held;
        changed_.notify_all();
    }
    std::vector<QByteArray> versions() const {
        const std::lock_guard lock(mutex_);
        return versions_;
    }
    int saves() const {
        const std::lock_guard lock(mutex_);
        return saves_;
    }

    std::vector<WordTemplate> offered{
        {QStringLiteral("t-1"), QStringLiteral("Standard"), {}, {}, {}},
        {QStringLiteral("0123456789"), QStringLiteral("Standard"), QStringLiteral(" "), {}, {}},
        {QStringLiteral("t-3"),
         QStringLiteral("Long"),
         QStringLiteral(" with images "),
         {},
         QStringLiteral("rtl")}};
    mutable std::vector<QString> sessionsBegun;

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    mutable std::deque<std::pair<Fault, int>> faults_;
    mutable std::vector<QByteArray> versions_{wordDocument("template")};
    mutable int saves_ = 0;
    bool held_ = false;
};

/// A reader who answers at once.
class ScriptedReader : public WordReportPrompts {
public:
    void chooseTemplate(const QStringList& entries, std::function<void(std::optional<int>)> chosen) override {
        offered = entries;
        chosen(choice);
    }
    void confirm(const QString& title, const QString&, Answer answer) override {
        asked.append(title);
        answer(agrees);
    }
    void askAboutConflict(const QString&, Answer answer) override {
        asked.append(QStringLiteral("conflict"));
        conflict = std::move(answer);
    }
    void signInAgain(Answer answer) override {
        asked.append(QStringLiteral("sign-in"));
        answer(signsIn);
    }
    void warn(const QString&, const QString& text) override { warnings.append(text); }
    void openDocument(const std::filesystem::path& document, Answer answer) override {
        opened.push_back(document);
        answer(hasWordProcessor);
    }

    std::optional<int> choice = 2;
    bool agrees = true;
    bool hasWordProcessor = true;
    bool signsIn = true;
    Answer conflict;
    QStringList offered;
    QStringList asked;
    QStringList warnings;
    std::vector<std::filesystem::path> opened;
};

/// As word processors save.
inline void replace(const std::filesystem::path& document, const QByteArray& bytes) {
    const auto temporary = document.parent_path() / "lu123.tmp";
    writeFile(temporary, {bytes.constData(), static_cast<std::size_t>(bytes.size())});
    std::filesystem::rename(temporary, document);
}

class WordReportFixture : public testing::Test {
protected:
    using State = WordReportWorkflow::State;
    using Fault = ScriptedWordService::Fault;

    WordReportFixture() { start(); }

    /// A new run of the program.
    void start(std::chrono::hours keepSynced = std::chrono::hours(24)) {
        workflow.reset();
        WordReportWorkflow::Options options{.root = folder.path() / "word", .keepSynced = keepSynced};
        using namespace std::chrono_literals;
        options.timing = {.settle = 5ms, .poll = 20ms, .firstRetry = 10ms, .longestRetry = 20ms};
        workflow = std::make_unique<WordReportWorkflow>(
            service, reader,
            [this](const QString& event, const QString&, const QJsonObject&) { events.append(event); },
            options);
        QObject::connect(workflow.get(), &WordReportWorkflow::statusText, [this](const QString& text) {
            said.append(text);
        });
    }
    static WordReportRequest requestFor(const std::string& uid) {
        ReportPacket packet;
        packet.measurements.push_back({QStringLiteral("Length 1"), QStringLiteral("10.00 mm"), {}});
        return {
            {.studyInstanceUid = uid, .patientName = "Doe^Jane"},
            [packet](const std::function<void(ReportPacket)>& then) { then(packet); }};
    }
    /// Opens a report and returns its document's path.
    std::filesystem::path open(const std::string& uid = "1.2.3") {
        const std::size_t before = reader.opened.size();
        workflow->begin(requestFor(uid));
        EXPECT_TRUE(waitFor([&] { return reader.opened.size() > before; }));
        return reader.opened.back();
    }
    bool becomes(State state) const {
        return waitFor([&] { return workflow->state() == state; });
    }
    /// Nothing is under way: a save that was made is at the service, or has failed.
    void settleDown() {
        bool over = false;
        workflow->finish([&](bool) { over = true; });
        EXPECT_TRUE(waitFor([&] { return over; }));
    }
    TemporaryFolder folder{memoryDisk()};
    std::shared_ptr<ScriptedWordService> service = std::make_shared<ScriptedWordService>();
    ScriptedReader reader;
    QStringList events;
    QStringList said;
    std::unique_ptr<WordReportWorkflow> workflow;
};

} // namespace zorbel::test
