#include "app/Application.h"

#include "api/LastRequests.h"
#include "api/ZorbelApiClient.h"
#include "app/DiagnosticsStartUp.h"
#include "app/LinkInbox.h"
#include "app/LinkReception.h"
#include "app/LinkRequest.h"
#include "app/LogFile.h"
#include "app/ServiceHost.h"
#include "app/SessionContinuation.h"
#include "app/SessionLock.h"
#include "app/SessionStorage.h"
#include "app/SettingsOpening.h"
#include "app/UpdateStartUp.h"
#include "app/WordReportStartUp.h"
#include "app/crash/CrashNoticeStartUp.h"
#include "app/identity/Identity.h"
#include "app/log/Logger.h"
#include "app/telemetry/TelemetryEmitter.h"
#include "app/update/widgets/UpdateController.h"
#include "cache/SessionWorkspace.h"
#include "diagnostics/widgets/DiagnosticsPane.h"
#include "imaging/rendering/OpenGlRenderWindowWidget.h"
#include "platform/CrashReporting.h"
#include "platform/LinkProtocol.h"
#include "platform/PrivateFile.h"
#include "platform/SystemInfo.h"
#include "platform/TerminationRequests.h"
#include "report/UnsyncedReports.h"
#include "resources/Resources.h"
#include "resources/StyleSheet.h"
#include "settings/model/SourceSettings.h"
#include "settings/model/ViewerCacheSettings.h"
#include "settings/store/SettingsStore.h"
#include "signin/LoginDialog.h"
#include "viewer/window/MainWindow.h"

#include <QApplication>
#include <QFileInfo>
#include <QFont>
#include <QIcon>
#include <QMessageBox>
#include <QSocketNotifier>
#include <QStandardPaths>

#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace zorbel {

namespace {

constexpr char component[] = "App";
constexpr char version[] = "1.0.0";
constexpr char crashDumpName[] = "ZorbelWorkstation";

std::filesystem::path configFolder() {
    return QFileInfo(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation))
        .filesystemFilePath();
}

void applyIdentity() {
    QCoreApplication::setApplicationName(QString::fromLatin1(applicationName));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(version));
    QCoreApplication::setOrganizationName(QString::fromLatin1(organizationName));
    QCoreApplication::setOrganizationDomain(QString::fromLatin1(serviceDomain));
}

void applyLooks(QApplication& application) {
    application.setStyleSheet(applicationStyleSheet());
    QApplication::setWindowIcon(QIcon(resourcePath(QStringLiteral("zorbel-icon.svg"))));
    QFont::insertSubstitutions(
        QStringLiteral("Poppins"),
        {QStringLiteral("Inter"), QStringLiteral("Segoe UI"), QStringLiteral("DejaVu Sans")});
    QApplication::setFont(QFont(QStringLiteral("Poppins")));
}

std::filesystem::path logFile() {
    return configFolder() / "logs" / "zorbel-desktop.log";
}

void openLog() {
    auto& logger = Logger::instance();
    std::string outcome;
    try {
        createPrivateFolder(logFile().parent_path());
        auto file = std::make_shared<LogFile>(logFile());
        outcome = file->outcome();
        logger.addSink(std::move(file));
    } catch (const std::exception&) {
        // Without a log the program still serves its user; there is nowhere to report this to.
    }
    const bool everything = qEnvironmentVariable("ZORBEL_LOG_LEVEL") == QLatin1String("debug");
    logger.setMinLevel(everything ? LogLevel::Debug : LogLevel::Info);
    logger.info(
        component, "Zorbel Desktop Workstation starting",
        {{"platform", std::string(platformName())}, {"version", version}});
    if (!outcome.empty())
        logger.warn(component, outcome);
}

std::filesystem::path crashFolder() {
    return configFolder() / "crashes";
}

void logCrashReporting(bool installed) {
    const QString folder = QString::fromStdU16String(crashFolder().u16string());
    if (installed)
        Logger::instance().info(component, "Crash dumps are written to " + folder.toStdString());
    else
        Logger::instance().warn(component, "Crash reporting is unavailable; a fault will leave no dump");
}

