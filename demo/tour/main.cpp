#include "DemoControl.h"
#include "GuidedTour.h"
#include "TourLegs.h"
#include "TourStops.h"

#include "app/Application.h"
#include "demo/DemoAccounts.h"
#include "demo/DemoLocalNode.h"
#include "demo/update/DemoUpdateOrigin.h"
#include "settings/store/SettingsStore.h"

#include <QApplication>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

namespace {

/// The tour's reader takes studies from the clinic's Local Node where it holds them.
void chooseLocalNode() {
    const QString organization = QString::fromLatin1(zorbel::demo::demoOrganizationId);
    zorbel::SettingsStore().set(
        zorbel::settings_table::localNode, QString::fromLatin1(zorbel::demo::DemoLocalNode::id),
        organization);
}

/// What the program itself shows, from the first sign-in on.
void planMain(zorbel::GuidedTour& tour, zorbel::DemoControl& control) {
    chooseLocalNode();
    planSignIn(tour);
    planVolume(tour);
    planSources(tour, control);
    planWorkspace(tour);
    planDiagnostics(tour);
    planImages(tour);
    planRecords(tour);
    planReport(tour, control);
    planSeriesChoice(tour);
    planSession(tour, control);
    planSettings(tour);
    planUpdates(tour, control);
    planFurtherStudies(tour);
}

void planLeg(zorbel::GuidedTour& tour, zorbel::TourLeg leg) {
    // What the tour has set last keeps nothing between two starts.
    zorbel::SettingsStore().set(zorbel::settings_table::cacheRetentionDays, 1);
    if (leg == zorbel::TourLeg::Crash)
        planCrash(tour);
    else
        planAfterCrash(tour);
}

} // namespace

int main(int argc, char** argv) {
    const auto part = argc < 2 ? std::nullopt : zorbel::TourPart::of(argc - 2, argv + 2);
    if (!part) {
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
    const std::string program = argv[0]; // the application takes words out of its arguments
    const std::string folder = argv[1];
    if (part->leg != zorbel::TourLeg::Main)
        zorbel::endWithStarter();
    argc = 1;
    argv[1] = nullptr;
    std::unique_ptr<zorbel::DemoControl> control;
    std::unique_ptr<zorbel::GuidedTour> tour;
    const int result = zorbel::runApplication(argc, argv, zorbel::demoUpdateOrigin(), [&](QApplication&) {
        control = std::make_unique<zorbel::DemoControl>(QUrl(qEnvironmentVariable("ZORBEL_API_BASE_URL")));
        tour = std::make_unique<zorbel::GuidedTour>(pictures, part->picturesBefore);
        if (part->leg == zorbel::TourLeg::Main)
            planMain(*tour, *control);
        else
            planLeg(*tour, part->leg);
        tour->start();
    });
    bool reached = tour && tour->succeeded();
    const int taken = tour ? tour->picturesTaken() : 0;
    tour.reset();
    control.reset();
    if (reached && part->leg == zorbel::TourLeg::Main)
        reached = zorbel::runFurtherLegs(program.c_str(), folder.c_str(), taken);
    return reached ? result : 1;
}
