#include "api/StudyRecords.h"
#include "demo/PhantomStudies.h"
#include "demo/word/WordDesk.h"
#include "report/WordServiceClient.h"
#include "tests/report/WordReportFixture.h"
#include "tests/report/office/OfficeWriter.h"
#include "tests/support/SignedInClient.h"

#include <QColor>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>

namespace zorbel::test {
namespace {

using demo::DemoService;
using demo::DeskVersion;
using demo::Fault;

QByteArray picture() {
    QImage image(120, 80, QImage::Format_RGB32);
    image.fill(QColor(40, 90, 140));
    QByteArray png;
    QBuffer buffer(&png);
    image.save(&buffer, "PNG");
    return png;
}

/// The viewer's part, the service and the word processor together.
class WordProcessorTest : public testing::Test {
protected:
    WordProcessorTest() {
        service.start();
        for (std::size_t i = 0; i < service.wordDesk().templates().size(); ++i)
            demo::writeBenchSeries(
                folder.path() / "studies" / std::to_string(i), 1, 16 + static_cast<int>(i));
        service.uploadFolder(folder.path() / "studies");
        client = signedInClient(service);
        WordReportWorkflow::Options options{.root = folder.path() / "word"};
        options.timing.firstRetry = std::chrono::milliseconds(50);
        workflow = std::make_unique<WordReportWorkflow>(
            std::make_shared<WordServiceClient>(client), reader,
            [](const QString&, const QString&, const QJsonObject&) {}, options);
    }

    /// Opens a report of a study from the template of the same number, and the document in the word
    /// processor.
    void open(std::size_t number) {
        reader.choice = static_cast<int>(number);
        const std::size_t before = reader.opened.size();
        ReportPacket packet;
        packet.title = QStringLiteral("Zorbel reading");
        packet.findings.push_back(
            {QStringLiteral("36"), QStringLiteral("Caries"), QStringLiteral("deep ü א")});
        packet.measurements.push_back(
            {QStringLiteral("Length 1"), QStringLiteral("10.00 mm"), QStringLiteral("Axial")});
        packet.keyImages.push_back(
            {QStringLiteral("key-1.png"), QStringLiteral("Tooth 36"), picture(), 120, 80});
        workflow->begin(
            {identityOf(client->listStudies({}, 50).at(number)),
             [packet](const std::function<void(ReportPacket)>& then) { then(packet); }});
        ASSERT_TRUE(waitFor([&] { return reader.opened.size() > before; }));
        document = reader.opened.back();
        office.tell(QStringLiteral("open ") + QString::fromStdString(document.string()));
    }
    void save(const QString& text) {
        office.tell(QStringLiteral("append ") + text);
        office.tell(QStringLiteral("save"));
    }
    std::vector<DeskVersion> versions() { return service.wordDesk().reports().back().versions; }
    bool arrives(std::size_t count) {
        return waitFor([&] {
            return versions().size() >= count && workflow->state() == WordReportWorkflow::State::Synced;
        });
    }
    /// All texts of the body, one after the other.
    QString text() {
        QString all;
        const QJsonArray parts = QJsonDocument::fromJson(office.tell(QStringLiteral("describe")))
                                     .object()[QLatin1String("text")]
                                     .toArray();
        for (const QJsonValue& part : parts) {
            all += part.toString() + QLatin1Char('\n');
            for (const QJsonValue& row : part[QLatin1String("table")].toArray())
                for (const QJsonValue& cell : row.toArray())
                    all += cell.toString() + QLatin1Char('\n');
        }
        return all;
    }

    const TemporaryFolder folder;
    DemoService service;
    std::shared_ptr<ZorbelApiClient> client;
    ScriptedReader reader;
    std::unique_ptr<WordReportWorkflow> workflow;
    OfficeWriter office;
    std::filesystem::path document;
};

TEST_F(WordProcessorTest, eachSaveOfEachTemplateIsAVersionAndTheOldOnesStay) {
    const auto& templates = service.wordDesk().templates();
    for (std::size_t i = 0; i < templates.size(); ++i) {
        SCOPED_TRACE(templates[i].name + " " + templates[i].id);
        open(i);
        const QString opened = text();
        qsizetype at = 0;
        for (const char* part : {"36", "Caries", "deep ü א", "Length 1", "10.00 mm", "Tooth 36"}) {
            at = opened.indexOf(QString::fromUtf8(part), at);
            EXPECT_GE(at, 0) << part << " in\n" << opened.toStdString();
        }
        save(QStringLiteral("Beurteilung: unauffällig"));
        ASSERT_TRUE(arrives(2));
        const std::string first = readFile(document);
        save(QStringLiteral("סוף"));
        ASSERT_TRUE(arrives(3));
        office.tell(QStringLiteral("close"));

        const auto made = versions();
        ASSERT_EQ(made.size(), 3U);
        EXPECT_TRUE(*made[0].bytes == *templates[i].document);
        EXPECT_TRUE(*made[1].bytes == first);
        EXPECT_TRUE(*made[2].bytes == readFile(document));
        office.tell(QStringLiteral("open ") + QString::fromStdString(document.string()));
        EXPECT_EQ(text(), opened + QStringLiteral("Beurteilung: unauffällig\nסוף\n"));
        office.tell(QStringLiteral("close"));
    }
}

TEST_F(WordProcessorTest, whatTheServiceDidNotTakeOrDidNotTellArrivesOnce) {
    open(0);
    service.setFault(Fault::error("*/document", 503, "Unavailable", "DOWN").on("PUT").times(2));
    save(QStringLiteral("while it is down"));
    ASSERT_TRUE(arrives(2));
    service.setFault(Fault::lostReply("*/document").on("PUT").times(1));
    save(QStringLiteral("stored in silence"));
    ASSERT_TRUE(arrives(3));
    for (int i = 0; i < 20; ++i)
        save(QString::number(i));
    const auto isNewest = [&] { return *versions().back().bytes == readFile(document); };
    ASSERT_TRUE(
        waitFor([&] { return isNewest() && workflow->state() == WordReportWorkflow::State::Synced; }));
    const auto made = versions();
    for (std::size_t i = 1; i < made.size(); ++i)
        EXPECT_NE(made[i].sha256, made[i - 1].sha256);
}

} // namespace
} // namespace zorbel::test
