#include "WordHands.h"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QProcess>
#include <QScreen>
#include <QSet>
#include <QStandardPaths>

namespace zorbel {

namespace {

/// Menus and tools have that many; a window that is not drawn yet has a few.
constexpr int drawnColours = 60;

const QString tool = QStringLiteral("xdotool");

QStringList search() {
    return {
        QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
        QStringLiteral("Zorbel-Report")};
}

bool run(const QStringList& arguments) {
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(tool, arguments);
    return process.waitForFinished() && process.exitCode() == 0;
}

} // namespace

bool WordHands::areThere() {
    const auto isInstalled = [](const char* name) {
        return !QStandardPaths::findExecutable(QString::fromLatin1(name)).isEmpty();
    };
    return (isInstalled("libreoffice") || isInstalled("soffice")) && isInstalled("xdotool");
}

bool WordHands::seesReport() const {
    return run(search());
}

bool WordHands::seesItDrawn() const {
    raiseReport();
    const QImage screen = QGuiApplication::primaryScreen()->grabWindow(0, 100, 100, 800, 160).toImage();
    QSet<QRgb> colours;
    for (int y = 0; y < screen.height(); y += 2)
        for (int x = 0; x < screen.width(); x += 2)
            colours.insert(screen.pixel(x, y));
    return colours.size() > drawnColours;
}

bool WordHands::sendKeys(const QStringList& keys) const {
    return run(
        search() +
        QStringList{QStringLiteral("windowraise"), QStringLiteral("windowfocus"), QStringLiteral("--sync")} +
        keys);
}

void WordHands::raiseReport() const {
    sendKeys({});
}

void WordHands::addAndSave(const QString& text) const {
    const QString key = QStringLiteral("key");
    sendKeys(
        {key, QStringLiteral("ctrl+End"), QStringLiteral("type"), QStringLiteral("--delay"),
         QStringLiteral("20"), text});
    sendKeys({key, QStringLiteral("ctrl+s")});
}

void WordHands::closeReport() const {
    sendKeys({QStringLiteral("key"), QStringLiteral("ctrl+q")});
}

} // namespace zorbel
