#include "StudySourceTest.h"

#include <QMetaObject>

#include <filesystem>
#include <functional>
#include <string>

namespace zorbel {
namespace {

namespace fs = std::filesystem;
using demo::Fault;
using test::LoadRecorder;
using test::StudySourceTest;
using test::TestSeries;

enum class Stage { Cache, Listing, Choice, Download, Decode, ArchiveRead, Archiving };

struct StageFacts {
    Stage stage;
    const char* name;
    const char* title;     ///< that is shown where it begins
    const char* staleLine; ///< of the log, where what comes of it is not wanted any more
};
constexpr char staleLoad[] = "Discarded stale Orthanc study load result";
constexpr StageFacts stages[] = {
    {Stage::Cache, "cache", "", "Discarded stale volume-cache load result"},
    {Stage::Listing, "listing", "Selecting the fastest authorized study source...",
     "Discarded stale Orthanc series-list result"},
    {Stage::Choice, "series choice", "", ""},
    {Stage::Download, "download", "Downloading DICOM instances", staleLoad},
    {Stage::Decode, "decode", "Building diagnostic volume", staleLoad},
    {Stage::ArchiveRead, "archive read", "Loading study from local DICOM archive", staleLoad},
    {Stage::Archiving, "archiving", "", ""}};

const StageFacts& factsOf(Stage stage) {
    return stages[static_cast<std::size_t>(stage)];
}

/// Interrupts a load at each of its stages.
class StudyLoadStageTest : public StudySourceTest {
protected:
    void SetUp() override {
        StudySourceTest::SetUp();
        several_ = upload({{.name = "a", .study = "stages"}, {.name = "b", .study = "stages"}});
        other_ = upload({otherSeries_});
    }

    /// Opens a study and interrupts it at the stage; `after` sees what came of it.
    void interrupt(
        Stage stage, const std::function<void(StudyLoadController&)>& action,
        const std::function<void(StudyLoadController&, LoadRecorder&)>& after) {
        fs::remove_all(options_.storage->cacheRoot());
        if (stage == Stage::Cache)
            packVolumeCache();
        if (stage == Stage::ArchiveRead)
            open();
        if (stage == Stage::Download)
            service_->setFault(
                Fault::throttle("*/dicom-web/studies/" + study_.studyInstanceUid + "/*", 4000));
        capture_->clear();
        {
            StudyLoadController controller(client_, options_);
            LoadRecorder recorder(controller);
            bool done = false;
            const auto act = [&] {
                if (std::exchange(done, true))
                    return;
                // A small series is through before the event loop comes round: its progress is acted on at
                // once.
                const bool atOnce =
                    stage == Stage::Download || stage == Stage::Decode || stage == Stage::ArchiveRead;
                if (atOnce)
                    action(controller);
                else
                    QMetaObject::invokeMethod(
                        &controller, [&] { action(controller); }, Qt::QueuedConnection);
            };
            connectTo(stage, controller, act);
            controller.openStudy(stage == Stage::Choice ? several_ : study_);
            if (stage == Stage::Cache)
                action(controller);
            else
                ASSERT_TRUE(test::waitFor([&] { return done; }));
            QCoreApplication::processEvents();
            after(controller, recorder);
            EXPECT_TRUE(test::waitFor([&] { return capture_->contains(factsOf(stage).staleLine); }))
                << factsOf(stage).staleLine;
        }
        service_->clearFaults();
        EXPECT_TRUE(QDir(tempFolder()).entryList({QStringLiteral("zorbel-viewer-session-*")}).isEmpty());
    }

    static void connectTo(Stage stage, StudyLoadController& controller, const std::function<void()>& act) {
        if (stage == Stage::Archiving) {
            QObject::connect(&controller, &StudyLoadController::imageReady, &controller, act);
        } else if (stage == Stage::Choice) {
            QObject::connect(&controller, &StudyLoadController::seriesChoiceNeeded, &controller, act);
        } else if (stage != Stage::Cache) {
            QObject::connect(
                &controller, &StudyLoadController::stageChanged, &controller,
                [act, title = QString::fromLatin1(factsOf(stage).title)](const StudyLoadStage& shown) {
                    if (shown.title == title)
                        act();
                });
        }
    }
    /// A load that ended without an image, or after its image.
    static void expectNoImage(Stage stage, const LoadRecorder& recorder) {
        EXPECT_EQ(recorder.images.size(), stage == Stage::Archiving ? 1u : 0u);
        EXPECT_TRUE(recorder.failures.empty());
    }

