#include "ProgramHome.h"
#include "TelemetryCollector.h"
#include "demo/DemoAccounts.h"
#include "demo/DemoService.h"
#include "demo/DicomFile.h"
#include "demo/PhantomStudies.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>

#include <gtest/gtest.h>

#include <memory>

#include <csignal>

namespace zorbel::test {
namespace {

namespace fs = std::filesystem;

const QString crashLock = QStringLiteral("Crash lock found — previous session did not exit cleanly");
const QString fault = QStringLiteral("The last session ended in a fault");
const QString cleanExit = QStringLiteral("Zorbel Desktop Workstation exiting cleanly");

/// The program in folders of its own, against a service with one study.
class ProgramTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        service_ = std::make_unique<demo::DemoService>();
        service_->start();
        QTemporaryDir files;
        demo::writeBenchSeries(files.path().toStdString(), 60, 128);
        ASSERT_EQ(service_->uploadFolder(files.path().toStdString()).stored, 60U);
    }
    static void TearDownTestSuite() { service_.reset(); }

    void SetUp() override {
        service_->clearFaults();
        home_.set("ZORBEL_API_BASE_URL", service_->baseUrl().c_str());
        home_.set("ZORBEL_DEMO_ACCOUNT", demo::readerAccount.email);
        home_.set("ZORBEL_DEMO_PASSWORD", demo::readerAccount.password);
        home_.set("ZORBEL_LOG_LEVEL", "debug");
    }
    void TearDown() override {
        const QStringList findings = home_.secretsFound(
            {QString::fromLatin1(demo::readerAccount.password), QStringLiteral("Phantom")},
            QString::fromLatin1(demo::readerAccount.email));
        EXPECT_TRUE(findings.isEmpty()) << findings.join(QLatin1Char('\n')).toStdString();
    }

