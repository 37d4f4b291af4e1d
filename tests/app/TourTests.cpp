#include "ProgramHome.h"
#include "demo/DemoAccounts.h"

#include <QFile>
#include <QImage>
#include <QSet>

#include <gtest/gtest.h>

#include <cstdio>

namespace zorbel::test {
namespace {

int distinctColours(const QImage& picture) {
    QSet<QRgb> colours;
    for (int y = 0; y < picture.height(); y += 3)
        for (int x = 0; x < picture.width(); x += 3)
            colours.insert(picture.pixel(x, y));
    return static_cast<int>(colours.size());
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
         {"sign-in", "wrong-password", "study-list", "volume", "volume-scrolled", "panoramic",
          "cephalometric", "series-choice", "chosen-series", "incomplete-series"}) {
        const QStringList matching = taken.filter(QStringLiteral("-%1.png").arg(QLatin1String(stop)));
        ASSERT_FALSE(matching.isEmpty()) << stop;
        const QImage picture(QDir(pictures).filePath(matching.first()));
        const bool image = QByteArray(stop) != "sign-in" && QByteArray(stop) != "wrong-password" &&
                           QByteArray(stop) != "study-list";
        EXPECT_GT(distinctColours(picture), image ? 150 : 40) << stop;
        EXPECT_GE(picture.width(), image ? 1100 : 500) << stop;
    }

    const QStringList findings = home.secretsFound(
        {QString::fromLatin1(demo::readerAccount.password), QStringLiteral("Phantom"), QStringLiteral("Jaw^"),
         QStringLiteral("^Panorama")},
        QString::fromLatin1(demo::readerAccount.email));
    EXPECT_TRUE(findings.isEmpty()) << findings.join(QLatin1Char('\n')).toStdString();
}

} // namespace
} // namespace zorbel::test
