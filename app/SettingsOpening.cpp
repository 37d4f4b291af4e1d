#include "app/SettingsOpening.h"

#include "api/ZorbelApiClient.h"
#include "app/SessionStorage.h"
#include "base/qt/BackgroundTask.h"
#include "settings/SettingsDialog.h"
#include "viewer/window/MainWindow.h"

#include <QPointer>

#include <utility>

namespace zorbel {

void connectSettings(
    MainWindow& window, const std::shared_ptr<ZorbelApiClient>& client, SettingsStore& settings,
    SessionStorage& storage, const SessionRequest& renewSession) {
    storage.setWindow(
        {.use =
             [&window, &storage](const std::filesystem::path& stateFolder, SessionStorage::Done done) {
                 window.useStorage(storage.loads(), storage.policy(), stateFolder, std::move(done));
             },
         .clear =
             [&window](std::function<QString()> clear, SessionStorage::Done done) {
                 window.clearKept(std::move(clear), std::move(done));
             },
         .cleared =
             [&window, client] {
                 runInBackground(
                     *QThreadPool::globalInstance(), &window,
                     [client] { return client->sendViewerAudit(QStringLiteral("CACHE_CLEAR")); },
                     [](bool) {});
             }});
    QObject::connect(
        &window, &MainWindow::settingsRequested, &window,
        [&window, client, &settings, &storage, renewSession] {
            auto* dialog = new SettingsDialog(client, settings, storage, &window);
            dialog->setAttribute(Qt::WA_DeleteOnClose);
            QObject::connect(dialog, &SettingsDialog::sessionEnded, dialog, [dialog, renewSession] {
                renewSession([dialog = QPointer(dialog)](bool renewed) {
                    if (renewed && dialog)
                        dialog->sessionRenewed();
                });
            });
            dialog->open();
        });
}

} // namespace zorbel