    void expectNoLoadFolders() const {
        const auto found = [this] {
            for (const auto& entry : fs::recursive_directory_iterator(
                     tempFolder().toStdString(), fs::directory_options::skip_permission_denied))
                if (entry.path().filename().string().starts_with("load-"))
                    return true;
            return false;
        };
        EXPECT_TRUE(test::waitFor([&] { return !found(); }));
    }

    /// The archive is not there or whole, and nothing lies beside it.
    void expectNoHalfArchive() {
        const int outage = service_->setFault(Fault::reply("*/viewer-proxy/*", 503, ""));
        const auto offline = open();
        service_->removeFault(outage);
        EXPECT_TRUE(!offline.result || offline.result->source != ImageSource::Service);
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(archiveFolder().parent_path(), error))
            EXPECT_TRUE(entry.path() == archiveFolder() || entry.path().extension() == ".lock")
                << entry.path();
    }

    const TestSeries otherSeries_{.study = "stages-other", .slices = 4};
    StudyIdentity several_;
    StudyIdentity other_;
};

TEST_F(StudyLoadStageTest, anotherStudyTakesThePlaceOfTheFirst) {
    for (const auto& [stage, name, title, staleLine] : stages) {
        SCOPED_TRACE(name);
        const std::size_t before = stage == Stage::Archiving ? 1 : 0;
        interrupt(
            stage, [this](StudyLoadController& controller) { controller.openStudy(other_); },
            [&, this](StudyLoadController&, LoadRecorder& recorder) {
                ASSERT_TRUE(test::waitFor([&] { return recorder.images.size() > before; }));
                ASSERT_EQ(recorder.images.size(), before + 1);
                const auto& image = recorder.images.back();
                EXPECT_EQ(image.study.studyInstanceUid, other_.studyInstanceUid);
                EXPECT_EQ(image.image->geometry().dimensions()[2], otherSeries_.slices);
                EXPECT_TRUE(recorder.failures.empty());
                expectNoLoadFolders();
                EXPECT_EQ(recorder.images.size(), before + 1) << "the first one comes no more";
            });
    }
}

TEST_F(StudyLoadStageTest, aCancelledLoadIsOverAndTheNextOneWorks) {
    for (const auto& [stage, name, title, staleLine] : stages) {
        SCOPED_TRACE(name);
        interrupt(
            stage, [](StudyLoadController& controller) { controller.cancel(); },
            [&, at = stage](StudyLoadController& controller, LoadRecorder& recorder) {
                EXPECT_FALSE(controller.isLoading());
                expectNoImage(at, recorder);
                EXPECT_EQ(recorder.cancelled.size(), at == Stage::Archiving ? 0 : 1);
                expectNoLoadFolders();
                service_->clearFaults();
                LoadRecorder next(controller);
                controller.openStudy(study_);
                ASSERT_TRUE(next.waitForEnd());
                EXPECT_EQ(next.images.size(), 1u);
            });
        expectNoHalfArchive();
    }
}

TEST_F(StudyLoadStageTest, closingEndsEverythingSilently) {
    for (const auto& [stage, name, title, staleLine] : stages) {
        SCOPED_TRACE(name);
        for (const bool signOut : {false, true}) {
            interrupt(
                stage,
                [this, signOut](StudyLoadController& controller) {
                    if (signOut) { // as the window does
                        controller.cancel();
                        client_->signOut();
                    }
                    controller.shutDown();
                },
                [&, at = stage](StudyLoadController&, LoadRecorder& recorder) {
                    EXPECT_TRUE(test::waitFor([&] { return capture_->contains(factsOf(at).staleLine); }));
                    test::settle();
                    expectNoImage(at, recorder);
                });
            if (signOut)
                client_ = test::signedInClient(*service_);
            expectNoHalfArchive();
        }
    }
}

} // namespace
} // namespace zorbel
