#include "demo/update/DemoUpdateOrigin.h"

#include "demo/update/ReleaseDesk.h"

#include <QDir>
#include <QFile>

namespace zorbel {

namespace {

QByteArray contentOf(const QString& name) {
    QFile file(QDir(demoInstallers()).filePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

QString demoInstallers() {
    return qEnvironmentVariable("ZORBEL_DEMO_INSTALLERS");
}

std::optional<UpdateOrigin> demoUpdateOrigin() {
    if (demoInstallers().isEmpty())
        return std::nullopt;
    const QString service = qEnvironmentVariable("ZORBEL_API_BASE_URL");
    UpdateOrigin origin{
        QUrl(service + QLatin1String(demo::ReleaseDesk::manifestPath)), QStringLiteral("zorbel.example"),
        QString::fromLatin1(contentOf(QStringLiteral("thumbprint"))),
        contentOf(QStringLiteral("roots.pem")).toStdString()};
    origin.plainLoopback = true;
    return origin;
}

} // namespace zorbel