    std::unique_ptr<QProcess> startAndStay(const char* script, const QStringList& arguments = {}) {
        auto process = home_.start(
            QStringLiteral(ZORBEL_SCRIPTED_VIEWER), QStringList{QString::fromLatin1(script)} + arguments);
        EXPECT_TRUE(waitForOutput(*process, "STAYING"));
        return process;
    }
    static void end(QProcess& process, int signalNumber) {
        ::kill(static_cast<pid_t>(process.processId()), signalNumber);
        EXPECT_TRUE(process.waitForFinished(-1));
        if (signalNumber != SIGKILL && signalNumber != SIGSEGV) {
            EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
            EXPECT_EQ(process.exitCode(), 0);
        }
    }
    Outcome play(const char* script, const QStringList& arguments = {}) {
        const Outcome outcome = home_.run(
            QStringLiteral(ZORBEL_SCRIPTED_VIEWER), QStringList{QString::fromLatin1(script)} + arguments);
        std::printf("[%s] %s", script, qPrintable(outcome.output));
        return outcome;
    }
    /// Every request for a series gets some slices of 32 KiB, and then nothing more.
    void hang() { service_->setFault(demo::Fault::hangAfter(demo::Fault::seriesStreams, 200'000)); }
    void expectCleanEnd() {
        EXPECT_TRUE(home_.logLines().last().contains(cleanExit)) << home_.log().toStdString();
        EXPECT_FALSE(home_.hasSessionLock());
        EXPECT_TRUE(home_.workspaces().isEmpty());
    }

    void goOn() const {
        QFile file(home_.path("temp/go-on"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    /// The program, the reader's sessions ended when the script has opened a study; what it said afterwards.
    QString playUntilSessionEnds(const char* script) {
        const auto running = startAndStay(script);
        service_->revokeTokens(demo::readerAccount);
        goOn();
        EXPECT_TRUE(running->waitForFinished(-1));
        EXPECT_EQ(running->exitCode(), 0);
        return QString::fromUtf8(running->readAll());
    }

    /// Whether a program that is started with the link ends without a sign-in of its own.
    bool isTaken(const QString& link) {
        const Outcome outcome = play("stay-at-sign-in", {link});
        return outcome.code == 0 && !outcome.output.contains(QStringLiteral("STAYING"));
    }

    static inline const QString uid_ = QString::fromStdString(demo::uidOf("study of bench 60 128"));
    static inline const QString link_ = QStringLiteral("zorbel-viewer://report?studyInstanceUID=");
    static inline std::unique_ptr<demo::DemoService> service_;
    ProgramHome home_;
};

TEST_F(ProgramTest, refusesAnInsecureServiceWithAMessage) {
    home_.set("ZORBEL_API_BASE_URL", "http://example.com");
    const Outcome outcome = play("dismiss-message");
    EXPECT_EQ(outcome.code, 2);
    EXPECT_TRUE(outcome.output.contains(QStringLiteral("TITLE Zorbel Viewer configuration\n")));
    EXPECT_TRUE(outcome.output.contains(QStringLiteral(
        "TEXT The secure API endpoint is invalid.||Zorbel API URL must use HTTPS (HTTP is allowed only for "
        "loopback development)\n")));
    EXPECT_FALSE(home_.hasSessionLock());
}

TEST_F(ProgramTest, endsWithZeroWhenTheSignInIsCancelled) {
    EXPECT_EQ(play("cancel-sign-in").code, 0);
    const QStringList lines = home_.logLines();
    EXPECT_TRUE(lines.first().contains(QStringLiteral("Zorbel Desktop Workstation starting")));
    EXPECT_TRUE(lines.last().contains(QStringLiteral("Viewer sign-in cancelled")));
    EXPECT_FALSE(home_.hasSessionLock());
}

TEST_F(ProgramTest, opensTheLinkedStudyAfterSignIn) {
    const Outcome outcome = play("linked-study", {link_ + uid_});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_TRUE(outcome.output.contains(QStringLiteral("Zorbel Cloud: ") + uid_));
    EXPECT_FALSE(home_.log().contains(crashLock));
    expectCleanEnd();
}

TEST_F(ProgramTest, tellsTelemetryOfItsSessionButNotWhoseItIs) {
    const TelemetryCollector collector;
    home_.set("ZORBEL_TELEMETRY_URL", collector.url().toString().toUtf8());
    EXPECT_EQ(play("sign-in").code, 0);
    expectCleanEnd();
    EXPECT_EQ(collector.names(), (std::vector<std::string>{"app.startup", "SESSION_END", "app.shutdown"}));
    for (const auto& batch : collector.batches())
        for (const std::string& personal :
             {std::string(demo::readerAccount.email), std::string(demo::readerAccount.id),
              std::string(demo::readerAccount.name)})
            EXPECT_EQ(batch.dump().find(personal), std::string::npos) << batch.dump();
}

TEST_F(ProgramTest, cancelInADownloadGivesTheWindowBackAndRemovesTheFiles) {
    hang();
    const Outcome outcome = play("cancel-download");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_TRUE(outcome.output.contains(QStringLiteral("ALL-LOADS-GONE")));
    expectCleanEnd();
}

TEST_F(ProgramTest, closingTheWindowInADownloadEndsItAndLeavesNothing) {
    hang();
    EXPECT_EQ(play("close-in-download").code, 0);
    expectCleanEnd();
}

TEST_F(ProgramTest, theNextStartNoticesAKilledSessionAndRemovesItsImages) {
    hang();
    {
        const auto process = startAndStay("stay-in-download");
        // Another start while that one runs takes nothing away from it.
        EXPECT_EQ(play("cancel-sign-in").code, 0);
        EXPECT_EQ(home_.workspaces().size(), 1);
        end(*process, SIGKILL);
    }
    EXPECT_TRUE(home_.hasSessionLock());
    EXPECT_EQ(home_.workspaces().size(), 1) << "nothing to clean up, so nothing was tried";

    service_->clearFaults();
    EXPECT_EQ(play("sign-in").code, 0);
    EXPECT_TRUE(home_.log().contains(crashLock));
    EXPECT_TRUE(home_.log().contains(QStringLiteral("Removed what ended sessions left behind")));
    expectCleanEnd();
}

TEST_F(ProgramTest, offersTheStudyOfAKilledSessionWhateverElseStartsAndEnds) {
    {
        const auto process = startAndStay("stay-with-study");
        EXPECT_EQ(play("sign-in").code, 0);
        EXPECT_TRUE(home_.hasSessionLock()) << "the other program still runs";
        EXPECT_FALSE(home_.log().contains(crashLock));
        end(*process, SIGKILL);
        EXPECT_TRUE(home_.log().contains(QStringLiteral("DICOM fallback volume displayed")));
    }
    const Outcome outcome = play("recover-after-link", {link_ + QStringLiteral("1.2.3")});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_TRUE(outcome.output.contains(QStringLiteral(": ") + uid_));
    EXPECT_EQ(home_.log().count(crashLock), 1);
    EXPECT_FALSE(home_.log().contains(fault)) << "a killed program leaves no dump";
    expectCleanEnd();
}

TEST_F(ProgramTest, theNextStartTellsOnceOfAFaultBesideTheStudyThatWasOpen) {
    end(*startAndStay("stay-with-study"), SIGSEGV);
    const Outcome outcome = play("see-crash-note");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_TRUE(outcome.output.contains(QStringLiteral(
        "NOTE The last session ended in a fault. A report of it was kept on this computer.\n")));
    EXPECT_TRUE(outcome.output.contains(QStringLiteral("signal 11 SIGSEGV"))) << "its report";
    EXPECT_TRUE(outcome.output.contains(QStringLiteral("\nscripted-viewer+0x")));
    EXPECT_TRUE(outcome.output.contains(QStringLiteral("\nlibQt6Core.so.6 ")));
    expectCleanEnd();
    EXPECT_EQ(play("sign-in").code, 0);
    EXPECT_EQ(home_.log().count(fault), 1);
}

TEST_F(ProgramTest, aRequestToEndIsAsAClosedWindow) {
    end(*startAndStay("stay-at-sign-in"), SIGHUP);
    EXPECT_TRUE(home_.logLines().last().contains(QStringLiteral("Viewer sign-in cancelled")));
    end(*startAndStay("stay-with-study"), SIGTERM);
    EXPECT_TRUE(home_.log().contains(QStringLiteral("Study closed")));
    expectCleanEnd();
}

TEST_F(ProgramTest, aLinkOpensInTheRunningProgramOrIsRefusedThere) {
    const auto running = startAndStay("receive-links");
    EXPECT_TRUE(isTaken(link_ + uid_ + QStringLiteral("&apiBase=https://app.zorbel.example")));
    EXPECT_TRUE(waitForOutput(
        *running, "TEXT This link opens a study of another imaging service, https://app.zorbel.example.||"));
    EXPECT_TRUE(
        isTaken(link_ + uid_ + QStringLiteral("&apiBase=") + QString::fromStdString(service_->baseUrl())));
    EXPECT_TRUE(waitForOutput(*running, "Zorbel Cloud: " + uid_.toLatin1()));
    ASSERT_TRUE(running->waitForFinished(-1));
    EXPECT_EQ(running->exitCode(), 0);
    expectCleanEnd();
}

TEST_F(ProgramTest, aLinkAtTheSignInTakesThePlaceOfTheOneThatWaits) {
    const auto running = startAndStay("receive-link-at-sign-in", {link_ + QStringLiteral("1.2.3")});
    EXPECT_TRUE(isTaken(link_ + uid_));
    goOn();
    EXPECT_TRUE(waitForOutput(*running, "Zorbel Cloud: " + uid_.toLatin1()));
    ASSERT_TRUE(running->waitForFinished(-1));
    EXPECT_EQ(running->exitCode(), 0);
}

TEST_F(ProgramTest, aSessionThatEndsOverAnOpenStudyIsRenewedWhenTheReaderWantsIt) {
    const QString output = playUntilSessionEnds("renew-session");
    EXPECT_TRUE(output.contains(QStringLiteral("EMAIL reader@zorbel.example\nFOCUS loginPassword\n")))
        << output.toStdString();
    EXPECT_TRUE(output.contains(QStringLiteral("RENEWED Loaded volume from Zorbel Cloud: ") + uid_))
        << output.toStdString();
    expectCleanEnd();
}

TEST_F(ProgramTest, anotherUserGoesOnInAWindowOfTheirOwnWhenAllIsSaved) {
    home_.set("ZORBEL_OTHER_ACCOUNT", demo::administratorAccount.email);
    home_.set("ZORBEL_OTHER_PASSWORD", demo::administratorAccount.password);
    const std::size_t before = service_->auditRecords().size();
    const QString output = playUntilSessionEnds("sign-in-as-another");
    EXPECT_TRUE(output.contains(QStringLiteral("TEXT Ada Admin (Demo Dental Clinic) signed in, but")))
        << output.toStdString();
    EXPECT_TRUE(output.contains(QStringLiteral("NEXT No study selected"))) << output.toStdString();
    EXPECT_TRUE(home_.log().contains(QStringLiteral("Study closed")));
    QDirIterator keyImages(
        home_.path("."), {QStringLiteral("*.png")}, QDir::Files, QDirIterator::Subdirectories);
    EXPECT_TRUE(keyImages.hasNext()) << "what the reader recorded without a session";
    const auto audits = service_->auditRecords();
    for (std::size_t i = before; i < audits.size(); ++i)
        EXPECT_TRUE(audits[i].userId == demo::readerAccount.id || audits[i].event == "SESSION_START")
            << audits[i].userId << " " << audits[i].event;
    expectCleanEnd();
}

} // namespace
} // namespace zorbel::test
