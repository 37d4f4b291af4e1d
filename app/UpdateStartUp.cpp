#include "app/UpdateStartUp.h"

#include "app/update/DesktopUpdateService.h"
#include "app/update/widgets/UpdateController.h"
#include "viewer/window/MainWindow.h"

#include <QTimer>

#include <chrono>

namespace zorbel {

UpdateController* startUpdates(
    MainWindow& window, const UpdateOrigin& origin, const QString& currentVersion,
    const std::filesystem::path& folder) {
    using namespace std::chrono_literals;
    DesktopUpdateService::removeStaleDownloads(folder);
    auto* updates = new UpdateController(
        currentVersion, origin, folder, window, [&window] { return window.mayInterrupt(); });
    QTimer::singleShot(1500ms, updates, &UpdateController::check);
    auto* daily = new QTimer(updates);
    QObject::connect(daily, &QTimer::timeout, updates, &UpdateController::check);
    daily->start(24h);
    return updates;
}

} // namespace zorbel
