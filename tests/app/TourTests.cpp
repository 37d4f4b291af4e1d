#include "ProgramHome.h"
#include "demo/DemoAccounts.h"

#include <QFile>
#include <QHash>
#include <QImage>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace zorbel::test {
namespace {

/// How much of the picture's middle has one and the same colour, 0 to 1.
double shareOfCommonestColour(const QImage& picture) {
    QHash<QRgb, int> counts;
    int commonest = 0;
    int all = 0;
    for (int y = picture.height() / 5; y < picture.height() * 4 / 5; y += 2)
        for (int x = picture.width() / 3; x < picture.width() * 4 / 5; x += 2, ++all)
            commonest = std::max(commonest, ++counts[picture.pixel(x, y)]);
    return static_cast<double>(commonest) / std::max(all, 1);
}

/// The viewports' part of the picture: without study list, rail and status bar.
QImage viewports(const QImage& picture) {
    return picture.copy(
        picture.width() / 3, picture.height() / 5, picture.width() * 3 / 5, picture.height() * 7 / 10);
}

/// What each choice of a kind shows must differ from what the others show.
void expectAllDifferent(const QDir& pictures, const QString& kind) {
    const QStringList files =
        pictures.entryList({QStringLiteral("*-%1-*.png").arg(kind)}, QDir::Files, QDir::Name);
    EXPECT_GE(files.size(), 2) << kind.toStdString();
    for (int one = 0; one < files.size(); ++one)
        for (int other = one + 1; other < files.size(); ++other)
            EXPECT_NE(
                viewports(QImage(pictures.filePath(files[one]))),
                viewports(QImage(pictures.filePath(files[other]))))
                << files[one].toStdString() << " and " << files[other].toStdString();
}

TEST(GuidedTour, showsEveryStopAndLeavesNoSecretBehind) {
    ProgramHome home;
    home.set("ZORBEL_LOG_LEVEL", "debug");
    // The demonstration removes its temporary folder in the end; what the viewer left there is listed before.
    const QString listing = home.path("listing");
    const QString pictures = home.path("home/pictures");
    const QString viewer = QStringLiteral("\"%1\" \"%2\"; code=$?; ls -A \"$TMPDIR\" > \"%3\"; exit $code")
                               .arg(QStringLiteral(ZORBEL_TOUR_PROGRAM), pictures, listing);
    const Outcome outcome = home.run(
        QStringLiteral(ZORBEL_DEMO_PROGRAM),
        {QStringLiteral("run"), QStringLiteral("--cache"), QStringLiteral(ZORBEL_DEMO_CACHE),
         QStringLiteral("--home"), home.path(""), QStringLiteral("--"), QStringLiteral("sh"),
         QStringLiteral("-c"), viewer});
    ASSERT_EQ(outcome.code, 0) << outcome.output.toStdString() << home.log().toStdString();

    QFile left(listing);
    ASSERT_TRUE(left.open(QIODevice::ReadOnly));
    EXPECT_EQ(left.readAll().toStdString().find("zorbel-viewer-session-"), std::string::npos);
    EXPECT_TRUE(
        home.logLines().last().contains(QStringLiteral("Zorbel Desktop Workstation exiting cleanly")));
    EXPECT_FALSE(home.hasSessionLock());

    const QStringList taken = QDir(pictures).entryList({QStringLiteral("*.png")}, QDir::Files, QDir::Name);
    for (const char* stop :
         {"sign-in",
          "wrong-password",
          "study-list",
          "volume",
          "volume-scrolled",
          "from-volume-cache",
          "from-archive",
          "from-local-node",
          "incomplete-series",
          "damaged-cache",
          "layout-single",
          "layout-side-by-side",
          "layout-primary-plus-three",
          "layout-quad",
          "volume-maximised",
          "volume-restored",
          "oblique-30",
          "slab-mip",
          "slab-average",
          "slab-minip",
          "slab-sum",
          "window-bone",
          "window-soft-tissue",
          "preset-ct-bone",
          "preset-mr-generic",
          "blend-mip",
          "blend-minip",
          "blend-average",
          "keyboard-sheet",
          "panoramic",
          "panoramic-mirrored",
          "panoramic-inverted",
          "cephalometric",
          "cephalometric-rotated",
          "measured-axial",
          "regions-coronal",
          "measured-oblique",
          "findings",
          "finding-recorded",
          "key-image",
          "measured-panoramic",
          "series-choice",
          "chosen-series"}) {
        const QStringList matching = taken.filter(QStringLiteral("-%1.png").arg(QLatin1String(stop)));
        ASSERT_FALSE(matching.isEmpty()) << stop;
        const QImage picture(QDir(pictures).filePath(matching.first()));
        const bool study = QByteArray(stop) != "sign-in" && QByteArray(stop) != "wrong-password" &&
                           QByteArray(stop) != "study-list";
        EXPECT_GE(picture.width(), study ? 1100 : 500) << stop;
        // Seen: an empty workspace 1.0, images up to 0.43.
        EXPECT_LT(shareOfCommonestColour(picture), study ? 0.7 : 0.999) << stop;
    }

    for (const char* kind : {"layout", "slab", "window", "preset", "blend", "panoramic", "cephalometric"})
        expectAllDifferent(QDir(pictures), QString::fromLatin1(kind));

    const QStringList findings = home.secretsFound(
        {QString::fromLatin1(demo::readerAccount.password), QStringLiteral("Phantom"), QStringLiteral("Jaw^"),
         QStringLiteral("^Panorama")},
        QString::fromLatin1(demo::readerAccount.email));
    EXPECT_TRUE(findings.isEmpty()) << findings.join(QLatin1Char('\n')).toStdString();
}

} // namespace
} // namespace zorbel::test
