#pragma once

#include "base/CancelFlag.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <cstdint>

class QNetworkReply;
class QNetworkRequest;

namespace zorbel {

/// One request of the service's API with what bounds it.
struct HttpRequest {
    QByteArray method;
    QUrl url;
    QByteArray body;
    QByteArray contentType;
    QString bearerToken;
    std::int32_t timeoutMs = 0; ///< raised to one second
    std::uint64_t maxBytes = 0; ///< of the decoded body
    CancelFlag cancel;
};

/// Sends the request and runs an event loop on the calling thread until it ends; returns the body or throws
/// ZorbelApiError. Needs a QCoreApplication.
QByteArray performHttpRequest(const HttpRequest& request);

/// What every request to the service has in common: same-origin redirects, the user agent, the bearer token.
/// Qt's own guard against highly compressed bodies is off, because the callers count decoded bytes against
/// limits of their own and an image that is mostly air compresses far beyond that guard's ratio.
QNetworkRequest serviceRequest(const QUrl& url, const QByteArray& accept, const QString& bearerToken);

/// A serviceRequest for image data, uncompressed: compressing on the fly costs an archive far more time than
/// the bytes saved are worth. The timeout (raised to one second) is of silence, not of the whole transfer.
QNetworkRequest dicomRequest(
    const QUrl& url, const QByteArray& accept, const QString& bearerToken, std::int32_t transferTimeoutMs);

/// The reply's Content-Length, or -1.
qint64 announcedSize(const QNetworkReply& reply);

/// Throws ZorbelApiError when the reply to a dicomRequest came compressed all the same.
void throwIfEncoded(const QNetworkReply& reply);

/// Throws ZorbelApiError when fewer bytes came than were announced: Qt sometimes takes a connection that
/// closed early for the body's end.
void throwIfCutOff(const QNetworkReply& reply, qint64 received);

} // namespace zorbel
