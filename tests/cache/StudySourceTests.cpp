#include "LoadRecorder.h"
#include "cache/volume/VolumeCacheWriter.h"
#include "imaging/DicomSeriesReader.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace zorbel {
namespace {

namespace fs = std::filesystem;
using demo::Fault;
using test::LoadRecorder;
using test::TestSeries;

constexpr char imageRoute[] = "*/viewer-proxy/*";

/// Opens studies with a cache folder of the test's own, and sees where their images came from.
class StudySourceTest : public test::StudyLoadTest {
protected:
    void SetUp() override {
        StudyLoadTest::SetUp();
        options_.storage.emplace(
            fs::path(folder_.filePath(QStringLiteral("cache")).toStdString()),
            StorageScope::of("organization", "reader"));
        options_.manifestSchema = ZORBEL_MANIFEST_SCHEMA;
        options_.archivePatience = std::chrono::milliseconds(300);
        study_ = upload({series_});
        service_->resetRequests();
    }

    struct Opened {
        std::optional<OrthancImageLoadResult> result;
        QString failure;
        QStringList statuses;
    };

    /// Opens, or loads anew, and waits for the end and for the archive to be written.
    Opened open(const StudyRequest& study, bool past = false, bool archived = true) {
        capture_->clear();
        StudyLoadController controller(client_, options_);
        LoadRecorder recorder(controller);
        controller.openStudy(study);
        EXPECT_TRUE(recorder.waitForEnd());
        if (past) {
            recorder.images.clear();
            recorder.failures.clear();
            controller.retry();
            EXPECT_TRUE(recorder.waitForEnd());
        }
        Opened opened;
        opened.statuses = recorder.statuses;
        if (!recorder.failures.empty())
            opened.failure = recorder.failures.front().text;
        if (!recorder.images.empty()) {
            opened.result = recorder.images.front();
            if (archived && opened.result->source == ImageSource::Service) {
                EXPECT_TRUE(QTest::qWaitFor(
                    [this] { return capture_->contains("Viewer cache quota enforced after study download"); },
                    20000));
            }
        }
        return opened;
    }
    Opened open() { return open(study_); }

    void expectWhole(const Opened& opened, ImageSource source) {
        ASSERT_TRUE(opened.result.has_value()) << opened.failure.toStdString();
        EXPECT_EQ(opened.result->source, source);
        ASSERT_EQ(opened.result->image->geometry().dimensions()[2], series_.slices);
        for (int slice = 0; slice < series_.slices; ++slice)
            ASSERT_EQ(opened.result->image->valueAt(7, 3, slice), slice * 100 + 7);
    }

    fs::path studyFolder() const {
        return options_.storage->studyDirectory(study_.studyInstanceUID.toStdString());
    }
    fs::path archiveFolder() const {
        return options_.storage->archiveDirectory(study_.studyInstanceUID.toStdString(), series_.seriesUid());
    }
    std::size_t imageRequests() const {
        return service_->requestCount(Fault::instanceFiles) + service_->requestCount(Fault::seriesStreams);
    }

    void packVolumeCache() {
        const fs::path dicom = fs::path(folder_.filePath(QStringLiteral("pack")).toStdString());
        series_.write(dicom);
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(dicom))
            files.push_back(entry.path());
        const auto analysis = imaging::DicomSeriesReader::analyze(files);
        VolumeCacheWriter::write(
            *imaging::DicomSeriesReader::load(analysis.blocks.front()), studyFolder(),
            {.studyInstanceUid = {}, .chunkSlices = 3});
    }
    static void overwriteByte(const fs::path& file, std::streamoff offset) {
        std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
        stream.seekg(offset);
        const char byte = static_cast<char>(stream.get() ^ 0x40);
        stream.seekp(offset);
        stream.put(byte);
        ASSERT_TRUE(stream.good());
    }

    const TestSeries series_{.study = "sources"};
    StudyLoadOptions options_;
    StudyRequest study_;
};

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
    EXPECT_TRUE(capture_->contains("Cache load succeeded"));

    StudyRequest linked;
    linked.studyInstanceUID = study_.studyInstanceUID;
    EXPECT_EQ(open(linked).result->study.patientName, study_.patientName) << "a link names no patient";
}

TEST_F(StudySourceTest, fallsBackFromADamagedCacheAndSaysSo) {
    packVolumeCache();
    overwriteByte(studyFolder() / "chunk-1.bin.gz", 40);
    const auto opened = open();
    expectWhole(opened, ImageSource::Service);
    const QString message = QStringLiteral("Cache integrity check failed — falling back to DICOM.");
    EXPECT_EQ(opened.result->notice, message);
    EXPECT_TRUE(opened.statuses.contains(message));
    EXPECT_TRUE(capture_->contains("Cache load failed — falling back to DICOM"));
}

