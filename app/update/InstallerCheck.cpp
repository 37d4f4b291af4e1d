#include "app/update/InstallerCheck.h"

#include "app/update/ReleaseManifest.h"
#include "app/update/UpdateOrigin.h"
#include "platform/InstallerSignature.h"

#include <QCryptographicHash>
#include <QFile>

namespace zorbel {

QString refusalOfInstaller(
    const std::filesystem::path& installer, const ReleaseManifest& manifest, const UpdateOrigin& origin) {
    QFile file(installer);
    QCryptographicHash digest(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly) || !digest.addData(&file) || file.error() != QFileDevice::NoError)
        return QStringLiteral("The downloaded update could not be read.");
    if (file.size() != manifest.sizeBytes || QString::fromLatin1(digest.result().toHex()) != manifest.sha256)
        return QStringLiteral(
            "The downloaded update did not match its published checksum and was discarded.");
    file.close();

    const InstallerSignature signature = verifyInstallerSignature(installer, origin.trustedRoots);
    QString reason = QString::fromStdString(signature.refusal);
    if (signature.isTrusted() &&
        QString::fromStdString(signature.signerThumbprint) != origin.signerThumbprint)
        reason = QStringLiteral("it is not signed by the vendor");
    return reason.isEmpty() ? QString()
                            : QStringLiteral("The downloaded update was rejected: %1.").arg(reason);
}

} // namespace zorbel
