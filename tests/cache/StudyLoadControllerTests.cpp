#include "LoadRecorder.h"
#include "tests/imaging/DicomFixture.h"

#include <algorithm>

namespace zorbel {
namespace {

using test::LoadRecorder;
using test::StudyLoadTest;
using test::TestSeries;

class StudyLoadControllerTest : public StudyLoadTest {
protected:
    /// The image of a TestSeries, voxel by voxel.
    static void expectSeries(const imaging::Image& image, const TestSeries& series) {
        const auto& geometry = image.geometry();
        ASSERT_EQ(geometry.dimensions(), (std::array<int, 3>{series.size, series.size, series.slices}));
        EXPECT_EQ(geometry.spacing(), (imaging::Vector3{0.5, 0.5, 1.0}));
        EXPECT_EQ(geometry.origin(), (imaging::Vector3{-8.0, -8.0, 0.0}));
        for (int slice = 0; slice < series.slices; ++slice)
            for (const int column : {0, 7, series.size - 1})
                ASSERT_EQ(image.valueAt(column, 3, slice), slice * 100 + column) << slice << " " << column;
    }
};

TEST_F(StudyLoadControllerTest, opensAVolumeAndSaysHowFarItIs) {
    const TestSeries series{.study = "plain"};
    const auto study = upload({series});
    StudyLoadController controller(client_, {});
    LoadRecorder recorder(controller);
    controller.openStudy(study);
    EXPECT_TRUE(controller.isLoading());
    ASSERT_TRUE(recorder.waitForEnd());
    ASSERT_EQ(recorder.images.size(), 1u);
    EXPECT_FALSE(controller.isLoading());
    const auto& result = recorder.images.front();
    EXPECT_TRUE(result.volumetric);
    EXPECT_EQ(result.sourceLabel, QStringLiteral("Zorbel Cloud"));
    expectSeries(*result.image, series);

    EXPECT_EQ(recorder.statuses.first(), QStringLiteral("Preparing study"));
    EXPECT_EQ(recorder.statuses.last(), QStringLiteral("Building diagnostic volume"));
    EXPECT_TRUE(capture_->contains("\"correlationId\":\"sess-"));
    EXPECT_FALSE(capture_->contains("Patient"));
    const auto audits = service_->auditRecords();
    EXPECT_TRUE(std::any_of(audits.begin(), audits.end(), [&](const demo::AuditRecord& audit) {
        return audit.event == "STUDY_OPEN" && audit.targetId == study.studyInstanceUid;
    }));
}

TEST_F(StudyLoadControllerTest, failsALinkToAStudyThatNobodyKnows) {
    StudyLoadController controller(client_, {});
    LoadRecorder recorder(controller);
    controller.openStudy({.studyInstanceUid = "1.2.3.4"});
    ASSERT_TRUE(recorder.waitForEnd());
    EXPECT_EQ(recorder.failures.size(), 1u);
}

TEST_F(StudyLoadControllerTest, asksWhichOfSeveralSeriesToOpen) {
    const TestSeries scout{.name = "scout", .study = "several", .description = "Scout", .slices = 3};
    const TestSeries volume{.name = "volume", .study = "several", .description = "CBCT volume", .slices = 6};
    const auto study = upload({scout, volume});
    StudyLoadController controller(client_, {});
    {
        LoadRecorder recorder(controller);
        controller.openStudy(study);
        ASSERT_TRUE(test::waitFor([&] { return recorder.question.has_value(); }));
        ASSERT_EQ(recorder.offered.size(), 2u);
        EXPECT_EQ(
            recorder.offered[static_cast<std::size_t>(recorder.suggested)].seriesDescription,
            QStringLiteral("CBCT volume"));
        controller.chooseSeries(*recorder.question, std::nullopt);
        EXPECT_EQ(
            recorder.cancelled,
            QStringList{QStringLiteral("Series selection cancelled. No images were loaded.")});
        controller.chooseSeries(*recorder.question, 0); // too late
        EXPECT_FALSE(controller.isLoading());
    }
    LoadRecorder recorder(controller);
    controller.retry();
    ASSERT_TRUE(test::waitFor([&] { return recorder.question.has_value(); }));
    controller.chooseSeries(*recorder.question, 1 - recorder.suggested);
    ASSERT_TRUE(recorder.waitForEnd());
    ASSERT_EQ(recorder.images.size(), 1u);
    expectSeries(*recorder.images.front().image, scout);
}

TEST_F(StudyLoadControllerTest, refusesAnIncompleteSeries) {
    const auto study = upload({{.study = "gap", .slices = 9, .leftOut = {5, 6}}});
    StudyLoadController controller(client_, {});
    LoadRecorder recorder(controller);
    controller.openStudy(study);
    ASSERT_TRUE(recorder.waitForEnd());
    ASSERT_EQ(recorder.failures.size(), 1u);
    EXPECT_TRUE(recorder.images.empty());
    const auto& failure = recorder.failures.front();
    EXPECT_EQ(failure.title, QStringLiteral("Incomplete DICOM Series"));
    EXPECT_EQ(
        failure.text,
        QStringLiteral(
            "PACS supplied an incomplete DICOM series: 5 frames are available and approximately 2 slices are "
            "missing.\n\nThe partial stack was not opened as a 3D volume. Wait for the PACS import to "
            "finish, click Retry from PACS, and select a complete diagnostic series."));
    EXPECT_TRUE(capture_->contains("Rejected incomplete DICOM image block"));
    EXPECT_TRUE(capture_->contains("\"estimatedMissingFrames\":\"2\""));
}

TEST_F(StudyLoadControllerTest, opensASetOfBitewingsAsFramesOfOneImage) {
    const auto study = upload(
        {{.study = "bitewings", .description = "Bitewings", .modality = "IO", .slices = 4, .placed = false}});
    StudyLoadController controller(client_, {});
    LoadRecorder recorder(controller);
    controller.openStudy(study);
    ASSERT_TRUE(recorder.waitForEnd());
    ASSERT_EQ(recorder.images.size(), 1u);
    EXPECT_FALSE(recorder.images.front().volumetric);
    const auto& image = *recorder.images.front().image;
    ASSERT_EQ(image.geometry().dimensions()[2], 4);
    for (int frame = 0; frame < 4; ++frame)
        EXPECT_EQ(image.valueAt(3, 0, frame), frame * 100 + 3);
}

TEST_F(StudyLoadControllerTest, keepsTheGeometryOfARealHead) {
    const auto data = imaging::test::testData();
    if (data.empty())
        GTEST_SKIP() << "no folder of real images: set ZORBEL_TEST_DATA to run this test";
    ASSERT_TRUE(service_->uploadFolder(data / "ct-head-teeth").failures.empty());
    StudyIdentity head;
    for (const auto& row : client_->listStudies({}, 200))
        if (row.patientName.contains(QStringLiteral("CRANIUM"), Qt::CaseInsensitive))
            head = identityOf(row);
    StudyLoadController controller(client_, {});
    LoadRecorder recorder(controller);
    controller.openStudy(head);
    ASSERT_TRUE(recorder.waitForEnd());
    ASSERT_EQ(recorder.images.size(), 1u);
    EXPECT_TRUE(recorder.images.front().volumetric);
    // As its files say: first slice at z 0, last at 160.5, rows along +x, columns along +y.
    const auto& geometry = recorder.images.front().image->geometry();
    EXPECT_EQ(geometry.dimensions(), (std::array<int, 3>{256, 256, 108}));
    EXPECT_EQ(geometry.origin(), (imaging::Vector3{-122.0215, -122.0215, 0.0}));
    EXPECT_EQ(geometry.direction(), (std::array<double, 9>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
    EXPECT_NEAR(geometry.spacing()[0], 0.9570312, 1e-9);
    EXPECT_NEAR(geometry.indexToWorld({0.0, 0.0, 107.0})[2], 160.5, 1e-6);
}

TEST_F(StudyLoadControllerTest, goesOnInTheNextSessionWithTheSeriesThatWasChosen) {
    const TestSeries wanted{.name = "b", .study = "renewed", .slices = 9};
    const auto study = upload({{.name = "a", .study = "renewed"}, wanted});
    StudyLoadOptions options;
    int renewals = 0;
    options.renewSession = [&](const std::function<void(bool)>& answer) {
        ++renewals;
        EXPECT_TRUE(client_->adoptSession(*test::signedInClient(*service_)));
        answer(true);
    };
    StudyLoadController controller(client_, options);
    LoadRecorder recorder(controller);
    service_->revokeTokens(demo::readerAccount);
    controller.openStudy(study);
    ASSERT_TRUE(test::waitFor([&] { return recorder.question.has_value(); }));
    EXPECT_EQ(renewals, 1);
    service_->setFault(demo::Fault::streamingRefused());
    service_->setFault(demo::Fault::error(demo::Fault::instanceFiles, 401, "Expired", "").after(3).times(1));
    controller.chooseSeries(
        *recorder.question, recorder.offered[0].instanceIds.size() == wanted.slices ? 0 : 1);
    ASSERT_TRUE(recorder.waitForEnd());
    ASSERT_EQ(recorder.images.size(), 1u);
    EXPECT_EQ(renewals, 2);
    expectSeries(*recorder.images.front().image, wanted);
}

TEST_F(StudyLoadControllerTest, withoutTheNextSessionOffersWhatThisComputerHolds) {
    const auto study = upload({{.study = "declined"}});
    StudyLoadOptions options;
    options.storage.emplace(
        std::filesystem::path(folder_.path().toStdString()) / "cache", StorageScope::of("clinic", "reader"));
    options.renewSession = [](const std::function<void(bool)>& answer) { answer(false); };
    const auto opened = [&] {
        StudyLoadController controller(client_, options);
        LoadRecorder recorder(controller);
        controller.openStudy(study);
        EXPECT_TRUE(test::waitFor([&] { return recorder.ended() || recorder.offer; }));
        if (recorder.offer)
            controller.answerLocalCopyOffer(*recorder.question, true);
        EXPECT_TRUE(recorder.waitForEnd());
        const StudyArchives archives(*options.storage);
        EXPECT_TRUE(recorder.images.empty() || test::waitFor([&] {
                        return !archives.series(study.studyInstanceUid).empty();
                    }));
        return recorder.images.empty() ? recorder.cancelled.join(QString()) : recorder.images.front().notice;
    };
    service_->revokeTokens();
    EXPECT_EQ(
        opened(), QStringLiteral("Load stopped — Your session has ended. Sign in again to load this study."));
    ASSERT_TRUE(client_->adoptSession(*test::signedInClient(*service_)));
    EXPECT_EQ(opened(), QString());
    service_->revokeTokens();
    EXPECT_TRUE(opened().contains(QStringLiteral("the copy kept on this computer")));
}

} // namespace
} // namespace zorbel
