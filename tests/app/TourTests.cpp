#include "ProgramHome.h"
#include "demo/DemoAccounts.h"

#include <QFile>
#include <QHash>
#include <QImage>

#include <gtest/gtest.h>

#include <algorithm>

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

TEST(ProgramHome, findsTheSecretsThatItLooksFor) {
    const ProgramHome home;
    const auto write = [&home](const char* name, const char* text) {
        QFile file(home.path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    };
    const auto found = [&home] {
        return home.secretsFound({QStringLiteral("Phantom^Jaw")}, QStringLiteral("a@b.example")).size();
    };
    write("config/Zorbel Desktop Workstation.conf", "[session]\nlastEmail=a@b.example\n");
    write("temp/digest", "sha 0123456789abcdef0123456789abcdef");
    EXPECT_EQ(found(), 0);
    write("cache/a", "x PHANTOM^JAW x");
    write("data/.b", "mail a@b.example");
    write("config/c", "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef");
    EXPECT_EQ(found(), 3);
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
        const bool study = QByteArray(stop) != "sign-in" && QByteArray(stop) != "wrong-password" &&
                           QByteArray(stop) != "study-list";
        EXPECT_GE(picture.width(), study ? 1100 : 500) << stop;
        // Seen: an empty workspace 1.0, images up to 0.43.
        EXPECT_LT(shareOfCommonestColour(picture), study ? 0.7 : 0.999) << stop;
    }

    const QStringList findings = home.secretsFound(
        {QString::fromLatin1(demo::readerAccount.password), QStringLiteral("Phantom"), QStringLiteral("Jaw^"),
         QStringLiteral("^Panorama")},
        QString::fromLatin1(demo::readerAccount.email));
    EXPECT_TRUE(findings.isEmpty()) << findings.join(QLatin1Char('\n')).toStdString();
}

} // namespace
} // namespace zorbel::test
