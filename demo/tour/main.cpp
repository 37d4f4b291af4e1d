#include "DemoControl.h"
#include "GuidedTour.h"
#include "TourStops.h"

#include "app/Application.h"
#include "demo/DemoAccounts.h"
#include "demo/DemoLocalNode.h"
#include "demo/update/DemoUpdateOrigin.h"
#include "settings/store/SettingsStore.h"

#include <QApplication>

#include <cstdio>
#include <memory>

namespace {

/// The tour's reader takes studies from the clinic's Local Node where it holds them.
void chooseLocalNode() {
    const QString organization = QString::fromLatin1(zorbel::demo::demoOrganizationId);
    zorbel::SettingsStore().set(
        zorbel::settings_table::localNode, QString::fromLatin1(zorbel::demo::DemoLocalNode::id),
        organization);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(
            stderr, "usage: zorbel-tour DIR   (started by \"./run --tour DIR\", which starts the demo "
                    "service too)\n");
        return 2;
    }
    const QDir pictures(QString::fromLocal8Bit(argv[1]));
    if (!pictures.mkpath(QStringLiteral("."))) {
        std::fprintf(stderr, "Cannot create the folder %s\n", argv[1]);
        return 2;
    }
    std::unique_ptr<zorbel::DemoControl> control;
    std::unique_ptr<zorbel::GuidedTour> tour;
    const int result = zorbel::runApplication(argc, argv, zorbel::demoUpdateOrigin(), [&](QApplication&) {
        chooseLocalNode();
        control = std::make_unique<zorbel::DemoControl>(QUrl(qEnvironmentVariable("ZORBEL_API_BASE_URL")));
        tour = std::make_unique<zorbel::GuidedTour>(pictures);
        planSignIn(*tour);
        planVolume(*tour);
        planSources(*tour, *control);
        planWorkspace(*tour);
        planDiagnostics(*tour);
        planImages(*tour);
        planRecords(*tour);
        planReport(*tour, *control);
        planSeriesChoice(*tour);
        planSession(*tour, *control);
        planSettings(*tour);
        planUpdates(*tour, *control);
        planFurtherStudies(*tour);
        tour->start();
    });
    const bool reached = tour && tour->succeeded();
    tour.reset();
    control.reset();
    return reached ? result : 1;
}
