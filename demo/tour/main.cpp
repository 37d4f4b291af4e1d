#include "GuidedTour.h"

#include "app/Application.h"

#include <QApplication>

#include <cstdio>
#include <memory>

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
    std::unique_ptr<zorbel::GuidedTour> tour;
    const int result = zorbel::runApplication(argc, argv, [&](QApplication&) {
        tour = std::make_unique<zorbel::GuidedTour>(
            pictures, qEnvironmentVariable("ZORBEL_DEMO_ACCOUNT"),
            qEnvironmentVariable("ZORBEL_DEMO_PASSWORD"));
    });
    const bool reached = tour && tour->succeeded();
    tour.reset();
    return reached ? result : 1;
}
