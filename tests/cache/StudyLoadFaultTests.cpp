#include "LoadRecorder.h"

namespace zorbel {
namespace {

using demo::Fault;
using test::LoadRecorder;
using test::TestSeries;

class StudyLoadFaultTest : public test::StudyLoadTest {
protected:
    void SetUp() override {
        StudyLoadTest::SetUp();
        study_ = upload({TestSeries{.study = "faults"}});
        service_->resetRequests();
    }

    /// Opens the study and returns the values at the start of each slice, or the failure's text.
    std::pair<std::vector<double>, QString> load() {
        StudyLoadController controller(client_, {});
        LoadRecorder recorder(controller);
        controller.openStudy(study_);
        EXPECT_TRUE(recorder.waitForEnd());
        std::vector<double> values;
        if (!recorder.images.empty())
            for (int slice = 0; slice < recorder.images.front().image->geometry().dimensions()[2]; ++slice)
                values.push_back(recorder.images.front().image->valueAt(0, 0, slice));
        return {values, recorder.failures.empty() ? QString() : recorder.failures.front().text};
    }

    StudyIdentity study_;
    const std::vector<double> whole_{0, 100, 200, 300, 400, 500, 600, 700};
};

TEST_F(StudyLoadFaultTest, fetchesOneByOneWhatTheStreamDidNotBringWhole) {
    const std::vector<std::pair<Fault, const char*>> faults{
        {Fault::streamingRefused(406), "refused"},
        {Fault::streamingRefused(404), "not offered"},
        {Fault::dropAfter(Fault::seriesStreams, 9000), "dropped"},
        {Fault::stream(Fault::Kind::MissingParts), "a part missing"},
        {Fault::stream(Fault::Kind::ReplacedPart), "a part twice"},
        {Fault::stream(Fault::Kind::EmptyPart), "an empty part"},
        {Fault::stream(Fault::Kind::WrongBoundary), "wrong boundary"},
        {Fault::stream(Fault::Kind::MissingBoundary), "no boundary"},
        {Fault::stream(Fault::Kind::NoClosingDelimiter), "not closed"}};
    for (const auto& [fault, name] : faults) {
        SCOPED_TRACE(name);
        const int id = service_->setFault(fault);
        EXPECT_EQ(load().first, whole_);
        EXPECT_TRUE(capture_->contains("Streaming DICOMweb unavailable"));
        EXPECT_GT(service_->requestCount(Fault::instanceFiles), 0u);
        service_->removeFault(id);
        service_->resetRequests();
        capture_->clear();
    }
}

TEST_F(StudyLoadFaultTest, fetchesOneByOneWhatIsTooLargeForAStream) {
    ApiClientConfig config = client_->config();
    config.maximumDicomBytes = 10'000; // some three of the eight slices
    client_ = test::signedInClient(*service_, config);
    service_->resetRequests();
    EXPECT_EQ(load().first, whole_);
    EXPECT_EQ(service_->requestCount(Fault::seriesStreams), 0u) << "the archive told how large it is";
    EXPECT_EQ(service_->requestCount(Fault::instanceFiles), 8u);

    service_->setFault(Fault::error(Fault::seriesSizes, 404, "No such route", ""));
    service_->resetRequests();
    EXPECT_EQ(load().first, whole_);
    EXPECT_EQ(service_->requestCount(Fault::seriesStreams), 1u);
    EXPECT_GT(service_->requestCount(Fault::instanceFiles), 0u);
    EXPECT_LT(service_->requestCount(Fault::instanceFiles), 8u) << "what had arrived was not fetched again";

    config.maximumDicomBytes = 1000; // less than one slice
    client_ = test::signedInClient(*service_, config);
    EXPECT_TRUE(
        load().second.contains(QStringLiteral("A DICOM instance exceeded the workstation safety limit")));
}

TEST_F(StudyLoadFaultTest, readsAStreamOfAnyOrderAndForm) {
    for (const auto kind :
         {Fault::Kind::ShuffledParts, Fault::Kind::LineFeedOnly, Fault::Kind::QuotedBoundary}) {
        SCOPED_TRACE(Fault::kindName(kind));
        const int id = service_->setFault(Fault::stream(kind));
        EXPECT_EQ(load().first, whole_);
        service_->removeFault(id);
    }
    EXPECT_EQ(service_->requestCount(Fault::instanceFiles), 0u);
}

TEST_F(StudyLoadFaultTest, tellsWhyAStudyCannotBeOpened) {
    const auto text = [](const char* reason) {
        return QStringLiteral("Could not load imaging data.\n\n") + QString::fromUtf8(reason) +
               QStringLiteral(
                   "\n\nCheck your Zorbel connection and confirm that the study is still available.");
    };
    const auto failureUnder = [this](const std::vector<Fault>& faults) {
        for (const auto& fault : faults)
            service_->setFault(fault);
        const QString failure = load().second;
        service_->clearFaults();
        return failure;
    };
    const std::string study = "*/viewer-proxy/studies/*";
    EXPECT_EQ(
        failureUnder({Fault::error(study, 403, "The study of Test Patient is locked", "LOCKED")}),
        text("The study of Test Patient is locked"));
    EXPECT_FALSE(capture_->contains("Patient")) << "a server's text stays out of the log";
    EXPECT_EQ(failureUnder({Fault::reply(study, 500, "")}), text("Zorbel API returned HTTP 500"));
    EXPECT_EQ(
        failureUnder({Fault::reply(study, 200, R"({"Series":[]})")}),
        text("Orthanc study contains no loadable series."));
    EXPECT_EQ(
        failureUnder({Fault::reply(
            "*/viewer-proxy/series/*", 200, R"({"MainDicomTags":{"Modality":"CT"},"Instances":[]})")}),
        text("Orthanc study contains no downloadable instances."));
    EXPECT_EQ(
        failureUnder(
            {Fault::streamingRefused(), Fault::reply(Fault::instanceFiles, 200, "no DICOM", "text/plain")}),
        text("The received instance is not a readable DICOM file"));
    EXPECT_EQ(
        failureUnder({Fault::streamingRefused(), Fault::error(Fault::instanceFiles, 404, "Gone", "")}),
        text("Gone"));
}

} // namespace
} // namespace zorbel
