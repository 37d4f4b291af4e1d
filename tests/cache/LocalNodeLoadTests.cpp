#include "LoadRecorder.h"
#include "demo/DemoLocalNode.h"

#include <filesystem>
#include <thread>

namespace zorbel {
namespace {

using demo::DemoLocalNode;
using demo::Fault;
using test::LoadRecorder;
using test::TestSeries;

constexpr char nodeImages[] = "/api/local-node/desktop/viewer-proxy/*";

/// A clinic with a node that holds the same study as the cloud.
class LocalNodeLoadTest : public test::StudyLoadTest {
protected:
    static void SetUpTestSuite() {
        demo::DemoService::Options options;
        options.localNode = true;
        service_ = std::make_unique<demo::DemoService>(options);
        service_->start();
    }

    void SetUp() override {
        StudyLoadTest::SetUp();
        study_ = upload({series_});
        ASSERT_TRUE(
            node().uploadFolder(folder_.filePath(QStringLiteral("upload")).toStdString()).failures.empty());
        service_->resetRequests();
        node().resetRequests();
        signIn(test::patienceMs);
    }

    void signIn(int patienceMs) {
        ApiClientConfig config = client_->config();
        config.localNodePatienceMs = patienceMs;
        client_ = test::signedInClient(*service_, config);
        client_->selectSource(SourceKind::Automatic, QString::fromLatin1(DemoLocalNode::id));
    }

    void TearDown() override {
        node().clearFaults();
        node().setOrganization(demo::demoOrganizationId);
        if (!node().isRunning())
            node().start();
        StudyLoadTest::TearDown();
    }

    static DemoLocalNode& node() { return service_->localNode(); }

    /// Opens the study; the source label, or the failure's text.
    QString open() {
        StudyLoadController controller(client_, {});
        LoadRecorder recorder(controller);
        controller.openStudy(study_);
        EXPECT_TRUE(recorder.waitForEnd());
        if (recorder.images.empty())
            return recorder.failures.empty() ? QStringLiteral("cancelled") : recorder.failures.front().text;
        const auto& image = *recorder.images.front().image;
        EXPECT_EQ(image.geometry().dimensions()[2], series_.slices);
        for (int slice = 0; slice < series_.slices; ++slice)
            EXPECT_EQ(image.valueAt(7, 3, slice), slice * 100 + 7);
        return recorder.images.front().sourceLabel;
    }

