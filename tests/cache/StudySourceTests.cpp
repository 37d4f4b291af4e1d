#include "StudySourceTest.h"
#include "tests/faults/DiskFaults.h"
#include "tests/support/Files.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <optional>
#include <thread>

namespace zorbel {
namespace {

namespace fs = std::filesystem;
using demo::Fault;
using test::LoadRecorder;
using test::StudySourceTest;
using test::TestSeries;

constexpr char imageRoute[] = "*/viewer-proxy/*";

TEST_F(StudySourceTest, opensAVolumeCacheWithoutAskingForImages) {
    packVolumeCache();
    service_->setFault(Fault::reply(imageRoute, 503, ""));
    const auto opened = open();
    expectWhole(opened, ImageSource::VolumeCache);
    EXPECT_TRUE(opened.result->volumetric);
    EXPECT_TRUE(opened.result->notice.isEmpty());
    EXPECT_EQ(opened.result->image->geometry().spacing(), (imaging::Vector3{0.5, 0.5, 1.0}));
    EXPECT_EQ(opened.result->image->geometry().origin(), (imaging::Vector3{-8.0, -8.0, 0.0}));
    EXPECT_EQ(service_->requestCount(imageRoute), 0u);

    StudyIdentity linked;
    linked.studyInstanceUid = study_.studyInstanceUid;
    EXPECT_EQ(open(linked).result->study.patientName, study_.patientName) << "a link names no patient";
    options_.archivePatience = short_;
    service_->setFault(Fault::delayed("*/studies*", std::chrono::hours(1)));
    expectWhole(open(linked), ImageSource::VolumeCache); // not kept back by a service that is slow to name it
}

TEST_F(StudySourceTest, fallsBackFromADamagedCacheAndSaysSo) {
    packVolumeCache();
    overwriteByte(studyFolder() / "chunk-1.bin.gz", 40);
    const auto opened = open();
    expectWhole(opened, ImageSource::Service);
    const QString message = QStringLiteral("Cache integrity check failed — falling back to DICOM.");
    EXPECT_EQ(opened.result->notice, message);
}

TEST_F(StudySourceTest, reportsAnImpossibleCacheInsteadOfPassingOverIt) {
    packVolumeCache();
    const fs::path manifest = studyFolder() / "manifest.json";
    QJsonObject object =
        QJsonDocument::fromJson(QByteArray::fromStdString(test::readFile(manifest))).object();
    QJsonArray chunks = object.value(QLatin1String("chunks")).toArray();
    chunks.removeAt(1);
    object.insert(QStringLiteral("chunks"), chunks);
    test::writeFile(manifest, QJsonDocument(object).toJson().toStdString());
    const auto opened = open();
    EXPECT_FALSE(opened.result.has_value());
    EXPECT_TRUE(opened.failure.contains(QStringLiteral("Cannot load study: ")))
        << opened.failure.toStdString();
    EXPECT_EQ(service_->requestCount(imageRoute), 0u);
    expectWhole(open(study_, true), ImageSource::Service);
}

TEST_F(StudySourceTest, reopensFromTheArchiveWithoutDownloading) {
    const auto stages = [](const Opened& opened) {
        std::string names;
        for (const LoadRecord::Stage& stage : opened.result->record.stages)
            names += stage.name + "; ";
        return names;
    };
    const auto first = open();
    expectWhole(first, ImageSource::Service);
    EXPECT_EQ(
        stages(first),
        "volume cache; listing of series; download as a stream; headers and grouping; decoding; ");
    EXPECT_EQ(first.result->record.files, static_cast<std::size_t>(series_.slices));
    EXPECT_TRUE(first.result->image->metadata().transferSyntax.starts_with("1.2.840.10008.1.2"));
    EXPECT_EQ(imageRequests(), 1u);
    const auto again = open();
    expectWhole(again, ImageSource::Archive);
    EXPECT_EQ(
        stages(again), "volume cache; listing of series; archive check; headers and grouping; decoding; ");
    EXPECT_EQ(imageRequests(), 1u);
    expectWhole(open(study_, true), ImageSource::Service); // "Retry from PACS" means it
    EXPECT_EQ(imageRequests(), 2u);
}

TEST_F(StudySourceTest, archivesEachImageUnderItsOwnIdWhateverTheOrderOfTheStream) {
    service_->setFault(Fault::stream(Fault::Kind::ShuffledParts));
    open();
    const auto archived = StudyArchives(*options_.storage).series(study_.studyInstanceUid);
    ASSERT_EQ(archived.size(), 1u);
    for (const QString& id : archived.front().instanceIds) {
        const fs::path file = archiveFolder() / (id.toStdString() + ".dcm");
        EXPECT_EQ(
            test::readFile(file),
            client_->proxyGet("instances/" + id + "/file", 30000, 1 << 20).toStdString());
    }
    EXPECT_EQ(archived.front().instanceIds.size(), series_.slices);
}

TEST_F(StudySourceTest, opensAStudySeenBeforeWithoutTheService) {
    open();
    const std::vector<std::pair<Fault, const char*>> outages{
        {Fault::reply(imageRoute, 503, ""), "switched off"},
        {Fault::delayed(imageRoute, std::chrono::hours(1)), "too slow"}};
    for (const auto& [fault, name] : outages) {
        SCOPED_TRACE(name);
        service_->setFault(fault);
        options_.archivePatience = short_;
        const auto opened = open();
        expectWhole(opened, ImageSource::Archive);
        EXPECT_EQ(
            opened.result->notice,
            QStringLiteral("The imaging service does not answer. This is the copy kept on this computer."));
        EXPECT_EQ(opened.result->series.seriesDescription, QStringLiteral("CBCT test"));
        StudyIdentity linked;
        linked.studyInstanceUid = study_.studyInstanceUid;
        EXPECT_FALSE(open(linked).result->study.patientName.empty());
        service_->clearFaults();
    }
    options_.archivePatience = long_;
    service_->setFault(Fault::error(imageRoute, 403, "No access any more", "FORBIDDEN"));
    EXPECT_TRUE(open().failure.contains(QStringLiteral("No access any more"))) << "a refusal is no outage";
}

TEST_F(StudySourceTest, asksBeforeItShowsTheCopyOfAStudyThatTheServiceCouldHaveServed) {
    open();
    const auto node = QStringLiteral("The selected study cannot be resolved on the Local Node");
    const std::vector<std::pair<std::optional<Fault>, QString>> failures{
        {Fault::badJson(imageRoute), QStringLiteral("Invalid JSON returned by Zorbel study metadata: ")},
        {Fault::error(imageRoute, 404, "No such study", "NOT_FOUND"), QStringLiteral("No such study")},
        {Fault::reply(imageRoute, 200, "{}"), QStringLiteral("Orthanc study contains no loadable series.")},
        {std::nullopt, node}};
    for (const auto& [fault, message] : failures)
        for (const bool wanted : {false, true}) {
            SCOPED_TRACE(message.toStdString());
            if (fault)
                service_->setFault(*fault);
            else
                client_->selectSource(SourceKind::LocalNodeRequired, {});
            StudyLoadController controller(client_, options_);
            LoadRecorder recorder(controller);
            controller.openStudy(study_);
            ASSERT_TRUE(QTest::qWaitFor([&] { return recorder.offer || recorder.ended(); }, 30000));
            ASSERT_TRUE(recorder.offer && !recorder.ended());
            EXPECT_TRUE(recorder.offer->text.contains(message));
            EXPECT_TRUE(recorder.offer->text.endsWith(
                QStringLiteral("A copy of this study is kept on this computer. Open the copy?")));
            controller.answerLocalCopyOffer(*recorder.question, wanted);
            ASSERT_TRUE(recorder.waitForEnd());
            ASSERT_EQ(recorder.images.size(), wanted ? 1u : 0u);
            if (wanted) {
                EXPECT_EQ(recorder.images.front().source, ImageSource::Archive);
                EXPECT_EQ(
                    recorder.images.front().notice,
                    QStringLiteral("The imaging service did not serve this study. This is the copy kept on "
                                   "this computer."));
            } else {
                EXPECT_EQ(recorder.cancelled, QStringList{recorder.offer->status});
            }
            service_->clearFaults();
        }
}

TEST_F(StudySourceTest, neverShowsADamagedArchive) {
    open();
    const auto damage = [this] {
        const auto files = StudyArchives(*options_.storage).series(study_.studyInstanceUid).front();
        const fs::path file = archiveFolder() / (files.instanceIds.front().toStdString() + ".dcm");
        overwriteByte(file, static_cast<std::streamoff>(fs::file_size(file)) - 9);
    };
    damage();
    expectWhole(open(), ImageSource::Service);
    expectWhole(open(), ImageSource::Archive);
    damage();
    service_->setFault(Fault::reply(imageRoute, 503, ""));
    const auto offline = open();
    EXPECT_FALSE(offline.result.has_value());
    EXPECT_FALSE(offline.failure.isEmpty());
}

TEST_F(StudySourceTest, downloadsASeriesThatHasGrownSinceItWasArchived) {
    TestSeries growing{.study = "growing", .slices = 8, .leftOut = {7}};
    auto study = upload({growing});
    ASSERT_TRUE(open(study).result.has_value());
    growing.leftOut.clear();
    study = upload({growing});
    const auto opened = open(study);
    ASSERT_TRUE(opened.result.has_value());
    EXPECT_EQ(opened.result->source, ImageSource::Service);
    EXPECT_EQ(opened.result->image->geometry().dimensions()[2], 8);
}

TEST_F(StudySourceTest, keepsWithinTheQuota) {
    options_.policy.quotaBytes = 10'000; // less than the series
    expectWhole(open(), ImageSource::Service);
    EXPECT_TRUE(capture_->contains("\"removedDirectories\":\"1\""));
    EXPECT_FALSE(fs::exists(studyFolder()));
    expectWhole(open(), ImageSource::Service);
}

TEST_F(StudySourceTest, readsOnWhenNothingCanBeKept) {
    std::ofstream(options_.storage->cacheRoot()) << "a file where the folder should be";
    expectWhole(open(), ImageSource::Service);
    EXPECT_TRUE(capture_->contains("Study could not be archived"));
}

TEST_F(StudySourceTest, closesAtOnceWhileTheDiskIsStuck) {
    std::atomic<bool> stuck = false;
    std::atomic<bool> released = false;
    std::atomic<bool> gaveUp = false;
    tests::DiskFault fault;
    fault.under = options_.storage->cacheRoot().string();
    fault.watch = [&](const std::string& call, const std::string& path) {
        if (call != "fdatasync" || !path.ends_with(".dcm"))
            return;
        stuck = true;
        for (int i = 0; i < 3000 && !released; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        gaveUp = gaveUp || !released;
    };
    {
        StudyLoadController controller(client_, options_);
        LoadRecorder recorder(controller);
        tests::armDiskFault(fault);
        controller.openStudy(study_);
        EXPECT_TRUE(recorder.waitForEnd());
        EXPECT_TRUE(QTest::qWaitFor([&] { return stuck.load(); }, 30000));
        controller.shutDown();
        EXPECT_FALSE(gaveUp) << "it waited for the disk";
        released = true;
    }
    tests::armDiskFault({});
    EXPECT_TRUE(capture_->contains("Study not archived: the session ends"));
    EXPECT_FALSE(fs::exists(archiveFolder()));
    expectWhole(open(), ImageSource::Service);
    expectWhole(open(), ImageSource::Archive);
}

} // namespace
} // namespace zorbel
