#pragma once

#include "api/ZorbelApiError.h"

#include <QByteArray>
#include <QJsonObject>
#include <QNetworkReply>

namespace zorbel {

QByteArray compactJson(const QJsonObject& object);

/// Throws ZorbelApiError with the status, the server's message or "Zorbel API returned HTTP …", and the
/// server's error code, unless the status is a success. error: what the network says, for the advice.
void throwUnlessSuccessful(int httpStatus, const QByteArray& body, QNetworkReply::NetworkError error);

/// Of a request that failed; the status is 0 where there was no reply.
ZorbelApiError::Cause causeOf(int httpStatus);

/// The client's own refusal of a request outside a session.
ZorbelApiError notAuthenticated();

/// The service's refusal of the session, as the end of it.
ZorbelApiError sessionEnd(const ZorbelApiError& refusal);

} // namespace zorbel
