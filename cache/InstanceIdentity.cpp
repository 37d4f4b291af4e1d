#include "cache/InstanceIdentity.h"

#include <QByteArrayList>
#include <QCryptographicHash>
#include <QRegularExpression>

namespace zorbel {

QString orthancInstanceId(const imaging::DicomIdentity& identity) {
    const QByteArrayList parts{
        QByteArray::fromStdString(identity.patientId), QByteArray::fromStdString(identity.studyInstanceUID),
        QByteArray::fromStdString(identity.seriesInstanceUID),
        QByteArray::fromStdString(identity.sopInstanceUID)};
    QByteArray digest = QCryptographicHash::hash(parts.join('|'), QCryptographicHash::Sha1).toHex();
    for (const int position : {32, 24, 16, 8})
        digest.insert(position, '-');
    return QString::fromLatin1(digest);
}

bool isOrthancInstanceId(const QString& id) {
    static const QRegularExpression form(QStringLiteral("^[0-9a-f]{8}(?:-[0-9a-f]{8}){4}$"));
    return form.match(id).hasMatch();
}

} // namespace zorbel
