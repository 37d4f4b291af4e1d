#include "app/Application.h"

#include "api/LoginDialog.h"
#include "api/ZorbelApiClient.h"
#include "app/LinkRequest.h"
#include "app/ServiceHost.h"
#include "app/SessionLock.h"
#include "app/SettingsMigration.h"
#include "app/StyleSheet.h"
#include "app/log/FileSink.h"
#include "app/log/Logger.h"
#include "imaging/rendering/RenderWindowWidget.h"
#include "platform/CrashReporting.h"
#include "platform/LinkProtocol.h"
#include "platform/PrivateFile.h"
#include "platform/SystemInfo.h"
#include "viewer/MainWindow.h"
#include "viewer/Resources.h"

#include <QApplication>
#include <QFont>
#include <QIcon>
#include <QMessageBox>
#include <QSettings>
#include <QStandardPaths>
#include <QTimer>

#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>

namespace zorbel {

namespace {

constexpr char component[] = "App";
constexpr char version[] = "1.0.0";

std::filesystem::path toPath(const QString& path) {
    return std::filesystem::path(path.toStdU16String());
}

std::filesystem::path configFolder() {
    return toPath(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation));
}

void applyIdentity() {
    QCoreApplication::setApplicationName(QStringLiteral("Zorbel Desktop Workstation"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(version));
    QCoreApplication::setOrganizationName(QStringLiteral("Quenmark"));
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

void openLog() {
    const auto folder = configFolder() / "logs";
    try {
        createPrivateFolder(folder);
        Logger::instance().addSink(std::make_shared<FileSink>(folder / "zorbel-desktop.log"));
    } catch (const std::exception&) {
        // Without a log the program still serves its user; there is nowhere to report this to.
    }
    Logger::instance().setMinLevel(LogLevel::Info);
    Logger::instance().info(
        component, "Zorbel Desktop Workstation starting",
        {{"platform", std::string(platformName())}, {"version", version}});
}

void installDiagnostics() {
    const auto crashes = configFolder() / "crashes";
    const bool installed = installCrashReporting(crashes, "ZorbelWorkstation", version);
    openLog();
    if (installed)
        Logger::instance().info(component, "Crash dumps are written to " + crashes.string());
    else
        Logger::instance().warn(component, "Crash reporting is unavailable; a fault will leave no dump");
}

/// Null when the endpoint is refused, which the user has then been told.
std::shared_ptr<ZorbelApiClient> buildClient(const std::optional<LinkRequest>& link) {
    ApiClientConfig config;
    config.baseUrl =
        link && !link->apiBase.isEmpty()
            ? link->apiBase
            : qEnvironmentVariable("ZORBEL_API_BASE_URL", QString::fromLatin1(defaultApiBaseUrl));
    try {
        return std::make_shared<ZorbelApiClient>(config);
    } catch (const std::exception& error) {
        Logger::instance().error(component, "API endpoint refused", {{"reason", error.what()}});
        QMessageBox::critical(
            nullptr, QStringLiteral("Zorbel Viewer configuration"),
            QStringLiteral("The secure API endpoint is invalid.\n\n%1").arg(QString::fromUtf8(error.what())));
        return nullptr;
    }
}

bool acquireSessionLock(SessionLock& lock) {
    bool crashed = false;
    try {
        crashed = lock.acquire();
    } catch (const std::exception& error) {
        Logger::instance().warn(component, "Session lock could not be written", {{"reason", error.what()}});
    }
    if (crashed)
        Logger::instance().warn(component, "Crash lock found — previous session did not exit cleanly");
    return crashed;
}

int runSession(const std::shared_ptr<ZorbelApiClient>& client, const std::optional<LinkRequest>& link) {
    QSettings settings;
    migrateSettings(settings);

    SessionLock lock(configFolder());
    acquireSessionLock(lock);
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, qApp, [&lock] { lock.remove(); });

    int result = 0;
    {
        MainWindow window(client);
        window.show();
        QApplication::setQuitOnLastWindowClosed(true);
        if (link)
            QTimer::singleShot(
                0, &window, [&window, uid = link->studyInstanceUID] { window.openLinkedStudy(uid); });
        result = QApplication::exec();
        lock.remove();
        Logger::instance().info(component, "Zorbel Desktop Workstation exiting cleanly");
        Logger::instance().flush();
    }
    return result;
}

} // namespace

int runApplication(int& argc, char** argv, const std::function<void(QApplication&)>& applicationReady) {
    imaging::RenderWindowWidget::setDefaultSurfaceFormat();
    QApplication application(argc, argv);
    // The sign-in dialog closes before the main window is there; that must not end the program.
    QApplication::setQuitOnLastWindowClosed(false);
    applyIdentity();
    applyLooks(application);
    installDiagnostics();
    if (!registerLinkProtocol(toPath(QCoreApplication::applicationFilePath())))
        Logger::instance().warn(component, "Unable to register the per-user zorbel-viewer link protocol");
    const auto link = LinkRequest::parse(application.arguments());
    const auto client = buildClient(link);
    if (!client) {
        Logger::instance().flush();
        return 2;
    }
    if (applicationReady)
        applicationReady(application);
    LoginDialog login(client);
    if (login.exec() != QDialog::Accepted) {
        Logger::instance().info(component, "Viewer sign-in cancelled");
        Logger::instance().flush();
        return 0;
    }
    return runSession(client, link);
}

} // namespace zorbel
