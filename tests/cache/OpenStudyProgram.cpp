// A viewer without a window, to be killed: starts as the viewer does, opens a study and says what came of it.
//
//   zorbel_open_study SERVICE SETTINGS-FILE SCHEMA ARCHIVE-ID STUDY-UID [again] [stay]
//
// "again" loads the study anew from the service after the first time; "stay" ends when standard input does.
// Standard output gets one line, the source of the last images and their digest, or "failed" and the text;
// standard error gets the log.

#include "ImageDigest.h"
#include "api/ZorbelApiClient.h"
#include "app/SessionStorage.h"
#include "app/log/ILogSink.h"
#include "app/log/Logger.h"
#include "cache/SessionWorkspace.h"
#include "cache/StudyLoadController.h"
#include "demo/DemoAccounts.h"
#include "settings/model/ViewerCacheSettings.h"
#include "settings/store/SettingsStore.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QStringList>
#include <QTimer>

#include <atomic>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>

namespace {

using namespace zorbel;

/// Passes the log on, and sees when a downloaded series has reached the archive, or will not.
class ErrorOutput : public ILogSink {
public:
    void write(const char* line, std::size_t length) override {
        const std::string_view text(line, length);
        for (const char* last :
             {"Viewer cache quota enforced", "Viewer cache quota could not be enforced",
              "Study could not be archived", "Study not archived"})
            if (text.find(last) != std::string_view::npos)
                ++archived;
        std::cerr.write(line, static_cast<std::streamsize>(length));
    }
    void flush() override {}
    std::atomic<int> archived = 0;
};

std::string outcomeOf(const OrthancImageLoadResult& result) {
    constexpr const char* sources[] = {"cache ", "archive ", "service "};
    return sources[static_cast<int>(result.source)] + test::imageDigest(*result.image);
}

class Viewer {
public:
    Viewer(std::shared_ptr<ZorbelApiClient> client, const StudyLoadOptions& options, ErrorOutput& log)
        : controller_(std::move(client), options), log_(log) {
        QObject::connect(
            &controller_, &StudyLoadController::imageReady, &controller_,
            [this](const OrthancImageLoadResult& result) {
                downloads_ += result.source == ImageSource::Service ? 1 : 0;
                end(outcomeOf(result));
            });
        QObject::connect(
            &controller_, &StudyLoadController::loadFailed, &controller_,
            [this](const StudyLoadFailure& failure) { end("failed " + failure.status.toStdString()); });
    }

    std::string open(const StudyIdentity& study) {
        controller_.openStudy(study);
        return wait();
    }
    std::string openAgain() {
        controller_.retry();
        return wait();
    }

private:
    void end(const std::string& outcome) {
        outcome_ = outcome;
        loop_.quit();
    }
    std::string wait() {
        loop_.exec();
        while (log_.archived < downloads_)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
        return outcome_;
    }

    StudyLoadController controller_;
    ErrorOutput& log_;
    QEventLoop loop_;
    std::string outcome_;
    int downloads_ = 0;
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() < 6)
        return 2;
    const auto log = std::make_shared<ErrorOutput>();
    Logger::instance().addSink(log);
    SessionWorkspace::removeLeftovers();
    ApiClientConfig config;
    config.baseUrl = arguments[1];
    const auto client = std::make_shared<ZorbelApiClient>(config);
    const auto& account = demo::readerAccount;
    if (!client->signIn(QString::fromLatin1(account.email), QString::fromLatin1(account.password)).success)
        return 3;
    SessionStorage storage(client->profile(), ViewerCacheSettings::read(SettingsStore(arguments[2])));
    StudyLoadOptions options;
    options.storage = storage.storage();
    options.policy = storage.policy();
    options.manifestSchema = arguments[3].toStdString();
    {
        Viewer viewer(client, options, *log);
        const StudyIdentity study{
            .orthancId = arguments[4].toStdString(), .studyInstanceUid = arguments[5].toStdString()};
        std::string outcome = viewer.open(study);
        if (arguments.contains(QStringLiteral("again")))
            outcome = viewer.openAgain();
        std::cout << outcome << std::endl;
        if (arguments.contains(QStringLiteral("stay")))
            std::cin.get();
    }
    storage.end();
    return 0;
}
