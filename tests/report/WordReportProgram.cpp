// A viewer without a screen for tests that kill it: opens a report and brings what is saved to a service that
// is a folder, "version-1" and so on. Arguments: the Word working root, the service's folder.

#include "report/WordReportWorkflow.h"
#include "tests/support/Files.h"

#include <QCoreApplication>

#include <atomic>
#include <string>

using namespace zorbel;
namespace fs = std::filesystem;

namespace {

class FolderService : public WordService {
public:
    explicit FolderService(fs::path folder) : folder_(std::move(folder)) {}

    std::vector<WordTemplate> templates(const CancelFlag&) const override { return {}; }
    WordSession createSession(const QString&, const QString&, const CancelFlag&) const override {
        return {QStringLiteral("s"), QStringLiteral("report"), {}, QStringLiteral("1"), {}, {}};
    }
    QByteArray document(const QString&, const CancelFlag&) const override {
        return QByteArray::fromStdString(test::readFile(path(newest())));
    }
    WordSaveResult save(const QString&, const QByteArray& bytes, const CancelFlag&) const override {
        const int version = newest() + 1;
        const fs::path unfinished = folder_ / "unfinished";
        test::writeFile(unfinished, {bytes.constData(), static_cast<std::size_t>(bytes.size())});
        fs::rename(unfinished, path(version));
        WordSaveResult result{.approved = true, .saved = true, .createdVersion = true};
        result.versionId = QString::number(version);
        return result;
    }

private:
    int newest() const {
        int version = 0;
        while (fs::exists(path(version + 1)))
            ++version;
        return version;
    }
    fs::path path(int version) const { return folder_ / ("version-" + std::to_string(version)); }

    fs::path folder_;
};

class Reader : public WordReportPrompts {
    void chooseTemplate(const QStringList&, std::function<void(std::optional<int>)> chosen) override {
        chosen(0);
    }
    void confirm(const QString&, const QString&, Answer answer) override { answer(true); }
    void askAboutConflict(const QString&, Answer answer) override { answer(true); }
    void signInAgain(Answer answer) override { answer(true); }
    void warn(const QString&, const QString&) override {}
    void openDocument(const fs::path&, Answer answer) override { answer(true); }
};

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    Reader reader;
    using namespace std::chrono_literals;
    WordReportWorkflow workflow(
        std::make_shared<FolderService>(argv[2]), reader,
        [](const QString&, const QString&, const QJsonObject&) {},
        {.root = argv[1], .keepSynced = 1h, .timing = {.settle = 2ms, .poll = 10ms}});
    workflow.begin(
        {{.studyInstanceUid = "1.2.3"}, [](const std::function<void(ReportPacket)>& then) { then({}); }});
    return QCoreApplication::exec();
}
