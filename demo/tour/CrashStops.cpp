#include "GuidedTour.h"
#include "TourStops.h"

#include "demo/DemoAccounts.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QTest>

#include <csignal>
#include <unistd.h>

namespace zorbel {

namespace {

const QString barName = QStringLiteral("crashNoticeBar");
const QString reportName = QStringLiteral("diagnosticsCrashText");
const QString questionName = QStringLiteral("recoveryBox");

void planSignInAgain(GuidedTour& tour) {
    auto& hands = tour.hands();
    tour.add(
        QStringLiteral("sign-in-again"), [] {},
        [&hands] { return hands.visible(QStringLiteral("loginSubmit")) != nullptr; }, false);
    tour.add(
        QStringLiteral("list-again"),
        [&hands] {
            hands.type(QStringLiteral("loginEmail"), QString::fromLatin1(demo::readerAccount.email));
            hands.type(QStringLiteral("loginPassword"), QString::fromLatin1(demo::readerAccount.password));
            if (auto* field = hands.visible(QStringLiteral("loginPassword")))
                QTest::keyClick(field, Qt::Key_Return);
        },
        [&hands] { return hands.mainWindow() && hands.rowCount() > 0; }, false);
}

} // namespace

void planCrash(GuidedTour& tour) {
    planSignInAgain(tour);
    tour.addOpening(QStringLiteral("open-at-the-fault"), QStringLiteral("Jaw"));
    // As another program may do to any; the program itself has no way to ask for a fault.
    tour.add(
        QStringLiteral("fault"), [] { ::kill(::getpid(), SIGSEGV); }, [] { return false; }, false);
}

void planAfterCrash(GuidedTour& tour) {
    auto& hands = tour.hands();
    planSignInAgain(tour);
    tour.add(
        QStringLiteral("fault-noted-and-study-offered"), [] {},
        [&hands] { return hands.visible(barName) && hands.visible(questionName); });
    tour.add(
        QStringLiteral("fault-noted-over-the-study"),
        [&hands] {
            hands.awaitStudy();
            if (const auto* box = hands.find<QMessageBox>(questionName))
                box->button(QMessageBox::Yes)->click();
        },
        [&hands] { return hands.studyShown() && hands.visible(barName); });
    tour.add(
        QStringLiteral("fault-report"), [&hands] { hands.click(QStringLiteral("crashNoticeShow")); },
        [&hands] {
            const auto* text = hands.find<QPlainTextEdit>(reportName);
            return text && text->toPlainText().contains(QStringLiteral("\ncall chain\n")) &&
                   !hands.visible(barName);
        });
    tour.add(
        QStringLiteral("after-fault-report"),
        [&hands] { hands.click(QStringLiteral("toolbar-utilities-terminal")); },
        [&hands] { return !hands.visible(reportName); }, false);
}

} // namespace zorbel
