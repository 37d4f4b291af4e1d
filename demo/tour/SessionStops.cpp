#include "DemoControl.h"
#include "GuidedTour.h"
#include "TourStops.h"

#include "demo/DemoAccounts.h"

namespace zorbel {

namespace {

const QString notNow = QStringLiteral("loginNotNow");

} // namespace

void planSession(GuidedTour& tour, DemoControl& control) {
    auto& hands = tour.hands();
    tour.addOpening(QStringLiteral("jaw-to-session"), QStringLiteral("Jaw"), {}, false);
    tour.add(
        QStringLiteral("session-ends"), [&control] { control.endReadersSessions(); },
        [&control] { return control.isIdle(); }, false);
    tour.add(
        QStringLiteral("session-ended"), [&hands] { hands.click(QStringLiteral("refreshStudies")); },
        [&hands] { return hands.visible(notNow) != nullptr; });
    tour.add(
        QStringLiteral("session-not-now"), [&hands] { hands.click(notNow); },
        [&hands] { return hands.visible(QStringLiteral("statusSignIn")) && !hands.visible(notNow); });
    tour.add(
        QStringLiteral("session-asked-for"), [&hands] { hands.click(QStringLiteral("statusSignIn")); },
        [&hands] { return hands.visible(notNow) != nullptr; }, false);
    tour.add(
        QStringLiteral("session-renewed"),
        [&hands] {
            hands.type(QStringLiteral("loginPassword"), QString::fromLatin1(demo::readerAccount.password));
            hands.click(QStringLiteral("loginSubmit"));
        },
        [&hands] { return !hands.visible(notNow) && !hands.visible(QStringLiteral("statusSession")); });
}

} // namespace zorbel
