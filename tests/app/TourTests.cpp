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
    EXPECT_GT(taken.size(), 50);
    constexpr int beforeAnyStudy = 3; // sign-in, wrong password, list
    for (int number = 0; number < taken.size(); ++number) {
        const QImage picture(QDir(pictures).filePath(taken[number]));
        const bool study = number >= beforeAnyStudy;
        EXPECT_GE(picture.width(), study ? 1100 : 500) << taken[number].toStdString();
        // Seen: an empty workspace 1.0, images up to 0.43, the settings over them 0.72.
        const bool images = study && !taken[number].contains(QStringLiteral("-settings")) &&
                            !taken[number].contains(QStringLiteral("-study-offered"));
        EXPECT_LT(shareOfCommonestColour(picture), images ? 0.7 : 0.999) << taken[number].toStdString();
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
