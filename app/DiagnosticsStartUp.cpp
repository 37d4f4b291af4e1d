#include "app/DiagnosticsStartUp.h"

#include "api/LastRequests.h"
#include "api/ZorbelApiClient.h"
#include "app/SessionStorage.h"
#include "cache/storage/StorageScope.h"
#include "diagnostics/sections/ProgramSections.h"
#include "diagnostics/sections/SessionSections.h"
#include "diagnostics/sections/StudySections.h"
#include "diagnostics/widgets/DiagnosticsPane.h"
#include "viewer/reading/planes/RotationTrace.h"
#include "viewer/session/ReadingSession.h"
#include "viewer/window/MainToolBar.h"
#include "viewer/window/MainWindow.h"
#include "viewer/workspace/ViewerWorkspace.h"

#include <QDir>
#include <QShortcut>
#include <QSysInfo>

#include <chrono>
#include <exception>
#include <mutex>
#include <set>
#include <utility>

namespace zorbel {

namespace {

/// What the window told about the studies of this session.
class SeenStudies : public QObject {
public:
    explicit SeenStudies(MainWindow& window) : QObject(&window), window_(window) {
        connect(
            &window.loads(), &StudyLoadController::imageReady, this,
            [this](const OrthancImageLoadResult& result) {
                load_ = result;
                load_->image.reset(); // the reading holds it, and nobody else
                displayedMs_.reset();
                note(result.study, result.image ? &result.image->metadata() : nullptr);
                seriesUids_.insert(result.series.seriesInstanceUID.toStdString());
                identifiers_.insert(result.series.orthancId.toStdString());
            });
        connect(&window, &MainWindow::studyDisplayed, this, [this](qint64 milliseconds) {
            displayedMs_ = milliseconds;
        });
        connect(&window.reading(), &ReadingSession::recentStudiesChanged, this, &SeenStudies::noteRecent);
        noteRecent();
    }

    DiagnosticsJson study() const {
        const auto& reading = window_.reading().current();
        return studySection(load_, reading ? reading->shown().image.get() : nullptr, displayedMs_);
    }

    void addTo(KnownSecrets& secrets) const {
        for (const auto& [from, to] :
             {std::pair(&patients_, &secrets.patients), std::pair(&studyUids_, &secrets.studyUids),
              std::pair(&seriesUids_, &secrets.seriesUids), std::pair(&identifiers_, &secrets.identifiers)})
            to->insert(to->end(), from->begin(), from->end());
    }

private:
    void noteRecent() {
        window_.reading().recentStudies([this](const RecentStudies& recent) {
            for (const RecentStudy& opened : recent.studies())
                note(opened.study, nullptr);
        });
    }

    void note(const StudyIdentity& study, const imaging::ImageMetadata* metadata) {
        studyUids_.insert(study.studyInstanceUid);
        identifiers_.insert(study.orthancId);
        patients_.insert(study.patientName);
        if (metadata) {
            patients_.insert(metadata->patientName);
            seriesUids_.insert(metadata->seriesInstanceUID);
        }
    }