/// The images of a session that crashed or was killed must not lie about, whether or not somebody signs in
/// now.
void removeLeftovers() {
    const auto leftovers = SessionWorkspace::removeLeftovers();
    if (leftovers.removed > 0)
        Logger::instance().info(
            "Storage", "Removed what ended sessions left behind",
            {{"workspaces", std::to_string(leftovers.removed)}});
    if (leftovers.kept > 0)
        Logger::instance().warn(
            "Storage", "What ended sessions left behind could not be removed",
            {{"workspaces", std::to_string(leftovers.kept)}});
}

/// Its signal is the system's request to end the program, which is then as if the user had closed the window.
using TerminationNotifier = std::unique_ptr<QSocketNotifier>;

TerminationNotifier watchTermination() {
    const int requests = watchTerminationRequests();
    return requests < 0 ? nullptr : std::make_unique<QSocketNotifier>(requests, QSocketNotifier::Read);
}

template <class Close>
void closeOnTermination(const TerminationNotifier& notifier, const QObject& context, const Close& close) {
    if (notifier)
        QObject::connect(
            notifier.get(), &QSocketNotifier::activated, &context, [close, asked = notifier.get()] {
                asked->setEnabled(false); // the descriptor stays readable
                Logger::instance().info(component, "The system asks the program to end");
                close();
            });
}

/// What the program is reached by and reports to while it runs.
struct Surroundings {
    TelemetryEmitter telemetry{
        TelemetryEmitter::endpointFromEnvironment(),
        {.folder = configFolder(),
         .enabled = SettingsStore().isOn(settings_table::telemetryEnabled),
         .remember = [](bool enabled) { SettingsStore().set(settings_table::telemetryEnabled, enabled); }}};
    TerminationNotifier termination = watchTermination();
    std::unique_ptr<LinkInbox> links;
    std::optional<UpdateOrigin> updates{};
    std::shared_ptr<LiveLog> log = std::make_shared<LiveLog>();
    std::shared_ptr<LastRequests> requests = std::make_shared<LastRequests>();
};

/// What the diagnostics see of it.
TelemetryDiagnostics telemetryDiagnostics(TelemetryEmitter& telemetry) {
    TelemetryDiagnostics means;
    means.isConfigured = [&telemetry] { return telemetry.isConfigured(); };
    means.isEnabled = [&telemetry] { return telemetry.isEnabled(); };
    means.setEnabled = [&telemetry](bool enabled) { telemetry.setEnabled(enabled); };
    means.endpoint = [&telemetry] { return telemetry.endpoint().toString().toStdString(); };
    means.recentEvents = [&telemetry] {
        std::vector<TelemetryRecord> records;
        for (const auto& event : telemetry.recentEvents())
            records.push_back({event.json, event.sent});
        return records;
    };
    return means;
}

/// A link to another service that the user does not want is dropped.
QString chooseService(std::optional<LinkRequest>& link, const Surroundings& surroundings) {
    const QString usual = qEnvironmentVariable("ZORBEL_API_BASE_URL", QString::fromLatin1(defaultApiBaseUrl));
    if (link && !link->isFor(usual) && !mayLeadElsewhere(*link, usual, [&surroundings](QMessageBox& box) {
            closeOnTermination(surroundings.termination, box, [&box] { box.reject(); });
        }))
        link.reset();
    return link && !link->apiBase.isEmpty() ? link->apiBase : usual;
}

