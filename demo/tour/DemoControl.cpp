#include "DemoControl.h"

#include "demo/DemoAccounts.h"
#include "demo/update/DemoUpdateOrigin.h"
#include "demo/update/ReleaseDesk.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <cstdio>

namespace zorbel {

namespace {

QByteArray json(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace

DemoControl::DemoControl(const QUrl& service, QObject* parent) : QObject(parent), service_(service) {}

void DemoControl::switchImagesOff() {
    refuse(QStringLiteral("*/viewer-proxy/*"));
}

void DemoControl::switchReportsOff() {
    refuse(QStringLiteral("*/desktop-word/sessions/*"));
}

void DemoControl::publishRelease(const QString& installer, const QString& version) {
    send(
        "POST", QLatin1String(demo::ReleaseDesk::controlPath),
        json(
            {{QStringLiteral("file"), QDir(demoInstallers()).filePath(installer)},
             {QStringLiteral("version"), version}}));
    send(
        "POST", QStringLiteral("/demo/faults"),
        json(
            {{QStringLiteral("kind"), QStringLiteral("throttle")},
             {QStringLiteral("path"), QLatin1String(demo::ReleaseDesk::installerPath)},
             {QStringLiteral("bytes"), 1 << 20}}));
}

void DemoControl::withdrawRelease() {
    send("DELETE", QLatin1String(demo::ReleaseDesk::controlPath), {});
    mendAll();
}

void DemoControl::endReadersSessions() {
    send("DELETE", QStringLiteral("/demo/tokens/") + QLatin1String(demo::readerAccount.id), {});
}

void DemoControl::refuse(const QString& pathPattern) {
    send(
        "POST", QStringLiteral("/demo/faults"),
        json(
            {{QStringLiteral("kind"), QStringLiteral("reply")},
             {QStringLiteral("path"), pathPattern},
             {QStringLiteral("status"), 503}}));
}

void DemoControl::mendAll() {
    send("DELETE", QStringLiteral("/demo/faults"), {});
}

void DemoControl::send(const QByteArray& method, const QString& path, const QByteArray& body) {
    const auto& account = demo::administratorAccount;
    request(
        "POST", QStringLiteral("/api/auth/login"),
        json(
            {{QStringLiteral("email"), QLatin1String(account.email)},
             {QStringLiteral("password"), QLatin1String(account.password)}}),
        [this, method, path, body](const QByteArray& reply) {
            token_ =
                QJsonDocument::fromJson(reply).object().value(QLatin1String("token")).toString().toUtf8();
            request(method, path, body, {});
        });
}

void DemoControl::request(
    const QByteArray& method, const QString& path, const QByteArray& body, const Then& then) {
    QUrl url = service_;
    url.setPath(path);
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    if (!token_.isEmpty())
        request.setRawHeader("Authorization", "Bearer " + token_);
    ++underWay_;
    QNetworkReply* reply = network_.sendCustomRequest(request, method, body);
    connect(reply, &QNetworkReply::finished, this, [this, reply, path, then] {
        reply->deleteLater();
        if (reply->error() != QNetworkReply::NoError) {
            std::fprintf(
                stderr, "The demo service refused %s: %s\n", qPrintable(path),
                qPrintable(reply->errorString()));
            return;
        }
        if (then)
            then(reply->readAll());
        --underWay_;
    });
}

} // namespace zorbel