    const TestSeries series_{.study = "at the clinic"};
    StudyIdentity study_;
};

TEST_F(LocalNodeLoadTest, readsFromTheNodeAndLeavesTheCloudAlone) {
    EXPECT_EQ(open(), QStringLiteral("Local Node"));
    EXPECT_GT(node().requestCount(nodeImages), 0u);
    EXPECT_EQ(service_->requestCount("*/viewer-proxy/*"), 0u);
    client_->selectSource(SourceKind::CloudOnly, QString::fromLatin1(DemoLocalNode::id));
    node().resetRequests();
    EXPECT_EQ(open(), QStringLiteral("Zorbel Cloud"));
    EXPECT_EQ(node().requestCount(), 0u);
}

TEST_F(LocalNodeLoadTest, leadsNoOtherRequestToTheNode) {
    node().setFault(Fault::throttle(Fault::seriesStreams, 8000));
    client_->selectSource(SourceKind::LocalNodeRequired, QString::fromLatin1(DemoLocalNode::id));
    StudyLoadController controller(client_, {});
    LoadRecorder recorder(controller);
    controller.openStudy(study_);
    ASSERT_TRUE(QTest::qWaitFor([] { return node().requestCount(Fault::seriesStreams) > 0; }, 20000));
    // Meanwhile another thread, with the same client.
    const std::size_t askedOfNode = node().requestCount();
    std::thread([&] {
        const QString orthancId = QString::fromStdString(study_.orthancId);
        const QByteArray cloudStudy = client_->proxyGet("studies/" + orthancId, 30000, 1 << 20);
        EXPECT_TRUE(cloudStudy.contains("Series"));
        const ImageDataRoute cloud = client_->cloudRoute();
        const QString series = client_->studySeriesIds(cloud, orthancId).value(0);
        const QStringList instances = client_->seriesInstanceIds(cloud, series);
        client_->DownloadInstances(
            instances, [](auto&&...) {}, {}, 2);
        client_->StreamSeries(
            QString::fromStdString(study_.studyInstanceUid), QString::fromStdString(series_.seriesUid()),
            instances, {}, {}, [](auto&&...) {});
    }).join();
    EXPECT_EQ(node().requestCount(), askedOfNode);
    EXPECT_EQ(service_->requestCount("*/viewer-proxy/*"), 3u + series_.slices + 1u);
    EXPECT_EQ(client_->sourceLabel(), QStringLiteral("Zorbel Cloud"));
    ASSERT_TRUE(recorder.waitForEnd());
    ASSERT_EQ(recorder.images.size(), 1u);
    EXPECT_EQ(recorder.images.front().sourceLabel, QStringLiteral("Local Node"));
    EXPECT_TRUE(recorder.stages.back().title.contains(QStringLiteral("Building")));
    EXPECT_EQ(service_->requestCount("*/viewer-proxy/*"), 3u + series_.slices + 1u);
}

TEST_F(LocalNodeLoadTest, fallsBackToTheCloudWhateverTheNodeDoes) {
    const std::vector<std::pair<std::function<void()>, const char*>> troubles{
        {[] { node().stop(); }, "down"},
        {[] { node().setOrganization("another clinic"); }, "of another organization"},
        {[] { node().setFault(Fault::delayed("*/identity", std::chrono::hours(1))); }, "slow"},
        {[] { node().setFault(Fault::badJson("*/resolve-study")); }, "talking nonsense"},
        {[] { node().setFault(Fault::delayed(nodeImages, std::chrono::hours(1))); }, "slow with its list"},
        {[] { node().setFault(Fault::dropAfter(Fault::seriesStreams, 9000)); }, "dead in mid-transfer"},
        {[] { node().setFault(Fault::hangAfter(Fault::seriesStreams, 9000)); }, "silent in mid-transfer"}};
    signIn(1000);
    for (const auto& [trouble, name] : troubles) {
        SCOPED_TRACE(name);
        client_->selectSource(SourceKind::Automatic, QString::fromLatin1(DemoLocalNode::id));
        trouble();
        EXPECT_EQ(open(), QStringLiteral("Zorbel Cloud"));
        node().resetRequests();
        EXPECT_EQ(open(), QStringLiteral("Zorbel Cloud"));
        EXPECT_EQ(node().requestCount(), 0u) << "left alone for a while";
        node().clearFaults();
        node().setOrganization(demo::demoOrganizationId);
        if (!node().isRunning())
            node().start();
    }
}

TEST_F(LocalNodeLoadTest, doesNotBlameTheNodeForALimitOfThisComputer) {
    ApiClientConfig config = client_->config();
    config.maximumDicomBytes = 10'000; // less than the series
    client_ = test::signedInClient(*service_, config);
    client_->selectSource(SourceKind::Automatic, QString::fromLatin1(DemoLocalNode::id));
    node().setFault(Fault::error(Fault::seriesSizes, 404, "No such route", ""));
    for (int again = 0; again < 2; ++again)
        EXPECT_EQ(open(), QStringLiteral("Local Node"));
    EXPECT_EQ(service_->requestCount("*/viewer-proxy/*"), 0u);
}

TEST_F(LocalNodeLoadTest, neverFallsBackSilentlyWhereOnlyTheNodeIsAllowed) {
    client_->selectSource(SourceKind::LocalNodeRequired, QString::fromLatin1(DemoLocalNode::id));
    EXPECT_EQ(open(), QStringLiteral("Local Node"));
    node().setFault(Fault::dropAfter(Fault::seriesStreams, 9000));
    EXPECT_EQ(open(), QStringLiteral("Local Node")) << "instance by instance, from the node itself";
    node().stop();
    EXPECT_TRUE(open().contains(QStringLiteral("The selected study cannot be resolved on the Local Node")));
    EXPECT_EQ(service_->requestCount("*/viewer-proxy/*"), 0u);
}

} // namespace
} // namespace zorbel