/// Null when the endpoint is refused, which the user has then been told.
std::shared_ptr<ZorbelApiClient>
buildClient(std::optional<LinkRequest>& link, const Surroundings& surroundings) {
    ApiClientConfig config;
    config.observer = [requests = surroundings.requests](const RequestOutcome& outcome) {
        requests->note(outcome);
    };
    config.baseUrl = chooseService(link, surroundings);
    try {
        return std::make_shared<ZorbelApiClient>(config);
    } catch (const std::exception& error) {
        Logger::instance().error(component, "API endpoint refused", {{"reason", error.what()}});
        QMessageBox box(
            QMessageBox::Critical, QStringLiteral("Zorbel Viewer configuration"),
            QStringLiteral("The secure API endpoint is invalid.\n\n%1").arg(QString::fromUtf8(error.what())),
            QMessageBox::Ok);
        closeOnTermination(surroundings.termination, box, [&box] { box.reject(); });
        box.exec();
        return nullptr;
    }
}

/// A link that arrives meanwhile takes the place of the one that waits.
bool signIn(
    const std::shared_ptr<ZorbelApiClient>& client, std::optional<LinkRequest>& link,
    const Surroundings& surroundings) {
    LoginDialog login(client);
    closeOnTermination(surroundings.termination, login, [&login] { login.reject(); });
    receiveLinks(*surroundings.links, login, client->config().baseUrl, [&link](const LinkRequest& next) {
        link = next;
    });
    return login.exec() == QDialog::Accepted;
}

/// Whether the previous run left its lock behind.
bool takeSessionLock(SessionLock& lock) {
    const auto begun = lock.begin();
    if (begun.previousRunCrashed)
        Logger::instance().warn(component, "Crash lock found — previous session did not exit cleanly");
    if (!begun.failure.empty())
        Logger::instance().warn(component, "Session lock could not be written", {{"reason", begun.failure}});
    return begun.previousRunCrashed;
}

/// From the main window's first moment to its last; the event loop's result.
int runMainWindow(
    const std::shared_ptr<ZorbelApiClient>& client, const MainWindowOptions& options, SettingsStore& settings,
    SessionStorage& storage, SessionContinuation& continuation, Surroundings& surroundings) {
    MainWindow window(client, options);
    continuation.attach(window);
    connectSettings(window, client, settings, storage, continuation.request());
    DiagnosticsPane* diagnostics = connectDiagnostics(
        window, client, settings, storage,
        {surroundings.log, surroundings.requests, telemetryDiagnostics(surroundings.telemetry),
         configFolder(), logFile(), CrashDumps(crashFolder(), crashDumpName)});
    QObject::connect(&window, &MainWindow::sessionEnding, &window, [&surroundings] {
        surroundings.links.reset();
        surroundings.telemetry.record("SESSION_END");
    });
    closeOnTermination(surroundings.termination, window, [&window] { window.close(); });
    receiveLinks(*surroundings.links, window, client->config().baseUrl, [&window](const LinkRequest& link) {
        window.openLinkedStudy(link.studyInstanceUID);
    });
    noteLastCrash(window, crashFolder(), crashDumpName, [diagnostics](const std::filesystem::path& dump) {
        diagnostics->showCrashDump(QString::fromStdU16String(dump.u16string()));
    });
    window.show();
    window.activateWindow(); // the sign-in dialog had the keyboard until now
    QApplication::setQuitOnLastWindowClosed(true);
    UpdateController* updates =
        surroundings.updates
            ? startUpdates(
                  window, *surroundings.updates, QString::fromLatin1(version), configFolder() / "updates")
            : nullptr;
    const int result = QApplication::exec();
    if (updates && !continuation.successor())
        updates->installAtEnd();
    QApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::removePostedEvents(qApp, QEvent::Quit); // of this window, not of the next
    return result;
}

/// What the event loop returned, and the client of another user for whom the program goes on, if any.
struct SessionOutcome {
    int result = 0;
    std::shared_ptr<ZorbelApiClient> successor;
};

