#pragma once

#include "TestSeries.h"
#include "api/ZorbelApiClient.h"
#include "cache/StudyLoadController.h"
#include "demo/DemoService.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SignedInClient.h"
#include "tests/support/Waiting.h"

#include <QDir>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zorbel::test {

/// Everything a controller said while this lives, in its order.
class LoadRecorder : public QObject {
public:
    explicit LoadRecorder(StudyLoadController& controller) {
        QObject::connect(&controller, &StudyLoadController::statusChanged, this, [this](const QString& s) {
            statuses += s;
        });
        QObject::connect(
            &controller, &StudyLoadController::stageChanged, this,
            [this](const StudyLoadStage& stage) { stages.push_back(stage); });
        QObject::connect(
            &controller, &StudyLoadController::imageReady, this,
            [this](const OrthancImageLoadResult& result) { images.push_back(result); });
        QObject::connect(
            &controller, &StudyLoadController::loadFailed, this,
            [this](const StudyLoadFailure& failure) { failures.push_back(failure); });
        QObject::connect(&controller, &StudyLoadController::loadCancelled, this, [this](const QString& s) {
            cancelled += s;
        });
        QObject::connect(
            &controller, &StudyLoadController::seriesChoiceNeeded, this,
            [this](StudyLoadGuard::Ticket ticket, const std::vector<OrthancSeriesSummary>& series, int row) {
                question = ticket;
                offered = series;
                suggested = row;
            });
        QObject::connect(
            &controller, &StudyLoadController::localCopyOffered, this,
            [this](StudyLoadGuard::Ticket ticket, const StudyLoadFailure& failure) {
                question = ticket;
                offer = failure;
            });
    }

    bool ended() const { return !images.empty() || !failures.empty() || !cancelled.isEmpty(); }
    bool waitForEnd() const {
        return waitFor([this] { return ended(); });
    }

    QStringList statuses;
    std::vector<StudyLoadStage> stages;
    std::vector<OrthancImageLoadResult> images;
    std::vector<StudyLoadFailure> failures;
    QStringList cancelled;
    std::optional<StudyLoadGuard::Ticket> question;
    std::vector<OrthancSeriesSummary> offered;
    int suggested = -1;
    std::optional<StudyLoadFailure> offer;
};

/// A demo service with the series that a test asks for, a signed-in client, and a temporary folder of its
/// own.
class StudyLoadTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        service_ = std::make_unique<demo::DemoService>();
        service_->start();
    }
    static void TearDownTestSuite() { service_.reset(); }

    void SetUp() override {
        ASSERT_TRUE(folder_.isValid());
        savedTemp_ = qgetenv("TMPDIR");
        qputenv("TMPDIR", tempFolder().toUtf8());
        QDir().mkpath(tempFolder());
        capture_ = std::make_unique<LogCapture>();
        client_ = signedInClient(*service_);
    }

    void TearDown() override {
        service_->clearFaults();
        service_->resetRequests();
        capture_.reset();
        EXPECT_TRUE(QDir(tempFolder()).entryList({QStringLiteral("zorbel-viewer-session-*")}).isEmpty());
        savedTemp_.isEmpty() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", savedTemp_);
    }

    QString tempFolder() const { return folder_.filePath(QStringLiteral("tmp")); }

    /// Puts the series into the archive and returns its study as the list names it.
    StudyIdentity upload(const std::vector<TestSeries>& series) {
        const auto folder = std::filesystem::path(folder_.filePath(QStringLiteral("upload")).toStdString());
        std::filesystem::remove_all(folder);
        for (const auto& one : series)
            one.write(folder / one.name);
        const auto result = service_->uploadFolder(folder);
        EXPECT_TRUE(result.failures.empty());
        const QString uid = QString::fromStdString(series.front().studyUid());
        for (const auto& row : client_->listStudies({}, 200))
            if (row.studyInstanceUID == uid)
                return identityOf(row);
        ADD_FAILURE() << "the uploaded study is not listed";
        return {};
    }

    static inline std::unique_ptr<demo::DemoService> service_;
    QTemporaryDir folder_;
    QByteArray savedTemp_;
    std::unique_ptr<LogCapture> capture_;
    std::shared_ptr<ZorbelApiClient> client_;
};

} // namespace zorbel::test
