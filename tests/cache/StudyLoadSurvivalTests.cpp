#include "ImageDigest.h"
#include "StudySourceTest.h"
#include "settings/store/SettingsStore.h"

#include <QProcess>

#include <algorithm>
#include <filesystem>
#include <random>
#include <set>
#include <string>

namespace zorbel {
namespace {

namespace fs = std::filesystem;
using test::StudySourceTest;

/// Of the some hundred calls that a load makes to the disk, those that are tried in turn.
constexpr unsigned killRounds = 24;
constexpr unsigned faultRounds = 6;
constexpr char imageRoute[] = "*/viewer-proxy/*";

/// What becomes of a disk below `under`; see tests/faults/DiskFaults.h.
struct DiskTrouble {
    unsigned at = 0;
    const char* kind = "kill";
    bool lasting = false;
    std::string under{};
};

/// Viewers in processes of their own, which are killed, or whose disk fails; then the next viewer comes.
class StudyLoadSurvivalTest : public StudySourceTest {
protected:
    void SetUp() override {
        StudySourceTest::SetUp();
        const auto profile = client_->profile();
        options_.storage = ViewerStorage(
            options_.storage->cacheRoot(),
            StorageScope::of(profile.organizationId.toStdString(), profile.id.toStdString()));
        set(settings_table::cacheDir, QString::fromStdString(options_.storage->cacheRoot().string()));
        const auto opened = open();
        ASSERT_NO_FATAL_FAILURE(expectWhole(opened, ImageSource::Service));
        digest_ = test::imageDigest(*opened.result->image);
        fs::remove_all(options_.storage->cacheRoot());
    }

    template <typename Setting, typename Value>
    void set(const Setting& setting, const Value& value) const {
        SettingsStore(settingsFile()).set(setting, value);
    }
    QString settingsFile() const { return folder_.filePath(QStringLiteral("settings.ini")); }

    std::unique_ptr<QProcess>
    start(const QStringList& extra, const DiskTrouble& fault = {}, bool trace = false) {
        auto process = std::make_unique<QProcess>();
        auto environment = QProcessEnvironment::systemEnvironment();
        const auto tell = [&environment](const char* name, const std::string& value) {
            environment.insert(
                QStringLiteral("ZORBEL_DISK_FAULT_") + QLatin1String(name), QString::fromStdString(value));
        };
        tell("UNDER", fault.under.empty() ? folder_.path().toStdString() : fault.under);
        if (fault.at > 0) {
            tell("AT", std::to_string(fault.at));
            tell("KIND", fault.kind);
            tell("LASTING", fault.lasting ? "1" : "0");
        }
        tell("TRACE", trace ? "1" : "0");
        fs::remove(report());
        tell("REPORT", report());
        process->setProcessEnvironment(environment);
        process->start(
            QStringLiteral(ZORBEL_OPEN_STUDY),
            QStringList{
                QString::fromStdString(service_->baseUrl()), settingsFile(),
                QStringLiteral(ZORBEL_MANIFEST_SCHEMA), QString::fromStdString(study_.orthancId),
                QString::fromStdString(study_.studyInstanceUid)} +
                extra);
        return process;
    }

    /// The program's one line, or nothing where it was killed. A viewer that ends in any other way fails.
    static std::string outcomeOf(QProcess& process) {
        EXPECT_TRUE(process.waitForFinished(-1));
        const std::string log = process.readAllStandardError().toStdString();
        if (process.exitStatus() == QProcess::NormalExit)
            EXPECT_EQ(process.exitCode(), 0) << log;
        else
            EXPECT_EQ(process.exitCode(), SIGKILL) << log;
        EXPECT_EQ(log.find("Patient"), std::string::npos);
        return process.readAllStandardOutput().trimmed().toStdString();
    }
    std::string run(const QStringList& extra, const DiskTrouble& fault = {}) {
        return outcomeOf(*start(extra, fault));
    }
    std::string report() const { return reports_.filePath(QStringLiteral("report")).toStdString(); }

    /// How many calls of an undisturbed run can fail.
    unsigned countCalls(const QStringList& extra, const std::string& under) {
        const auto process = start(extra, {.under = under}, true);
        EXPECT_EQ(outcomeOf(*process), whole("service"));
        std::ifstream lines(report());
        const auto count = std::count(std::istreambuf_iterator<char>(lines), {}, '\n');
        EXPECT_GT(count, 0);
        return static_cast<unsigned>(count);
    }

