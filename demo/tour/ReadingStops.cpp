#include "GuidedTour.h"
#include "TourStops.h"

#include "demo/DemoAccounts.h"
#include "imaging/rendering/PlaneView.h"

#include <QTest>

namespace zorbel {

namespace {

void addFurtherStudy(GuidedTour& tour, const QString& studyUid) {
    auto& hands = tour.hands();
    tour.add(
        QStringLiteral("further-study"), [&hands, studyUid] { hands.openRow(hands.rowOfStudy(studyUid)); },
        [&hands] {
            // An import of the user's may be refused, or hold several series: that, too, is a stop worth
            // seeing.
            if (auto* table = hands.visible(QStringLiteral("seriesTable"))) {
                QTest::keyClick(table, Qt::Key_Return);
                return false;
            }
            return hands.studyShown() || hands.visible(QStringLiteral("loadFailureBox"));
        });
    tour.add(
        QStringLiteral("close-message"), [&hands] { hands.closeMessage(); },
        [&hands] { return !hands.visible(QStringLiteral("loadFailureBox")); }, false);
}

} // namespace

void planSignIn(GuidedTour& tour) {
    auto& hands = tour.hands();
    tour.add(
        QStringLiteral("sign-in"), [] {}, [&hands] { return hands.visible(QStringLiteral("loginSubmit")); });
    tour.add(
        QStringLiteral("wrong-password"),
        [&hands] {
            hands.type(QStringLiteral("loginEmail"), QString::fromLatin1(demo::readerAccount.email));
            hands.type(QStringLiteral("loginPassword"), QStringLiteral("not the password"));
            hands.click(QStringLiteral("loginSubmit"));
        },
        [&hands] {
            const auto* submit = hands.visible(QStringLiteral("loginSubmit"));
            return hands.visible(QStringLiteral("loginError")) && submit && submit->isEnabled();
        });
    tour.add(
        QStringLiteral("study-list"),
        [&hands] {
            hands.type(QStringLiteral("loginPassword"), QString::fromLatin1(demo::readerAccount.password));
            if (auto* field = hands.visible(QStringLiteral("loginPassword")))
                QTest::keyClick(field, Qt::Key_Return);
        },
        [&hands] { return hands.mainWindow() && hands.rowCount() > 0; });
}

void planVolume(GuidedTour& tour) {
    auto& hands = tour.hands();
    tour.addOpening(QStringLiteral("volume"), QStringLiteral("Jaw"));
    tour.add(
        QStringLiteral("volume-scrolled"),
        [&hands] {
            hands.turnWheel(QStringLiteral("axialView"), -25);
            hands.turnWheel(QStringLiteral("coronalView"), -60);
            hands.click(QStringLiteral("sagittalView"));
            for (int step = 0; step < 40; ++step)
                hands.press(Qt::Key_Left);
        },
        [&hands] {
            const auto* sagittal = hands.find<imaging::PlaneView>(QStringLiteral("sagittalView"));
            const auto& slices = sagittal->navigation();
            // The volume opened in its middle; the keys must have left it.
            return slices.currentSlice() < slices.sliceCount() / 2 - 30;
        });
}

void planSeriesChoice(GuidedTour& tour) {
    auto& hands = tour.hands();
    tour.add(
        QStringLiteral("series-choice"),
        [&hands] { hands.openRow(hands.rowContaining(QStringLiteral("Several"))); },
        [&hands] { return hands.visible(QStringLiteral("seriesTable")); });
    tour.add(
        QStringLiteral("chosen-series"),
        [&hands] {
            hands.awaitStudy();
            if (auto* table = hands.visible(QStringLiteral("seriesTable")))
                QTest::keyClick(table, Qt::Key_Return);
        },
        [&hands] { return hands.studyShown(); });
}

void planFurtherStudies(GuidedTour& tour) {
    auto& hands = tour.hands();
    tour.add(
        QStringLiteral("further-studies"),
        [&tour, &hands] {
            for (int row = 0; row < hands.rowCount(); ++row)
                if (const QString uid = hands.studyOfRow(row); !hands.wasOpened(uid))
                    addFurtherStudy(tour, uid);
        },
        [] { return true; }, false);
}

} // namespace zorbel