    MainWindow& window_;
    std::optional<OrthancImageLoadResult> load_;
    std::optional<qint64> displayedMs_;
    std::set<std::string> patients_;
    std::set<std::string> studyUids_;
    std::set<std::string> seriesUids_;
    std::set<std::string> identifiers_;
};

/// The cache folder is not walked through each time that the pane looks.
class StorageWatch {
public:
    DiagnosticsJson
    section(const std::optional<ViewerStorage>& storage, const StoragePolicy& policy, bool sessionOnly) {
        const std::lock_guard lock(mutex_);
        const auto now = std::chrono::steady_clock::now();
        const auto folder = storage ? storage->scopeDirectory() : std::filesystem::path();
        if (measured_.is_null() || folder != folder_ || now - time_ > std::chrono::seconds(15)) {
            measured_ = storageSection(storage, policy, sessionOnly);
            time_ = std::chrono::steady_clock::now();
            folder_ = folder;
        }
        return measured_;
    }

private:
    std::mutex mutex_;
    DiagnosticsJson measured_;
    std::filesystem::path folder_;
    std::chrono::steady_clock::time_point time_;
};

DiagnosticsJson telemetrySection(const TelemetryDiagnostics& telemetry) {
    const bool configured = telemetry.isConfigured && telemetry.isConfigured();
    return {
        {"configured", configured},
        {"sending", configured && telemetry.isEnabled()},
        {"events", telemetry.recentEvents ? telemetry.recentEvents().size() : 0}};
}

KnownSecrets sessionSecrets(const ZorbelApiClient& client) {
    KnownSecrets secrets;
    const UserProfile profile = client.profile();
    secrets.users = {profile.name.toStdString(), profile.email.section(QLatin1Char('@'), 0, 0).toStdString()};
    secrets.identifiers = {profile.id.toStdString(), QSysInfo::machineHostName().toStdString()};
    secrets.homeFolders = {QDir::homePath().toStdString()};
    for (const char* variable : {"USER", "USERNAME"})
        if (const QString user = qEnvironmentVariable(variable); user != QLatin1String("root"))
            secrets.users.push_back(user.toStdString());
    try {
        secrets.tokens = {client.cloudRoute().token.toStdString()};
        secrets.identifiers.push_back(
            StorageScope::of(profile.organizationId.toStdString(), profile.id.toStdString()).identifier());
    } catch (const std::exception&) {
        // Nobody is signed in: there is neither.
    }
    return secrets;
}

DiagnosticsSources sections(
    MainWindow& window, const std::shared_ptr<ZorbelApiClient>& client, const SessionStorage& storage,
    const DiagnosticsSurroundings& surroundings, const SeenStudies& seen) {
    DiagnosticsSources sources;
    sources.add("program", "Program", programSection);
    sources.add("graphics", "Graphics", graphicsSection);
    sources.addMeasured("memory", "Memory", [] { return memorySection; });
    sources.add("screens", "Screens", screensSection);
    sources.add("session", "Session", [client] { return sessionSection(*client); });
    sources.add("service", "Service", [client, requests = surroundings.requests] {
        return serviceSection(*client, *requests);
    });
    sources.addMeasured("storage", "Storage", [&storage, watch = std::make_shared<StorageWatch>()] {
        return [watch, used = storage.storage(), policy = storage.policy(), only = storage.isSessionOnly()] {
            return watch->section(used, policy, only);
        };
    });
    sources.add("study", "Open study", [&seen] { return seen.study(); });
    sources.add("display", "Display", [&window] {
        const ReadingMode* mode = window.workspace().mode();
        return displaySection(mode ? mode->displayProperties() : std::vector<DisplayProperties>());
    });
    sources.add("telemetry", "Telemetry", [telemetry = surroundings.telemetry] {
        return telemetrySection(telemetry);
    });
    return sources;
}

} // namespace

DiagnosticsPane* connectDiagnostics(
    MainWindow& window, const std::shared_ptr<ZorbelApiClient>& client, const SettingsStore& settings,
    const SessionStorage& storage, DiagnosticsSurroundings surroundings) {
    auto* seen = new SeenStudies(window);
    DiagnosticsMeans means;
    means.sources = sections(window, client, storage, surroundings, *seen);
    means.log = surroundings.log;
    means.telemetry = surroundings.telemetry;
    means.rotationTrace = {RotationTrace::isEnabled, RotationTrace::setEnabled};
    means.crashDumps = surroundings.crashDumps;
    means.bundle = [client, seen, &settings, surroundings] {
        SupportBundleSources sources;
        sources.settings = settingsSection(settings, client->profile().organizationId);
        if (surroundings.telemetry.recentEvents)
            sources.telemetry = surroundings.telemetry.recentEvents();
        sources.log = surroundings.logFile;
        sources.crashDumps = surroundings.crashDumps;
        sources.keyFile = surroundings.configFolder / "diagnostics.key";
        sources.secrets = sessionSecrets(*client);
        seen->addTo(sources.secrets);
        return sources;
    };
    auto* pane = new DiagnosticsPane(std::move(means), &window);
    window.addDockWidget(Qt::RightDockWidgetArea, pane);
    pane->hide();
    QObject::connect(&window, &MainWindow::diagnosticsRequested, pane, &DiagnosticsPane::toggle);
    auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_D), &window);
    shortcut->setAutoRepeat(false);
    QObject::connect(shortcut, &QShortcut::activated, pane, &DiagnosticsPane::toggle);
    QObject::connect(
        pane, &DiagnosticsPane::left, &window.workspace(), [&window] { window.workspace().setFocus(); });
    QObject::connect(pane, &DiagnosticsPane::visibleChanged, &window, [&window](bool visible) {
        if (auto* toolBar = window.findChild<MainToolBar*>())
            toolBar->setDiagnosticsShown(visible);
    });
    QObject::connect(&window, &MainWindow::studyDisplayed, pane, &DiagnosticsPane::refresh);
    return pane;
}

} // namespace zorbel