    std::string whole(const std::string& source) const { return source + " " + digest_; }

    std::set<std::string> besidesTheArchive() const {
        std::set<std::string> names;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(archiveFolder().parent_path(), error))
            if (entry.path() != archiveFolder() && entry.path().extension() != ".lock")
                names.insert(entry.path().filename().string());
        return names;
    }
    bool hasWorkspaces() const {
        return !QDir(tempFolder()).entryList({QStringLiteral("zorbel-viewer-session-*")}).isEmpty();
    }

    /// The next start, without the service's images and with them: never anything but the whole series.
    void expectSurvived(bool hadCopy) {
        EXPECT_EQ(SessionWorkspace::removeLeftovers().kept, 0);
        EXPECT_FALSE(hasWorkspaces());
        const int outage = service_->setFault(demo::Fault::reply(imageRoute, 503, ""));
        const auto offline = open();
        service_->removeFault(outage);
        if (hadCopy || offline.result)
            expectWhole(offline, ImageSource::Archive);
        if (!hadCopy)
            expectWhole(open(), offline.result ? ImageSource::Archive : ImageSource::Service);
        EXPECT_TRUE(besidesTheArchive().empty());
    }

    std::string cacheFolder() const { return options_.storage->cacheRoot().string(); }

private:
    std::string digest_;
    QTemporaryDir reports_; ///< on no disk that fails
};

TEST_F(StudyLoadSurvivalTest, killedAtAnyStepLeavesTheGoodCopyOrNone) {
    for (const bool hadCopy : {false, true}) {
        // With a copy, the first opening reads it and the second one replaces it.
        const QStringList extra = hadCopy ? QStringList{QStringLiteral("again")} : QStringList();
        const unsigned calls = countCalls(extra, folder_.path().toStdString());
        unsigned killed = 0;
        for (unsigned round = 0; round < killRounds; ++round) {
            const unsigned at = 1 + round * calls / killRounds;
            SCOPED_TRACE((hadCopy ? "replacing, call " : "call ") + std::to_string(at));
            if (!hadCopy)
                fs::remove_all(cacheFolder());
            killed += run(extra, {.at = at}).empty() ? 1 : 0;
            expectSurvived(hadCopy);
        }
        EXPECT_GT(killed, killRounds / 2);
    }
}

TEST_F(StudyLoadSurvivalTest, killedAtAnyMomentLeavesWhatTheNextStartCanUse) {
    std::mt19937 random(std::random_device{}());
    struct Moment {
        const char* line; ///< of the log, which the random time is counted from
        int laterMs;
    };
    const Moment moments[] = {
        {"Load started", 5}, {"Starting Orthanc DICOM download", 30}, {"Orthanc fallback volume ready", 30}};
    for (const bool packed : {false, true}) {
        if (packed)
            packVolumeCache();
        for (int round = 0; round < 6; ++round) {
            const Moment& moment = packed ? moments[0] : moments[round % 3];
            if (!packed && round < 3)
                fs::remove_all(cacheFolder());
            const auto process = start({QStringLiteral("again")});
            std::string log;
            while (log.find(moment.line) == std::string::npos && process->waitForReadyRead(-1))
                log += process->readAllStandardError().toStdString();
            const int later = std::uniform_int_distribution(0, moment.laterMs)(random);
            SCOPED_TRACE(std::string(moment.line) + " + " + std::to_string(later) + " ms");
            QTest::qSleep(later);
            process->kill();
            outcomeOf(*process);
            if (packed) {
                SessionWorkspace::removeLeftovers();
                expectWhole(open(), ImageSource::VolumeCache);
            } else {
                expectSurvived(false);
            }
        }
    }
}

TEST_F(StudyLoadSurvivalTest, aDiskThatFailsCostsTheCopyAndNeverTheImage) {
    const unsigned calls = countCalls({}, cacheFolder());
    struct Trouble {
        const char* kind;
        bool lasting;
    };
    for (const auto& [kind, lasting] :
         {Trouble{"ENOSPC", true}, Trouble{"EIO", false}, Trouble{"EROFS", true}}) {
        for (unsigned round = 0; round < faultRounds; ++round) {
            const unsigned at = 1 + round * calls / faultRounds;
            SCOPED_TRACE(std::string(kind) + " at call " + std::to_string(at));
            fs::remove_all(cacheFolder());
            EXPECT_EQ(run({}, {at, kind, lasting, cacheFolder()}), whole("service"));
            expectSurvived(false);
            EXPECT_EQ(run({QStringLiteral("again")}, {at, kind, lasting, cacheFolder()}), whole("service"));
            expectSurvived(true);
        }
    }
}

TEST_F(StudyLoadSurvivalTest, aFullTemporaryFolderIsToldAndLeavesNothing) {
    const std::string under = tempFolder().toStdString();
    const unsigned calls = countCalls({}, under);
    for (unsigned round = 0; round < faultRounds; ++round) {
        const unsigned at = 1 + round * calls / faultRounds;
        SCOPED_TRACE(at);
        fs::remove_all(cacheFolder());
        const std::string outcome = run({}, {at, "ENOSPC", true, under});
        const bool told =
            outcome.starts_with("failed Load failed — Cannot create the session-only DICOM workspace.") ||
            outcome.starts_with("failed Load failed — Cannot write a downloaded instance to the session-only "
                                "DICOM workspace. Check the free disk space.");
        EXPECT_TRUE(told || outcome == whole("service")) << outcome;
        EXPECT_FALSE(hasWorkspaces());
    }
}

TEST_F(StudyLoadSurvivalTest, viewersThatArchiveTheSameSeriesAtOnceKeepOneWholeCopy) {
    std::vector<std::unique_ptr<QProcess>> viewers;
    for (int viewer = 0; viewer < 3; ++viewer)
        viewers.push_back(start({QStringLiteral("again")}));
    for (const auto& viewer : viewers)
        EXPECT_EQ(outcomeOf(*viewer), whole("service"));
    expectSurvived(true);
}

TEST_F(StudyLoadSurvivalTest, sessionOnlyStorageGoesWithTheLastViewer) {
    set(settings_table::cacheRetentionDays, 0);
    const auto cleared = [this] { return !fs::exists(options_.storage->scopeDirectory()); };
    const auto opened = [](QProcess& viewer) {
        viewer.setReadChannel(QProcess::StandardOutput);
        while (!viewer.canReadLine() && viewer.waitForReadyRead(-1)) {
        }
        return viewer.readLine().trimmed().toStdString();
    };
    const QStringList stay{QStringLiteral("stay")};
    const auto first = start(stay);
    EXPECT_EQ(opened(*first), whole("service"));
    const auto second = start(stay);
    EXPECT_EQ(opened(*second), whole("archive"));
    first->closeWriteChannel();
    outcomeOf(*first);
    EXPECT_FALSE(cleared()) << "another viewer works with it";
    EXPECT_EQ(run({}), whole("archive"));
    second->closeWriteChannel();
    outcomeOf(*second);
    EXPECT_TRUE(cleared());

    const auto killed = start(stay);
    EXPECT_EQ(opened(*killed), whole("service"));
    killed->kill();
    outcomeOf(*killed);
    EXPECT_FALSE(cleared());
    EXPECT_EQ(run({}), whole("service")) << "the next start cleared what was left";
    EXPECT_TRUE(cleared());
}

TEST_F(StudyLoadSurvivalTest, aClockSetBackNeitherHidesNorKeepsAStudyForEver) {
    expectWhole(open(), ImageSource::Service);
    const auto now = ViewerStorage::Time::clock::now();
    for (const auto& entry : fs::recursive_directory_iterator(studyFolder()))
        fs::last_write_time(entry.path(), now + std::chrono::hours(48));
    fs::last_write_time(studyFolder(), now + std::chrono::hours(48));
    expectWhole(open(), ImageSource::Archive);
    EXPECT_LT(fs::last_write_time(studyFolder()), now + std::chrono::hours(1));
    fs::last_write_time(studyFolder(), now + std::chrono::hours(48));
    EXPECT_EQ(run({}), whole("archive"));
    EXPECT_LT(fs::last_write_time(studyFolder()), now + std::chrono::hours(1));
}

} // namespace
} // namespace zorbel