SessionOutcome runSession(
    const std::shared_ptr<ZorbelApiClient>& client, const std::optional<LinkRequest>& link,
    Surroundings& surroundings) {
    // Taken now: the user may sign out before the window closes.
    const UserProfile profile = client->profile();
    if (!surroundings.links)
        surroundings.links = std::make_unique<LinkInbox>(configFolder());
    SettingsStore settings;
    settings.migrate();
    SessionStorage storage(profile, ViewerCacheSettings::read(settings));
    const auto source = SourceSettings::read(settings, profile.organizationId);
    client->selectSource(source.kind, source.nodeId);
    SessionLock lock(configFolder());
    const bool previousRunCrashed = takeSessionLock(lock);
    const QObject whileRunning;
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &whileRunning, [&lock] { lock.end(); });

    MainWindowOptions options;
    options.previousRunCrashed = previousRunCrashed;
    if (link)
        options.linkedStudy = link->studyInstanceUID;
    options.loading.storage = storage.loads();
    options.loading.policy = storage.policy();
    options.stateFolder = storage.stateFolder();
    options.loading.manifestSchema =
        QFileInfo(resourcePath(QStringLiteral("contracts/volume-cache-manifest.v1.0.json")))
            .filesystemFilePath();
    SessionContinuation continuation(client);
    options.loading.renewSession = continuation.request();
    options.reports = wordReportOptions(profile, configFolder(), storage.policy().retentionDays);
    options.reports.signInAgain = continuation.request();
    const int result = runMainWindow(client, options, settings, storage, continuation, surroundings);
    if (storage.isSessionOnly()) // what is not synced stays
        takeUnsyncedReports(options.reports.root, std::chrono::hours(0));

    lock.end();
    const bool isAskedToEnd = surroundings.termination && !surroundings.termination->isEnabled();
    if (const auto successor = continuation.successor(); successor && !isAskedToEnd) {
        storage.end();
        Logger::instance().info(component, "The viewer goes on for another user");
        return {result, successor};
    }
    surroundings.telemetry.record("app.shutdown", {{"organizationId", profile.organizationId.toStdString()}});
    surroundings.telemetry.shutDown();
    storage.end();
    Logger::instance().info(component, "Zorbel Desktop Workstation exiting cleanly");
    Logger::instance().flush();
    return {result, nullptr};
}

} // namespace

int runApplication(
    int& argc, char** argv, const std::optional<UpdateOrigin>& updates,
    const std::function<void(QApplication&)>& applicationReady) {
    imaging::OpenGlRenderWindowWidget::setDefaultSurfaceFormat();
    QApplication application(argc, argv);
    // The sign-in dialog closes before the main window is there; that must not end the program.
    QApplication::setQuitOnLastWindowClosed(false);
    applyIdentity();
    applyLooks(application);
    if (applicationReady)
        applicationReady(application);
    const bool crashReporting = installCrashReporting(crashFolder(), crashDumpName, version);
    openLog();
    Surroundings surroundings;
    surroundings.updates = updates;
    Logger::instance().addSink(surroundings.log);
    surroundings.telemetry.record("app.startup", {{"version", version}});
    logCrashReporting(crashReporting);
    removeLeftovers();
    if (!registerLinkProtocol(QFileInfo(QCoreApplication::applicationFilePath()).filesystemFilePath()))
        Logger::instance().warn(component, "Unable to register the per-user zorbel-viewer link protocol");
    auto link = LinkRequest::parse(application.arguments());
    const auto endBeforeSession = [&surroundings](const char* message) {
        surroundings.telemetry.shutDown();
        Logger::instance().info(component, message);
        Logger::instance().flush();
        return 0;
    };
    if (link && handOverLink(configFolder(), *link))
        return endBeforeSession("The running viewer opens the link");
    auto client = buildClient(link, surroundings);
    if (!client) {
        Logger::instance().flush();
        return 2;
    }
    surroundings.links = std::make_unique<LinkInbox>(configFolder());
    if (!signIn(client, link, surroundings))
        return endBeforeSession("Viewer sign-in cancelled");
    SessionOutcome outcome = runSession(client, link, surroundings);
    while (outcome.successor) {
        client = outcome.successor;
        outcome = runSession(client, std::nullopt, surroundings);
    }
    return outcome.result;
}

} // namespace zorbel
