#pragma once

#include "app/update/DesktopUpdateService.h"
#include "tests/support/Files.h"
#include "tests/support/MisbehavingServer.h"
#include "tests/support/Waiting.h"

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <cstdlib>

namespace zorbel::test {

/// Made by installers.py.
inline const std::filesystem::path& installers() {
    static const std::filesystem::path folder = std::getenv("ZORBEL_INSTALLERS");
    return folder;
}

/// A service with one release, whose manifest and reply a test changes.
struct Update : testing::Test {
    std::string installer = readFile(installers() / "good");
    QJsonObject manifest;
    std::function<void(Exchange&)> answerManifest = [this](Exchange& exchange) {
        exchange.reply(200, QJsonDocument(manifest).toJson().toStdString());
    };
    std::function<void(Exchange&)> answerInstaller = [this](Exchange& exchange) {
        exchange.reply(200, installer);
    };
    MisbehavingServer server{[this](Exchange& exchange) {
        exchange.request.isFor("/manifest") ? answerManifest(exchange) : answerInstaller(exchange);
    }};
    TemporaryFolder folder;
    UpdateOrigin origin{
        QUrl(server.url(QStringLiteral("/manifest"))), QStringLiteral("zorbel.example"),
        QString::fromStdString(readFile(installers() / "thumbprint")), readFile(installers() / "roots.pem"),
        true};

    Update() { publish(); }

    /// The installer, as it is now.
    void publish() {
        const QByteArray bytes = QByteArray::fromStdString(installer);
        manifest = {
            {"schemaVersion", 1},
            {"product", "Zorbel Diagnostic Viewer"},
            {"platform", "windows-x64"},
            {"installerType", "exe"},
            {"version", "1.0.1"},
            {"url", server.url(QStringLiteral("/setup.exe"))},
            {"sha256",
             QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex())},
            {"signerThumbprint", QString(40, QLatin1Char('a'))},
            {"sizeBytes", bytes.size()}};
    }

    /// "available 1.0.1", "none" or the failure.
    QString check(DesktopUpdateService& service) {
        return outcome(service, [&service] { service.checkForUpdates(); });
    }
    /// "ready" or the failure, after an offer.
    QString download(DesktopUpdateService& service) {
        EXPECT_EQ(check(service), "available 1.0.1");
        return outcome(service, [&service] { service.downloadUpdate(); });
    }
    QString download() {
        DesktopUpdateService service(QStringLiteral("1.0.0"), origin, folder.path() / "updates");
        const QString told = download(service);
        EXPECT_EQ(left(), told == "ready" ? ".exe" : "") << told.toStdString();
        return told;
    }
    QString check() {
        DesktopUpdateService service(QStringLiteral("1.0.0"), origin, folder.path() / "updates");
        return check(service);
    }

    /// The suffixes of what lies in the folder of downloads.
    std::string left() const {
        std::string suffixes;
        std::error_code none;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path() / "updates", none))
            suffixes += entry.path().extension().string();
        return suffixes;
    }

    /// What is told, which must be one thing.
    static QString outcome(DesktopUpdateService& service, const std::function<void()>& ask) {
        QStringList told;
        QObject here;
        const auto tell = [&told](const QString& text) { told += text; };
        QObject::connect(
            &service, &DesktopUpdateService::UpdateAvailable, &here,
            [tell](const QString& version) { tell("available " + version); });
        QObject::connect(&service, &DesktopUpdateService::NoUpdateAvailable, &here, [tell] { tell("none"); });
        QObject::connect(&service, &DesktopUpdateService::UpdateReady, &here, [tell] { tell("ready"); });
        QObject::connect(&service, &DesktopUpdateService::CheckFailed, &here, tell);
        QObject::connect(&service, &DesktopUpdateService::UpdateFailed, &here, tell);
        ask();
        EXPECT_TRUE(waitFor([&told] { return !told.isEmpty(); }));
        settle();
        EXPECT_EQ(told.size(), 1);
        return told.value(0);
    }
};

} // namespace zorbel::test