TEST_F(StudySourceTest, reportsAnImpossibleCacheInsteadOfPassingOverIt) {
    packVolumeCache();
    QFile manifest(QString::fromStdString((studyFolder() / "manifest.json").string()));
    ASSERT_TRUE(manifest.open(QIODevice::ReadOnly));
    QJsonObject object = QJsonDocument::fromJson(manifest.readAll()).object();
    manifest.close();
    QJsonArray chunks = object.value(QLatin1String("chunks")).toArray();
    chunks.removeAt(1);
    object.insert(QStringLiteral("chunks"), chunks);
    ASSERT_TRUE(manifest.open(QIODevice::WriteOnly));
    manifest.write(QJsonDocument(object).toJson());
    manifest.close();
    const auto opened = open();
    EXPECT_FALSE(opened.result.has_value());
    EXPECT_TRUE(opened.failure.contains(QStringLiteral("Cannot load study: ")))
        << opened.failure.toStdString();
    EXPECT_EQ(service_->requestCount(imageRoute), 0u);
    expectWhole(open(study_, true), ImageSource::Service);
}

TEST_F(StudySourceTest, reopensFromTheArchiveWithoutDownloading) {
    expectWhole(open(), ImageSource::Service);
    EXPECT_EQ(imageRequests(), 1u);
    EXPECT_TRUE(capture_->contains("Study archived for future local reopen"));
    const auto again = open();
    expectWhole(again, ImageSource::Archive);
    EXPECT_EQ(imageRequests(), 1u);
    EXPECT_TRUE(again.statuses.contains(QStringLiteral("Loading study from local DICOM archive")));
    EXPECT_TRUE(capture_->contains("Opening cached DICOM series"));
    EXPECT_TRUE(capture_->contains("Local DICOM archive load completed"));
    expectWhole(open(study_, true), ImageSource::Service); // "Retry from PACS" means it
    EXPECT_EQ(imageRequests(), 2u);
}

TEST_F(StudySourceTest, archivesEachImageUnderItsOwnIdWhateverTheOrderOfTheStream) {
    service_->setFault(Fault::stream(Fault::Kind::ShuffledParts));
    open();
    const auto archived = StudyArchives(*options_.storage).series(study_.studyInstanceUID);
    ASSERT_EQ(archived.size(), 1u);
    for (const QString& id : archived.front().instanceIds) {
        const fs::path file = archiveFolder() / (id.toStdString() + ".dcm");
        std::ifstream stream(file, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(stream)), {});
        EXPECT_EQ(bytes, client_->proxyGet("instances/" + id + "/file", 30000, 1 << 20).toStdString());
    }
    EXPECT_EQ(archived.front().instanceIds.size(), series_.slices);
}

TEST_F(StudySourceTest, opensAStudySeenBeforeWithoutTheService) {
    open();
    const std::vector<std::pair<Fault, const char*>> outages{
        {Fault::reply(imageRoute, 503, ""), "switched off"},
        {Fault::delayed(imageRoute, std::chrono::seconds(20)), "too slow"}};
    for (const auto& [fault, name] : outages) {
        SCOPED_TRACE(name);
        service_->setFault(fault);
        const auto opened = open();
        expectWhole(opened, ImageSource::Archive);
        EXPECT_EQ(
            opened.result->notice,
            QStringLiteral("The imaging service does not answer. This is the copy kept on this computer."));
        EXPECT_EQ(opened.result->series.seriesDescription, QStringLiteral("CBCT test"));
        StudyRequest linked;
        linked.studyInstanceUID = study_.studyInstanceUID;
        EXPECT_FALSE(open(linked).result->study.patientName.isEmpty());
        service_->clearFaults();
    }
    service_->setFault(Fault::error(imageRoute, 403, "No access any more", "FORBIDDEN"));
    EXPECT_TRUE(open().failure.contains(QStringLiteral("No access any more"))) << "a refusal is no outage";
}

TEST_F(StudySourceTest, neverShowsADamagedArchive) {
    open();
    const auto damage = [this](int kind) {
        for (const auto& entry : fs::directory_iterator(archiveFolder())) {
            if (entry.path().extension() != ".dcm")
                continue;
            if (kind == 0)
                overwriteByte(entry.path(), static_cast<std::streamoff>(fs::file_size(entry.path())) - 9);
            else if (kind == 1)
                fs::resize_file(entry.path(), fs::file_size(entry.path()) / 2);
            else
                fs::remove(entry.path());
            return;
        }
    };
    for (const int kind : {0, 1, 2}) {
        SCOPED_TRACE(kind);
        damage(kind);
        expectWhole(open(), ImageSource::Service);
        expectWhole(open(), ImageSource::Archive);
    }
    damage(0);
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
    const auto opened = open(study_, false, false);
    expectWhole(opened, ImageSource::Service);
    EXPECT_TRUE(QTest::qWaitFor([this] { return capture_->contains("Study could not be archived"); }, 20000));
}

TEST_F(StudySourceTest, discardsTheCacheOfAStudyThatIsNoLongerAskedFor) {
    packVolumeCache();
    const TestSeries other{.study = "sources-other"};
    const auto second = upload({other});
    StudyLoadController controller(client_, options_);
    LoadRecorder recorder(controller);
    controller.openStudy(study_);
    controller.openStudy(second);
    ASSERT_TRUE(recorder.waitForEnd());
    ASSERT_EQ(recorder.images.size(), 1u);
    EXPECT_EQ(recorder.images.front().study.studyInstanceUID, second.studyInstanceUID);
    EXPECT_TRUE(QTest::qWaitFor(
        [this] { return capture_->contains("Discarded stale volume-cache load result"); }, 10000));
}

} // namespace
} // namespace zorbel
