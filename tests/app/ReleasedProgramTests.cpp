#include "ProgramHome.h"
#include "demo/DemoAccounts.h"
#include "demo/DemoService.h"
#include "demo/update/ReleaseDesk.h"

#include <QFile>

#include <gtest/gtest.h>

#include <csignal>

namespace zorbel::test {
namespace {

constexpr int pauseMs = 50;
constexpr int patience = 6000; // of these: for a sign-in that did not happen
constexpr char signInTitle[] = "Sign in to Zorbel Diagnostic Viewer";

bool useKeyboard(const QStringList& arguments) {
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(QStringLiteral("xdotool"), arguments);
    return process.waitForFinished(-1) && process.exitCode() == 0;
}

QByteArray linesOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The program as it is installed, which nothing helps but a person at its keyboard.
TEST(ReleasedProgram, AsksItsVendorForUpdatesWhateverItIsTold) {
    demo::DemoService service;
    service.start();
    service.releaseDesk().publish("an installer", "9.9.9");
    const std::string manifest = service.baseUrl() + demo::ReleaseDesk::manifestPath;

    ProgramHome home;
    const QString lookups = home.path("lookups");
    for (const char* variable : {"ZORBEL_UPDATE_URL", "ZORBEL_UPDATE_MANIFEST", "ZORBEL_RELEASES_URL"})
        home.set(variable, manifest.c_str());
    home.set("ZORBEL_API_BASE_URL", service.baseUrl().c_str());
    home.set("ZORBEL_DEMO_INSTALLERS", home.path("").toUtf8());
    home.set("ZORBEL_TEST_LOOKUPS", lookups.toUtf8());
    home.set("LD_PRELOAD", ZORBEL_LOOKUP_RECORDER);
    const QString url = QString::fromStdString(manifest);
    const auto program = home.start(
        QStringLiteral(ZORBEL_DESKTOP),
        {QStringLiteral("--update-url=") + url, QStringLiteral("--manifest"), url,
         QStringLiteral("zorbel-viewer://report?studyInstanceUID=1.2.3&apiBase=") +
             QString::fromStdString(service.baseUrl())});
    ASSERT_TRUE(useKeyboard(
        {"search", "--sync", "--onlyvisible", "--name", signInTitle, "windowfocus", "--sync", "type",
         "--delay", "20", demo::readerAccount.email}));
    ASSERT_TRUE(useKeyboard({"key", "Tab"}));
    ASSERT_TRUE(useKeyboard({"type", "--delay", "20", demo::readerAccount.password}));
    ASSERT_TRUE(useKeyboard({"key", "Return"}));
    for (int round = 0; linesOf(lookups).isEmpty() && round < patience; ++round)
        program->waitForFinished(pauseMs);
    ::kill(static_cast<pid_t>(program->processId()), SIGTERM);
    program->waitForFinished(-1);
    EXPECT_EQ(linesOf(lookups), "app.zorbel.example\n") << home.log().toStdString();
    EXPECT_TRUE(service.requests("*/releases/*").empty());
}

} // namespace
} // namespace zorbel::test
