#include "ServiceFixture.h"
#include "SignedInClient.h"

#include "demo/DemoLocalNode.h"
#include "demo/DicomFile.h"
#include "demo/PhantomStudies.h"

#include <algorithm>

namespace zorbel::demo {
namespace {

/// The workstation's client against a service and a Local Node that hold the same series.
class LocalNodeClient : public testing::Test {
protected:
    static constexpr int slices = 8;

    static void SetUpTestSuite() {
        folder_ = std::make_unique<TemporaryFolder>();
        writeBenchSeries(folder_->path(), slices, 64);
        service_ = std::make_unique<DemoService>(DemoService::Options{.localNode = true});
        service_->start();
        service_->uploadFolder(folder_->path());
        node().uploadFolder(folder_->path());
    }
    static void TearDownTestSuite() {
        service_.reset();
        folder_.reset();
    }

    void SetUp() override {
        node().start();
        node().clearFaults();
        node().setOrganization(demoOrganizationId);
        client_ = test::signedInClient(service());
        cloudStudy_ = client_->listStudies({}, 10).at(0).orthancId;
        ASSERT_EQ(client_->listLocalNodes().size(), 1U);
        select(SourceKind::Automatic);
        service().resetRequests();
        node().resetRequests();
    }

    void select(SourceKind kind) { client_->selectSource(kind, QString::fromLatin1(DemoLocalNode::id)); }
    QString resolve() {
        return client_->resolveStudyOnLocalNode(QString::fromStdString(uidOf("study of bench 8 64")));
    }
    /// The study's one series from wherever the route leads, both ways of getting it; sorted.
    void expectWholeSeries(const QString& study) {
        const OrthancSeriesSummary series = client_->seriesSummary(client_->studySeriesIds(study).value(0));
        std::vector<std::string> streamed;
        client_->StreamSeries(
            QString::fromStdString(uidOf("study of bench 8 64")), series.seriesInstanceUID,
            series.instanceIds, {}, {},
            [&](const QString&, const std::byte* data, std::size_t length, std::size_t, std::size_t) {
                streamed.emplace_back(reinterpret_cast<const char*>(data), length);
            });
        std::vector<std::string> single;
        client_->DownloadInstances(
            series.instanceIds,
            [&](const QString&, const std::vector<std::byte>& bytes, std::size_t, std::size_t) {
                single.emplace_back(reinterpret_cast<const char*>(bytes.data()), bytes.size());
            },
            {}, 4);
        std::sort(streamed.begin(), streamed.end());
        std::sort(single.begin(), single.end());
        const std::vector<std::string> stored = contentsBelow(folder_->path());
        EXPECT_TRUE(streamed == stored);
        EXPECT_TRUE(single == stored);
    }
    static std::size_t imageRequests(const auto& server) { return server.requestCount("*/viewer-proxy/*"); }

    static DemoService& service() { return *service_; }
    static DemoLocalNode& node() { return service_->localNode(); }

    std::shared_ptr<ZorbelApiClient> client_;
    QString cloudStudy_;

private:
    static inline std::unique_ptr<TemporaryFolder> folder_;
    static inline std::unique_ptr<DemoService> service_;
};

TEST_F(LocalNodeClient, readsFromTheNodeAndFromTheCloudOnceItDiesInTheMiddle) {
    const QString study = resolve();
    ASSERT_FALSE(study.isEmpty());
    expectWholeSeries(study);
    EXPECT_EQ(imageRequests(node()), 2U + 1U + slices);
    EXPECT_EQ(imageRequests(service()), 0U);

    const OrthancSeriesSummary series = client_->seriesSummary(client_->studySeriesIds(study).value(0));
    const auto cut = [&] {
        client_->DownloadInstances(
            series.instanceIds, [](auto&&...) { node().stop(); }, {}, 1);
    };
    EXPECT_THROW(cut(), ZorbelApiError);
    EXPECT_TRUE(client_->abandonLocalNode());
    node().start();
    node().resetRequests();
    EXPECT_EQ(resolve(), "");
    expectWholeSeries(cloudStudy_);
    EXPECT_EQ(imageRequests(service()), 2U + 1U + slices);
    EXPECT_EQ(node().requestCount(), 0U);
}

TEST_F(LocalNodeClient, fallsBackWhenTheNodeIsDownForeignOrForgetful) {
    node().stop();
    EXPECT_EQ(resolve(), "");
    node().start();
    select(SourceKind::Automatic);
    node().setOrganization(otherOrganizationId);
    EXPECT_EQ(resolve(), "");
    EXPECT_EQ(node().requestCount("*/resolve-study"), 0U);
    node().setOrganization(demoOrganizationId);
    select(SourceKind::LocalNodeRequired);
    ASSERT_FALSE(resolve().isEmpty());
    node().revokeTokens();
    expectWholeSeries(resolve());
    EXPECT_EQ(imageRequests(service()), 0U);
}

} // namespace
} // namespace zorbel::demo
