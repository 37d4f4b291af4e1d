#include "DemoControl.h"
#include "GuidedTour.h"
#include "TourStops.h"

#include "app/update/widgets/UpdateController.h"
#include "demo/update/DemoUpdateOrigin.h"
#include "viewer/window/MainWindow.h"

#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>

namespace zorbel {

namespace {

const QString messageName = QStringLiteral("updateMessage");

/// What the program does by itself a moment after its start.
void look(TourHands& hands) {
    if (auto* updates = hands.mainWindow()->findChild<UpdateController*>())
        updates->check();
}

bool says(const TourHands& hands, const QString& text) {
    const auto* box = hands.find<QMessageBox>(messageName);
    return box && box->text().contains(text);
}

void accept(const TourHands& hands) {
    if (auto* box = hands.find<QMessageBox>(messageName))
        box->defaultButton()->click();
}

} // namespace

void planUpdates(GuidedTour& tour, DemoControl& control) {
    if (demoInstallers().isEmpty())
        return;
    auto& hands = tour.hands();
    const auto publish = [&](const QString& installer, const QString& version) {
        tour.add(
            QStringLiteral("release-published"),
            [&control, installer, version] { control.publishRelease(installer, version); },
            [&control] { return control.isIdle(); }, false);
    };
    const auto offer = [&](const QString& version, bool picture) {
        tour.add(
            QStringLiteral("update-offered"), [&hands] { look(hands); },
            [&hands, version] { return says(hands, version + QStringLiteral(" is available")); }, picture);
    };
    publish(QStringLiteral("good.exe"), QStringLiteral("1.1.0"));
    offer(QStringLiteral("1.1.0"), true);
    tour.add(
        QStringLiteral("update-downloading"), [&hands] { accept(hands); },
        [&hands] {
            const auto* progress = hands.find<QProgressDialog>(QStringLiteral("updateProgress"));
            return progress && progress->value() > 30;
        });
    tour.add(
        QStringLiteral("update-downloaded"), [] {},
        [&hands] { return says(hands, QStringLiteral("is downloaded and verified")); });
    publish(QStringLiteral("other-signer.exe"), QStringLiteral("1.2.0"));
    tour.add(
        QStringLiteral("update-message-closed"), [&hands] { accept(hands); },
        [&hands] { return !hands.visible(messageName); }, false);
    offer(QStringLiteral("1.2.0"), false);
    tour.add(
        QStringLiteral("update-refused"), [&hands] { accept(hands); },
        [&hands] { return says(hands, QStringLiteral("was rejected")); });
    tour.add(
        QStringLiteral("update-refusal-closed"),
        [&hands, &control] {
            accept(hands);
            control.withdrawRelease();
        },
        [&hands, &control] { return control.isIdle() && !hands.visible(messageName); }, false);
}

} // namespace zorbel
