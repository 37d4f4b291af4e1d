#include "app/update/ReleaseVersion.h"
#include "demo/FaultyServer.h"
#include "demo/update/ReleaseDesk.h"
#include "tests/app/UpdateFixture.h"

#include <QJsonArray>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace zorbel {
namespace {

using test::Exchange;
using test::installers;
using test::Update;

TEST_F(Update, RefusesManifestsThatBreakAnyRule) {
    const QString digest(64, QLatin1Char('a'));
    const std::vector<std::pair<const char*, QJsonValue>> bad{
        {"schemaVersion", 2},
        {"schemaVersion", "1"},
        {"schemaVersion", true},
        {"schemaVersion", 1.5},
        {"product", "Zorbel Desktop Workstation"},
        {"product", QJsonValue::Null},
        {"platform", "windows-x86"},
        {"platform", "linux-x64"},
        {"installerType", "msi"},
        {"installerType", "EXE"},
        {"version", "1.0"},
        {"version", "1.0.1.2"},
        {"version", "v1.0.1"},
        {"version", "1.0.1\n"},
        {"version", "1.0.-1"},
        {"version", QString::fromUtf8("1.0.١")},
        {"version", 2},
        {"url", "https://zorbel.example.attacker.example/setup.exe"},
        {"url", "https://notzorbel.example/setup.exe"},
        {"url", "http://get.zorbel.example/setup.exe"},
        {"url", "https://zorbel.example@attacker.example/setup.exe"},
        {"url", "https://user@zorbel.example/setup.exe"},
        {"url", "file:///setup.exe"},
        {"url", "setup.exe"},
        {"url", ""},
        {"sha256", digest.toUpper()},
        {"sha256", digest.chopped(1)},
        {"sha256", digest + "\n"},
        {"sha256", QJsonValue::Null},
        {"signerThumbprint", QString(39, QLatin1Char('a'))},
        {"signerThumbprint", QString(65, QLatin1Char('a'))},
        {"signerThumbprint", QString(40, QLatin1Char('A'))},
        {"sizeBytes", 0},
        {"sizeBytes", 536'870'913},
        {"sizeBytes", -1},
        {"sizeBytes", 1.5},
        {"sizeBytes", "100"}};
    DesktopUpdateService service(QStringLiteral("1.0.0"), origin, folder.path() / "updates");
    for (const auto& [member, value] : bad) {
        publish();
        manifest[QLatin1String(member)] = value;
        EXPECT_EQ(check(service), "The update response failed security validation.")
            << member << ' ' << QJsonDocument(QJsonArray{value}).toJson().toStdString();
    }
    for (const QString& member : manifest.keys()) {
        publish();
        manifest.remove(member);
        EXPECT_EQ(check(service), "The update response failed security validation.") << member.toStdString();
    }
    EXPECT_FALSE(service.offeredRelease());
}

TEST_F(Update, TellsWhyACheckFails) {
    manifest["version"] = "99999999999.0.0";
    EXPECT_EQ(check(), "The update version is invalid.");
    const auto whole = "HTTP/1.1 200 Told\r\nConnection: close\r\n";
    const std::vector<std::pair<QString, std::function<void(Exchange&)>>> answers{
        {"The update response is invalid.", [](Exchange& e) { e.reply(200, "[1]"); }},
        {"The update response is invalid.", [](Exchange& e) { e.reply(200, "{\"schemaVersion\":"); }},
        {"The update response is invalid.", [](Exchange& e) { e.reply(200, std::string(65'536, ' ')); }},
        {"The update response is too large.", [](Exchange& e) { e.reply(200, std::string(65'537, ' ')); }},
        {"The update response is too large.",
         [whole](Exchange& e) {
             e.send(whole + std::string("Content-Length: 65537\r\n\r\n{"));
             e.waitForHangUp();
         }},
        {"The update response is too large.",
         [whole](Exchange& e) {
             e.send(whole + ("\r\n" + std::string(65'537, ' ')));
             e.waitForHangUp();
         }},
        {"The update service could not be reached.", [](Exchange& e) { e.reply(404, "{}"); }},
        {"The update service could not be reached.", [](Exchange& e) { e.reply(204, ""); }},
        {"The update service could not be reached.", [](Exchange&) {}},
        {"The update service could not be reached.",
         [this](Exchange& e) {
             e.reply(302, "", "Location: " + server.url("/setup.exe").toStdString() + "\r\n");
         }},
    };
    for (const auto& [failure, answer] : answers) {
        answerManifest = answer;
        EXPECT_EQ(check(), failure);
    }
    for (const auto& request : server.requests()) {
        EXPECT_EQ(request.target, "/manifest");
        EXPECT_TRUE(request.has("Accept: application/json"));
        EXPECT_TRUE(request.has("User-Agent: Zorbel-Diagnostic-Viewer/1.0.0"));
    }
    origin.manifestUrl = QUrl(QStringLiteral("http://app.zorbel.example/manifest"));
    EXPECT_EQ(check(), "The update service URL is not trusted.");
}

TEST_F(Update, OffersNewerVersionsAlone) {
    for (const char* version : {"1.0.0", "0.9.9", "0.10.0", "01.0.0"}) {
        manifest["version"] = version;
        EXPECT_EQ(check(), "none") << version;
    }
    for (const char* version : {"1.0.1", "1.10.0", "10.0.0"}) {
        manifest["version"] = version;
        EXPECT_EQ(check(), QStringLiteral("available %1").arg(version));
    }
    EXPECT_LT(ReleaseVersion::parse("1.9.0"), ReleaseVersion::parse("1.10.0"));
}

TEST_F(Update, DownloadsWhatIsSignedByTheVendorAndNothingElse) {
    EXPECT_EQ(download(), "ready");
    DesktopUpdateService::removeStaleDownloads(folder.path() / "updates");
    const std::string rejected = "The downloaded update was rejected: ";
    for (const auto& [file, reason] : std::vector<std::pair<std::string, std::string>>{
             {"other root", "its signer is not trusted."},
             {"unsigned", "it is not signed."},
             {"section changed", "its contents are not what was signed."},
             {"good with an elliptic curve and SHA-512", "it is not signed by the vendor."}}) {
        installer = test::readFile(installers() / file);
        publish();
        EXPECT_EQ(download().toStdString(), rejected + reason);
    }
}

TEST_F(Update, LeavesNothingOfADownloadThatFails) {
    const std::string head = "HTTP/1.1 200 Told\r\nConnection: close\r\n";
    const std::string length = "Content-Length: " + std::to_string(installer.size()) + "\r\n\r\n";
    const QString network = "The update could not be downloaded.";
    const QString size = "The update is larger than expected.";
    const QString digest = "The downloaded update did not match its published checksum and was discarded.";
    const std::string elsewhere =
        "Location: " + server.url("/elsewhere").replace("127.0.0.1", "localhost").toStdString() + "\r\n";
    const std::vector<std::pair<QString, std::function<void(Exchange&)>>> answers{
        {network, [](Exchange& e) { e.reply(404, "gone"); }},
        {network, [](Exchange&) {}},
        {network, [&](Exchange& e) { e.send(head + length + installer.substr(0, 100)); }},
        {network, [&](Exchange& e) { e.reply(302, "", elsewhere); }},
        {network, [&](Exchange& e) { e.reply(307, installer, elsewhere); }},
        {size, [&](Exchange& e) { e.reply(200, installer + "x"); }},
        {size,
         [&](Exchange& e) {
             e.send(head + "Content-Length: 536870913\r\n\r\nMZ");
             e.waitForHangUp();
         }},
        {size,
         [&](Exchange& e) {
             e.send(head + "\r\n" + installer + "x");
             e.waitForHangUp();
         }},
        {digest, [&](Exchange& e) { e.send(head + "\r\n" + installer.substr(1)); }},
        {digest, [&](Exchange& e) { e.reply(200, std::string(installer.size(), 'x')); }},
    };
    for (const auto& [failure, answer] : answers) {
        answerInstaller = answer;
        EXPECT_EQ(download(), failure);
    }
    for (const auto& request : server.requests())
        EXPECT_NE(request.target, "/elsewhere");

    DesktopUpdateService service(QStringLiteral("1.0.0"), origin, folder.path() / "updates");
    EXPECT_EQ(outcome(service, [&] { service.downloadUpdate(); }), "No update has been offered yet.");
    DesktopUpdateService noPlace(QStringLiteral("1.0.0"), origin, installers() / "good" / "updates");
    EXPECT_EQ(download(noPlace), "Could not prepare a download location.");
}

TEST_F(Update, GoesWrongAtTheDemoServiceInEachWay) {
    demo::ReleaseDesk desk;
    demo::FaultyServer service(
        [&desk](const demo::FaultyServer::Request& request) { return desk.answer(request); },
        [](const demo::FaultyServer::Request&) { return demo::HttpReply{}; });
    service.start(0);
    const QString address = QStringLiteral("http://127.0.0.1:%1").arg(service.port());
    origin.manifestUrl = QUrl(address + demo::ReleaseDesk::manifestPath);
    EXPECT_EQ(check(), "The update service could not be reached.");
    desk.publish(installer, "1.0.1", {{"product", "Another"}});
    EXPECT_EQ(check(), "The update response failed security validation.");
    desk.publish(installer, "1.0.1");
    using demo::Fault;
    const std::string path = demo::ReleaseDesk::installerPath;
    const QString network = "The update could not be downloaded.";
    const QString size = "The update is larger than expected.";
    for (const auto& [fault, told] : std::vector<std::pair<Fault, QString>>{
             {Fault::throttle(path, 1 << 20), "ready"},
             {Fault::dropAfter(path, 1000), network},
             {Fault::oversize(path, installer.size() + 1, true), size},
             {Fault::oversize(path, installer.size() + 1, false), size},
             {Fault::redirect(path, "http://get.zorbel.example/setup.exe"), network},
             {Fault::redirect(path, "https://attacker.example/setup.exe"), network}}) {
        const int id = service.faults().add(fault);
        EXPECT_EQ(download(), told) << Fault::kindName(fault.kind);
        service.faults().remove(id);
        DesktopUpdateService::removeStaleDownloads(folder.path() / "updates");
    }
    service.stop();
}

TEST_F(Update, IsInterruptedByTheUser) {
    answerInstaller = [&](Exchange& e) {
        e.send("HTTP/1.1 200 Told\r\n\r\n" + installer.substr(0, 100));
        e.waitForHangUp();
    };
    DesktopUpdateService service(QStringLiteral("1.0.0"), origin, folder.path() / "updates");
    QObject::connect(
        &service, &DesktopUpdateService::DownloadProgress, &service, [&](qint64 received, qint64 total) {
            EXPECT_EQ(received, 100);
            EXPECT_EQ(total, qint64(installer.size()));
            service.cancelDownload();
        });
    EXPECT_EQ(download(service), "The download was interrupted.");
    EXPECT_EQ(left(), "");
    EXPECT_FALSE(service.install());
}

TEST_F(Update, WaitsUntilTheUserMayBeInterrupted) {
    DesktopUpdateService service(QStringLiteral("1.0.0"), origin, folder.path() / "updates");
    int asked = 0;
    service.setMayInterrupt([&asked] { return ++asked % 3 == 0; });
    EXPECT_EQ(download(service), "ready");
    EXPECT_EQ(asked, 6) << "three times for the offer, and for the end of the download";
}

TEST_F(Update, ClearsAwayWhatEarlierSessionsLeft) {
    for (const char* name :
         {"Zorbel-Diagnostic-Viewer-1.exe", "Zorbel-Diagnostic-Viewer-2.partial",
          "Zorbel-Diagnostic-Viewer-3.txt", "other.exe"})
        test::writeFile(folder.path() / name, "x");
    DesktopUpdateService::removeStaleDownloads(folder.path());
    EXPECT_EQ(folder.files().size(), 2U);
    DesktopUpdateService::removeStaleDownloads(folder.path() / "none");
}

TEST(VendorsUpdates, ComeFromTheVendorWhateverTheUserSets) {
    for (const char* name : {"ZORBEL_API_BASE_URL", "ZORBEL_UPDATE_URL", "ZORBEL_UPDATE_THUMBPRINT"})
        qputenv(name, "http://127.0.0.1:1");
    const UpdateOrigin origin = UpdateOrigin::vendor();
    EXPECT_EQ(origin.manifestUrl, QUrl("https://app.zorbel.example/api/desktop/releases/latest"));
    EXPECT_TRUE(origin.trusts(origin.manifestUrl));
    EXPECT_TRUE(origin.trusts(QUrl("HTTPS://GET.Zorbel.Example/setup.exe")));
    EXPECT_FALSE(origin.trusts(QUrl("http://127.0.0.1/setup.exe")));
    EXPECT_FALSE(origin.trusts(QUrl("https://127.0.0.1/setup.exe")));
    EXPECT_TRUE(origin.trustedRoots.empty());
    EXPECT_TRUE(QRegularExpression("^[0-9A-F]{40}$").match(origin.signerThumbprint).hasMatch());
}

} // namespace
} // namespace zorbel
